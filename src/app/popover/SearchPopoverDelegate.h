#pragma once

#include <QStyledItemDelegate>

class QPainter;

/// Draws one search hit in two lines: the title with the file date at the
/// right, then the field the words were found in and an excerpt of it with
/// the words marked. A hit found by its period or kind alone shows its
/// voucher number and kind on the second line instead.
class SearchPopoverDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit SearchPopoverDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Height of every row for @p font (the list uses uniform row heights).
    static int rowHeight(const QFont& font);

private:
    static void drawMarkedLine(QPainter* painter, const QRect& rect, const QString& prefix, const QString& text,
        const QList<QPoint>& marks, const QStyleOptionViewItem& option, bool selected);
};
