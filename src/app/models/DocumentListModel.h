#pragma once

#include "app/models/ArchiveListModel.h"
#include "model/ModelPointers.h"
#include "output/DocumentOrdering.h"

#include <memory>

class ThumbnailCache;

/// The documents list: the current group's documents in the archive's sort
/// order, one column per fact shown (title with thumbnail, slip number, file
/// date, kind, size, tags, colour tag, lock).
///
/// Records that join or leave the group are inserted at their sorted place
/// or removed; edits of a shown record refresh its row and leave it where it
/// is until the list is rearranged, as the archive's sort order is applied
/// when the list is arranged, not on every keystroke.
///
/// As a drag source a row carries its row number, a decoded copy of the
/// record and a plain copy of its file for other applications. The list
/// accepts no drops: its order is only ever the sort order.
class DocumentListModel : public ArchiveListModel
{
    Q_OBJECT

public:
    enum Column
    {
        TitleColumn,
        SlipNumberColumn,
        FileDateColumn,
        KindColumn,
        SizeColumn,
        TagsColumn,
        ColorTagColumn,
        LockColumn,
        ColumnCount
    };
    enum Role
    {
        TagsRole = Qt::UserRole + 1,
        ColorTagRole,
        LockedRole,
        UniqueIDRole,
    };

    explicit DocumentListModel(Document* archive, QObject* parent = nullptr);

    /// The group whose documents are listed (nullptr: none).
    GroupPtr group() const { return m_group; }
    void setGroup(const GroupPtr& group);
    const SortDescriptor& sortDescriptor() const { return m_sortDescriptor; }
    /// Sorts the list by @p descriptor (rows keep their selection).
    void setSortDescriptor(const SortDescriptor& descriptor);
    /// Sorts the list again with the current descriptor.
    void rearrangeObjects();

    /// Thumbnails come from @p cache; without one the list shows none.
    void setThumbnailCache(ThumbnailCache* cache);

    DocumentPtr documentAt(int row) const;

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(
        const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) const override;
    bool dropMimeData(
        const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) override;

    /// The header texts' localization keys, by column.
    static QString columnKey(int column);

protected:
    QList<ObjectPtr> targetRows() const override;
    bool affectsRows(const QuillarcDatabaseObject* object) const override;

private:
    void onThumbnailReady(const QString& uniqueID, const void* document);

    GroupPtr m_group;
    SortDescriptor m_sortDescriptor;
    ThumbnailCache* m_thumbnails = nullptr;
};
