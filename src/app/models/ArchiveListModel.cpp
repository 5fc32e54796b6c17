#include "app/models/ArchiveListModel.h"

#include "model/QuillarcDatabaseObject.h"
#include "store/Document.h"

#include <QMetaObject>

ArchiveListModel::ArchiveListModel(Document* archive, QObject* parent)
    : QAbstractTableModel(parent)
    , m_archive(archive)
{
    if (m_archive)
        connect(m_archive, &Document::objectChanged, this, &ArchiveListModel::onObjectChanged);
}

int ArchiveListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ArchiveListModel::rowOf(const QuillarcDatabaseObject* object) const
{
    return rowIndex().value(object, -1);
}

const QHash<const QuillarcDatabaseObject*, int>& ArchiveListModel::rowIndex() const
{
    if (!m_rowIndexValid) {
        m_rowIndex.clear();
        m_rowIndex.reserve(m_rows.size());
        for (int i = 0; i < m_rows.size(); ++i)
            m_rowIndex.insert(m_rows.at(i).get(), i);
        m_rowIndexValid = true;
    }
    return m_rowIndex;
}

void ArchiveListModel::onObjectChanged(QuillarcDatabaseObject* object)
{
    const int row = rowOf(object);
    if (row >= 0)
        Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
    if (affectsRows(object))
        scheduleSync();
}

void ArchiveListModel::scheduleSync()
{
    if (m_syncPending)
        return;
    m_syncPending = true;
    QMetaObject::invokeMethod(this, &ArchiveListModel::syncNow, Qt::QueuedConnection);
}

void ArchiveListModel::syncNow()
{
    m_syncPending = false;
    applyRows(targetRows());
}

void ArchiveListModel::resetRows()
{
    m_syncPending = false;
    beginResetModel();
    m_rows = targetRows();
    m_rowIndexValid = false;
    endResetModel();
    Q_EMIT rowsSynced();
}

void ArchiveListModel::applyRows(const QList<ObjectPtr>& target)
{
    if (target == m_rows)
        return;
    QHash<const QuillarcDatabaseObject*, int> wanted;
    wanted.reserve(target.size());
    for (int i = 0; i < target.size(); ++i)
        wanted.insert(target.at(i).get(), i);
    removeMissing(wanted);

    // The rows that stay, in the order the target wants them.
    const QHash<const QuillarcDatabaseObject*, int> existing = rowIndex();
    QList<ObjectPtr> order;
    order.reserve(m_rows.size());
    for (const ObjectPtr& object : target) {
        if (existing.contains(object.get()))
            order.append(object);
    }
    if (order != m_rows && !moveBlock(order))
        reorder(order);
    insertNew(target, existing);
    Q_EMIT rowsSynced();
}

void ArchiveListModel::removeMissing(const QHash<const QuillarcDatabaseObject*, int>& wanted)
{
    // From the end, one contiguous run at a time, so earlier rows keep their numbers.
    int row = int(m_rows.size()) - 1;
    while (row >= 0) {
        if (wanted.contains(m_rows.at(row).get())) {
            --row;
            continue;
        }
        const int last = row;
        while (row > 0 && !wanted.contains(m_rows.at(row - 1).get()))
            --row;
        beginRemoveRows(QModelIndex(), row, last);
        m_rows.remove(row, last - row + 1);
        m_rowIndexValid = false;
        endRemoveRows();
        --row;
    }
}

bool ArchiveListModel::moveBlock(const QList<ObjectPtr>& order)
{
    // A dragged row (or run of rows) is one block moved: trim what stayed in
    // place at both ends, and the middle is a rotation of itself.
    const int size = int(m_rows.size());
    int first = 0;
    while (first < size && m_rows.at(first) == order.at(first))
        ++first;
    int last = size - 1;
    while (last > first && m_rows.at(last) == order.at(last))
        --last;
    const qsizetype shift = m_rows.indexOf(order.at(first), first);
    if (shift <= first || shift > last)
        return false;
    const int length = last - first + 1;
    const int k = int(shift) - first;
    for (int i = 0; i < length; ++i) {
        if (order.at(first + i) != m_rows.at(first + (i + k) % length))
            return false;
    }
    // Rows first..first+k-1 go after row last.
    if (!beginMoveRows(QModelIndex(), first, first + k - 1, QModelIndex(), last + 1))
        return false;
    m_rows = order;
    m_rowIndexValid = false;
    endMoveRows();
    return true;
}

void ArchiveListModel::reorder(const QList<ObjectPtr>& order)
{
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    const QList<ObjectPtr> oldRows = std::exchange(m_rows, order);
    m_rowIndexValid = false;
    for (const QModelIndex& index : before)
        after.append(this->index(rowOf(oldRows.value(index.row()).get()), index.column()));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void ArchiveListModel::insertNew(
    const QList<ObjectPtr>& target, const QHash<const QuillarcDatabaseObject*, int>& existing)
{
    // Rows now hold target's old objects in target's order; each run of new
    // objects comes in as one insertion at its place.
    int i = 0;
    while (i < target.size()) {
        if (existing.contains(target.at(i).get())) {
            ++i;
            continue;
        }
        int end = i;
        while (end + 1 < target.size() && !existing.contains(target.at(end + 1).get()))
            ++end;
        beginInsertRows(QModelIndex(), i, end);
        m_rows.insert(i, end - i + 1, nullptr);
        for (int j = i; j <= end; ++j)
            m_rows[j] = target.at(j);
        m_rowIndexValid = false;
        endInsertRows();
        i = end + 1;
    }
}
