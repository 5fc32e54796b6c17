#include "app/views/DocumentsTableView.h"

#include "app/models/ListMimeData.h"

#include <QDropEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>

DocumentsTableView::DocumentsTableView(QWidget* parent)
    : QTreeView(parent)
{
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    setFrameShape(QFrame::NoFrame);
    header()->setStretchLastSection(false);
    header()->setSectionsMovable(false);
}

void DocumentsTableView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
        Q_EMIT spacePressed();
        event->accept();
        return;
    }
    QTreeView::keyPressEvent(event);
}

bool DocumentsTableView::acceptsFiles(const QDropEvent* event) const
{
    // Drags that start inside the application (a record, a group) are no intake.
    return !event->source() && event->mimeData() && !ListMimeData::localPaths(event->mimeData()).isEmpty();
}

void DocumentsTableView::dragEnterEvent(QDragEnterEvent* event)
{
    if (acceptsFiles(event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return;
    }
    QTreeView::dragEnterEvent(event);
}

void DocumentsTableView::dragMoveEvent(QDragMoveEvent* event)
{
    if (acceptsFiles(event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return;
    }
    QTreeView::dragMoveEvent(event);
}

void DocumentsTableView::dropEvent(QDropEvent* event)
{
    if (!acceptsFiles(event)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    const QStringList paths = ListMimeData::localPaths(event->mimeData());
    Q_EMIT filesDropped(paths);
}

void DocumentsTableView::startDrag(Qt::DropActions supportedActions)
{
    // A record must be selected before it can be dragged.
    const QModelIndex current = currentIndex();
    if (!current.isValid() || !selectionModel()->isRowSelected(current.row(), current.parent()))
        return;
    QTreeView::startDrag(supportedActions);
}

void DocumentsTableView::mouseDoubleClickEvent(QMouseEvent* event)
{
    QTreeView::mouseDoubleClickEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.isValid())
        Q_EMIT doubleClickedRow(index.row());
}
