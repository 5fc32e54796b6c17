#include "app/views/ListGlyphs.h"

#include "app/style/Icons.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QStyle>

namespace ListGlyphs {

void paintIcon(QPainter* painter, const QRectF& rect, const QString& name, bool selected)
{
    const qreal side = qMin(rect.width(), rect.height());
    const QRect square(
        qRound(rect.center().x() - side / 2), qRound(rect.center().y() - side / 2), qRound(side), qRound(side));
    Icons::icon(name).paint(painter, square, Qt::AlignCenter, selected ? QIcon::Selected : QIcon::Normal);
}

void paintRowBackground(QPainter* painter, QStyleOptionViewItem row)
{
    row.text.clear();
    row.icon = QIcon();
    const QWidget* widget = row.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &row, painter, widget);
}

QColor rowTextColor(const QStyleOptionViewItem& option)
{
    return option.palette.color(option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive,
        option.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text);
}

QPalette rowPalette(const QPalette& palette, bool selected)
{
    if (!selected)
        return palette;
    QPalette row = palette;
    row.setColor(QPalette::Text, palette.color(QPalette::HighlightedText));
    row.setColor(QPalette::WindowText, palette.color(QPalette::HighlightedText));
    return row;
}

void paintTokens(QPainter* painter, const QRectF& rect, const QStringList& tags, const QPalette& palette, bool selected)
{
    if (tags.isEmpty())
        return;
    QFont font = painter->font();
    font.setPointSizeF(qMax(7.0, font.pointSizeF() * 0.9));
    const QFontMetricsF metrics(font);
    const qreal height = qMin(rect.height() - 2, metrics.height() + 2);
    const QColor ink = selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text);
    QColor fill = selected ? ink : palette.color(QPalette::Highlight);
    fill.setAlphaF(selected ? 0.22 : 0.16);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(font);
    painter->setClipRect(rect);
    const QString more = QStringLiteral("…");
    qreal x = rect.left();
    for (qsizetype i = 0; i < tags.size(); ++i) {
        const qreal width = qMin(metrics.horizontalAdvance(tags[i]) + height, rect.width());
        const qreal reserve = i == tags.size() - 1 ? 0 : metrics.horizontalAdvance(more) + 4;
        if (x + width + reserve > rect.right() && i > 0) {
            painter->setPen(ink);
            painter->drawText(QRectF(x, rect.top(), rect.right() - x, rect.height()), Qt::AlignVCenter, more);
            break;
        }
        const QRectF token(x, rect.center().y() - height / 2, width, height);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(token, height / 2, height / 2);
        painter->setPen(ink);
        painter->drawText(token, Qt::AlignCenter, metrics.elidedText(tags[i], Qt::ElideRight, width - height / 2));
        x += width + 4;
    }
    painter->restore();
}

} // namespace ListGlyphs
