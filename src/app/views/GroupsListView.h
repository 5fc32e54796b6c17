#pragma once

#include <QListView>

/// The groups list: single selection; rows are dragged to reorder groups
/// (with the copy modifier nothing moves), documents are dropped onto a
/// group, and a folder dropped from the file manager lands between rows.
class GroupsListView : public QListView
{
    Q_OBJECT

public:
    explicit GroupsListView(QWidget* parent = nullptr);

Q_SIGNALS:
    void doubleClickedRow(int row);

protected:
    void dropEvent(QDropEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
};
