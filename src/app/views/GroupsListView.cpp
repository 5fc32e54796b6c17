#include "app/views/GroupsListView.h"

#include "output/DragReordering.h"

#include <QDropEvent>
#include <QMimeData>

GroupsListView::GroupsListView(QWidget* parent)
    : QListView(parent)
{
    setSelectionMode(QAbstractItemView::SingleSelection);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
}

void GroupsListView::dropEvent(QDropEvent* event)
{
    QAbstractItemModel* listModel = model();
    const QMimeData* data = event->mimeData();
    if (!listModel || !data) {
        event->ignore();
        return;
    }
    const QPoint position = event->position().toPoint();
    const QModelIndex target = indexAt(position);
    Qt::DropAction action = Qt::CopyAction;
    int row = -1;
    QModelIndex parent;
    if (data->hasFormat(DragReordering::copiedRowsItemsType())) {
        // A document goes onto the group under the pointer.
        parent = target;
    } else {
        if (event->source() == this && !(event->modifiers() & Qt::ControlModifier))
            action = Qt::MoveAction;
        // Everything else lands between rows: above the row under the pointer,
        // or below it in its lower half.
        if (!target.isValid())
            row = listModel->rowCount();
        else
            row = position.y() > visualRect(target).center().y() ? target.row() + 1 : target.row();
    }
    if (listModel->canDropMimeData(data, action, row, 0, parent) && listModel->dropMimeData(data, action, row, 0, parent)) {
        event->setDropAction(action);
        event->accept();
    } else {
        event->ignore();
    }
    stopAutoScroll();
    setState(NoState);
    viewport()->update();
}

void GroupsListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    QListView::mouseDoubleClickEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.isValid())
        Q_EMIT doubleClickedRow(index.row());
}
