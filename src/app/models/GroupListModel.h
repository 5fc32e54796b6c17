#pragma once

#include "app/models/ArchiveListModel.h"
#include "model/ModelPointers.h"

#include <memory>

/// The groups list: the archive's groups in their order, with what each row
/// shows (title, document count, colour tag, lock, monitored folder).
///
/// As a drag source it carries the dragged rows; as a drop target it reorders
/// groups, moves a document dragged from the documents list onto a group, and
/// turns a folder dragged from the file manager into a folder group.
class GroupListModel : public ArchiveListModel
{
    Q_OBJECT

public:
    enum Role
    {
        DocumentCountRole = Qt::UserRole + 1,
        ColorTagRole,
        LockedRole,
        MonitoredRole,
    };

    explicit GroupListModel(Document* archive, QObject* parent = nullptr);

    GroupPtr groupAt(int row) const;
    /// The row of the group with this uniqueID, or -1.
    int rowOfID(const QString& uniqueID) const;

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(
        const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) const override;
    /// @p row/@p parent as a view passes them: a drop on a row is @p parent,
    /// a drop between rows is @p row (above it), -1 at the end.
    bool dropMimeData(
        const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) override;

Q_SIGNALS:
    /// Groups were reordered by a drag; @p rows are their new rows.
    void groupsMoved(const QList<qsizetype>& rows);
    /// A document was dragged onto another group and moved there.
    void documentMovedToGroup(const GroupPtr& target, const DocumentPtr& moved);
    /// A folder was dropped from the file manager: it becomes a folder group.
    void folderDropped(const QString& folderPath);

protected:
    QList<ObjectPtr> targetRows() const override;
    bool affectsRows(const QuillarcDatabaseObject* object) const override;

private:
    bool dropDocument(const QMimeData* data, int targetRow);
};
