#include "app/views/GroupItemDelegate.h"

#include "app/models/GroupListModel.h"
#include "app/views/ListGlyphs.h"
#include "controls/BadgeField.h"
#include "controls/ColorTagDot.h"

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
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    ListGlyphs::paintRowBackground(painter, item);

    const bool selected = option.state & QStyle::State_Selected;
    const QColor textColor = ListGlyphs::rowTextColor(option);
    QRectF rect = QRectF(option.rect).adjusted(margin, 0, -margin, 0);

    painter->save();
    const QPalette row = ListGlyphs::rowPalette(option.palette, selected);
    ColorTagDot::paintDot(painter, QRectF(rect.left(), rect.center().y() - dotSide / 2.0, dotSide, dotSide),
        index.data(GroupListModel::ColorTagRole).toInt(), option.palette);
    rect.setLeft(rect.left() + dotSide + 6);

    const QString count = QLocale().toString(index.data(GroupListModel::DocumentCountRole).toLongLong());
    painter->setFont(option.font);
    BadgeField::paintBadge(painter, rect.toAlignedRect(), count, row);
    rect.setRight(rect.right() - BadgeField::badgeSize(count, option.font).width() - 6);
    if (index.data(GroupListModel::LockedRole).toBool()) {
        ListGlyphs::paintIcon(painter,
            QRectF(rect.right() - markSide, rect.center().y() - markSide / 2.0, markSide, markSide),
            QStringLiteral("lock"), selected);
        rect.setRight(rect.right() - markSide - 4);
    }
    if (index.data(GroupListModel::MonitoredRole).toBool()) {
        ListGlyphs::paintIcon(painter,
            QRectF(rect.right() - markSide, rect.center().y() - markSide / 2.0, markSide, markSide),
            QStringLiteral("folder"), selected);
        rect.setRight(rect.right() - markSide - 4);
    }
    painter->setPen(textColor);
    const QString title = option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, int(rect.width()));
    painter->drawText(rect, Qt::AlignVCenter | Qt::AlignLeft, title);
    painter->restore();
}
