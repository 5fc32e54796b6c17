#include "app/models/GroupListModel.h"

#include "app/models/ListMimeData.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/DragReordering.h"
#include "store/Document.h"

#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

GroupListModel::GroupListModel(Document* archive, QObject* parent)
    : ArchiveListModel(archive, parent)
{
    resetRows();
}

QList<ObjectPtr> GroupListModel::targetRows() const
{
    QList<ObjectPtr> rows;
    if (archive() && archive()->container()) {
        for (const GroupPtr& group : archive()->container()->groups())
            rows.append(group);
    }
    return rows;
}

bool GroupListModel::affectsRows(const QuillarcDatabaseObject* object) const
{
    return archive() && object == archive()->container().get();
}

GroupPtr GroupListModel::groupAt(int row) const
{
    return std::static_pointer_cast<QuillarcGroup>(objectAt(row));
}

int GroupListModel::rowOfID(const QString& uniqueID) const
{
    for (int row = 0; row < rowCount(); ++row) {
        if (groupAt(row)->databaseObjectUniqueID() == uniqueID)
            return row;
    }
    return -1;
}

int GroupListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1;
}

QVariant GroupListModel::data(const QModelIndex& index, int role) const
{
    const GroupPtr group = checkIndex(index, CheckIndexOption::IndexIsValid) ? groupAt(index.row()) : nullptr;
    if (!group)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return group->groupTitle();
    case Qt::ToolTipRole:
        return group->hasMonitoredFolder() && !group->folderPath().isEmpty() ? group->folderPath()
                                                                           : group->groupDescription();
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1, %2").arg(group->groupTitle()).arg(group->documentCount());
    case DocumentCountRole:
        return group->documentCount();
    case ColorTagRole:
        return int(group->groupColorTag().isNumber() ? group->groupColorTag().toInteger() : 7);
    case LockedRole:
        return group->isLocked();
    case MonitoredRole:
        return group->hasMonitoredFolder();
    default:
        return {};
    }
}

Qt::ItemFlags GroupListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled
        | Qt::ItemNeverHasChildren;
}

QStringList GroupListModel::mimeTypes() const
{
    return { DragReordering::copiedRowsType(), DragReordering::movedRowsType(),
        DragReordering::movedRowsItemsType(),
        DragReordering::copiedRowsItemsType(), QStringLiteral("text/uri-list") };
}

QMimeData* GroupListModel::mimeData(const QModelIndexList& indexes) const
{
    QList<qsizetype> rows;
    for (const QModelIndex& index : indexes) {
        if (index.isValid())
            rows.append(index.row());
    }
    if (rows.isEmpty())
        return nullptr;
    auto* data = new ListMimeData(this);
    // "COPIED_ROWS_TYPE" is offered but carries nothing: copying a group is no operation.
    data->setData(DragReordering::copiedRowsType(), QByteArray());
    data->setData(DragReordering::movedRowsType(), DragReordering::archivedRows(rows));
    return data;
}

Qt::DropActions GroupListModel::supportedDragActions() const
{
    return Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
}

Qt::DropActions GroupListModel::supportedDropActions() const
{
    return Qt::CopyAction | Qt::MoveAction;
}

bool GroupListModel::canDropMimeData(
    const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) const
{
    Q_UNUSED(row);
    Q_UNUSED(column);
    if (!data)
        return false;
    if (ListMimeData::isFrom(data, this))
        return action == Qt::MoveAction && data->hasFormat(DragReordering::movedRowsType());
    if (data->hasFormat(DragReordering::copiedRowsItemsType()))
        return parent.isValid() || row >= 0;
    return !ListMimeData::localFolder(data).isEmpty();
}

bool GroupListModel::dropMimeData(
    const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent)
{
    Q_UNUSED(column);
    if (!data || !archive())
        return false;
    const int dropRow = qMax(0, parent.isValid() ? parent.row() : row < 0 ? rowCount() : row);
    if (data->hasFormat(DragReordering::copiedRowsItemsType())) {
        // A document onto a group; the handler then looks for a folder, which a document is not.
        dropDocument(data, parent.isValid() ? parent.row() : row);
    } else if (ListMimeData::isFrom(data, this)) {
        // Reordering with the modifier held is a copy, and groups are not copied.
        if (action != Qt::MoveAction)
            return false;
        const QList<qsizetype> rows
            = DragReordering::rowsFromArchive(data->data(DragReordering::movedRowsType()));
        if (rows.isEmpty())
            return false;
        const QList<qsizetype> moved = DragReordering(*archive()).moveGroups(rows, dropRow);
        syncNow();
        Q_EMIT groupsMoved(moved);
        return true;
    }
    const QString folder = ListMimeData::localFolder(data);
    if (folder.isEmpty())
        return false;
    Q_EMIT folderDropped(folder);
    return true;
}

bool GroupListModel::dropDocument(const QMimeData* data, int targetRow)
{
    const GroupPtr target = groupAt(targetRow);
    const QList<DocumentPtr> copies
        = DragReordering::documentsFromArchive(data->data(DragReordering::copiedRowsItemsType()));
    if (!target || copies.isEmpty())
        return false;
    const DocumentPtr original = ListMimeData::draggedDocument(data);
    const GroupPtr source = original ? groupAt(rowOfID(original->parentID())) : nullptr;
    if (!DragReordering(*archive()).moveDocumentToGroup(copies.first(), original, source, target))
        return false;
    syncNow();
    Q_EMIT documentMovedToGroup(target, copies.first());
    return true;
}
