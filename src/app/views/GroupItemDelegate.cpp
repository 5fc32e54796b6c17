#include "app/views/GroupItemDelegate.h"

#include "app/models/GroupListModel.h"
#include "app/views/ListGlyphs.h"

#include <QApplication>
#include <QLocale>
#include <QPainter>

namespace {
constexpr int margin = 8;
constexpr int dotSide = 10;
constexpr int markSide = 14;
} // namespace

QSize GroupItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    return QSize(200, qMax(28, option.fontMetrics.height() + 12));
}

void GroupItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);

    const bool selected = option.state & QStyle::State_Selected;
    const QColor textColor = option.palette.color(
        option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive,
        selected ? QPalette::HighlightedText : QPalette::Text);
    QRectF rect = QRectF(option.rect).adjusted(margin, 0, -margin, 0);

    painter->save();
    ListGlyphs::paintDot(painter, QRectF(rect.left(), rect.center().y() - dotSide / 2.0, dotSide, dotSide),
        index.data(GroupListModel::ColorTagRole).toInt(), option.palette);
    rect.setLeft(rect.left() + dotSide + 6);

    const QString count = QLocale().toString(index.data(GroupListModel::DocumentCountRole).toLongLong());
    painter->setFont(option.font);
    ListGlyphs::paintBadge(painter, rect, count, option.palette, selected);
    rect.setRight(rect.right() - ListGlyphs::badgeWidth(count, option.font) - 6);
    QColor markColor = textColor;
    markColor.setAlphaF(0.7);
    if (index.data(GroupListModel::LockedRole).toBool()) {
        ListGlyphs::paintLock(painter, QRectF(rect.right() - markSide, rect.center().y() - markSide / 2.0, markSide, markSide), markColor);
        rect.setRight(rect.right() - markSide - 4);
    }
    if (index.data(GroupListModel::MonitoredRole).toBool()) {
        ListGlyphs::paintFolder(painter, QRectF(rect.right() - markSide, rect.center().y() - markSide / 2.0, markSide, markSide), markColor);
        rect.setRight(rect.right() - markSide - 4);
    }
    painter->setPen(textColor);
    const QString title = option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, int(rect.width()));
    painter->drawText(rect, Qt::AlignVCenter | Qt::AlignLeft, title);
    painter->restore();
}
