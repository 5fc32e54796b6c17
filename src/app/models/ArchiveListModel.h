#pragma once

#include "model/Value.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QList>

class Document;
class QuillarcDatabaseObject;

/// Base of the lists of archive objects (groups, documents): keeps its own
/// copy of the rows and brings it in line with the archive when the archive
/// announces a change, with the smallest set of row removals, a block move,
/// a reordering, and row insertions. Views therefore never see a row that the
/// model has not announced, even while the archive's list is being changed.
class ArchiveListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit ArchiveListModel(Document* archive, QObject* parent = nullptr);

    Document* archive() const { return m_archive; }
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// The row showing @p object, or -1.
    int rowOf(const QuillarcDatabaseObject* object) const;
    ObjectPtr objectAt(int row) const { return row >= 0 && row < m_rows.size() ? m_rows.at(row) : nullptr; }
    const QList<ObjectPtr>& objects() const { return m_rows; }

    /// Applies a pending change to the rows now instead of at the next loop turn.
    void syncNow();

Q_SIGNALS:
    /// The rows were brought in line with the archive.
    void rowsSynced();

protected:
    /// The rows as the archive holds them now (already in display order).
    virtual QList<ObjectPtr> targetRows() const = 0;
    /// Whether a change of @p object may change the rows (a list the model shows).
    virtual bool affectsRows(const QuillarcDatabaseObject* object) const = 0;

    /// Replaces every row at once (another list is shown).
    void resetRows();
    /// Brings the rows in line with targetRows().
    void applyRows(const QList<ObjectPtr>& target);
    /// Defers applyRows(targetRows()) to the next loop turn: a burst of
    /// changes (an import appending records one by one) is applied once.
    void scheduleSync();

private:
    void onObjectChanged(QuillarcDatabaseObject* object);
    void removeMissing(const QHash<const QuillarcDatabaseObject*, int>& wanted);
    bool moveBlock(const QList<ObjectPtr>& order);
    void reorder(const QList<ObjectPtr>& order);
    void insertNew(const QList<ObjectPtr>& target, const QHash<const QuillarcDatabaseObject*, int>& existing);
    /// The row of every object, rebuilt on first use after the rows changed.
    const QHash<const QuillarcDatabaseObject*, int>& rowIndex() const;

    Document* m_archive;
    QList<ObjectPtr> m_rows;
    mutable QHash<const QuillarcDatabaseObject*, int> m_rowIndex;
    mutable bool m_rowIndexValid = false;
    bool m_syncPending = false;
};
