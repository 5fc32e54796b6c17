#pragma once

#include <QTreeView>

/// The documents list: one row per record, single selection. The space bar
/// opens the preview; files dragged from the file manager onto it are taken
/// in; a record is dragged out (to a group, or to another application as a
/// plain copy) only once it is selected.
class DocumentsTableView : public QTreeView
{
    Q_OBJECT

public:
    explicit DocumentsTableView(QWidget* parent = nullptr);

Q_SIGNALS:
    void spacePressed();
    /// Files were dropped from outside the application, in the drop's order.
    void filesDropped(const QStringList& paths);
    void doubleClickedRow(int row);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    bool acceptsFiles(const QDropEvent* event) const;
};
