#pragma once

#include <QStyledItemDelegate>

/// A row of the groups list: colour dot, title, then at the right the
/// monitored-folder mark, the lock and the document count in a badge.
class GroupItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
