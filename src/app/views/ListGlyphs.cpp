#include "app/views/ListGlyphs.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QStringList>

namespace ListGlyphs {

QColor tagColor(int tag, bool dark)
{
    // Light and dark variants: the dark ones are lifted to read on dark rows.
    static const QColor light[] = { QColor(0xe5, 0x3e, 0x3e), QColor(0xf0, 0x8c, 0x1a), QColor(0xe8, 0xc3, 0x1c),
        QColor(0x3c, 0xb3, 0x4a), QColor(0x2f, 0x80, 0xed), QColor(0x9b, 0x51, 0xe0), QColor(0x8e, 0x8e, 0x93) };
    static const QColor darkVariant[] = { QColor(0xff, 0x5f, 0x57), QColor(0xff, 0xa0, 0x3a), QColor(0xff, 0xd6, 0x3a),
        QColor(0x5a, 0xd1, 0x6a), QColor(0x5a, 0x9c, 0xff), QColor(0xbf, 0x7a, 0xff), QColor(0xa8, 0xa8, 0xad) };
    if (tag < 0 || tag > 6)
        return {};
    return dark ? darkVariant[tag] : light[tag];
}

static bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 110;
}

void paintDot(QPainter* painter, const QRectF& rect, int tag, const QPalette& palette)
{
    const QColor color = tagColor(tag, isDark(palette));
    if (!color.isValid())
        return;
    const qreal side = qMin(rect.width(), rect.height());
    const QRectF dot(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(color.darker(125), 1));
    painter->setBrush(color);
    painter->drawEllipse(dot.adjusted(0.5, 0.5, -0.5, -0.5));
    painter->restore();
}

void paintLock(QPainter* painter, const QRectF& rect, const QColor& color)
{
    const qreal side = qMin(rect.width(), rect.height());
    const QRectF box(rect.center().x() - side * 0.36, rect.center().y() - side * 0.02, side * 0.72, side * 0.5);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(box, side * 0.08, side * 0.08);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(color, qMax(1.2, side * 0.11), Qt::SolidLine, Qt::RoundCap));
    const QRectF shackle(box.left() + box.width() * 0.18, box.top() - side * 0.34, box.width() * 0.64, side * 0.62);
    QPainterPath arc;
    arc.moveTo(shackle.left(), box.top());
    arc.lineTo(shackle.left(), shackle.center().y());
    arc.arcTo(shackle, 180, -180);
    arc.lineTo(shackle.right(), box.top());
    painter->drawPath(arc);
    painter->restore();
}

void paintFolder(QPainter* painter, const QRectF& rect, const QColor& color)
{
    const qreal side = qMin(rect.width(), rect.height());
    const QRectF body(rect.center().x() - side * 0.45, rect.center().y() - side * 0.28, side * 0.9, side * 0.62);
    QPainterPath path;
    path.moveTo(body.left(), body.top() + side * 0.1);
    path.lineTo(body.left(), body.bottom());
    path.lineTo(body.right(), body.bottom());
    path.lineTo(body.right(), body.top() + side * 0.1);
    path.lineTo(body.left() + body.width() * 0.5, body.top() + side * 0.1);
    path.lineTo(body.left() + body.width() * 0.4, body.top());
    path.lineTo(body.left(), body.top());
    path.closeSubpath();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(color, qMax(1.0, side * 0.09), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(path);
    painter->restore();
}

static QFont smallBold(const QFont& font)
{
    QFont small = font;
    small.setPointSizeF(qMax(7.0, font.pointSizeF() * 0.85));
    small.setBold(true);
    return small;
}

qreal badgeWidth(const QString& text, const QFont& font)
{
    const QFontMetricsF metrics(smallBold(font));
    return metrics.horizontalAdvance(text) + metrics.height();
}

void paintBadge(QPainter* painter, const QRectF& rect, const QString& text, const QPalette& palette, bool selected)
{
    const QFont font = smallBold(painter->font());
    const QFontMetricsF metrics(font);
    const qreal height = metrics.height() + 2;
    const qreal width = metrics.horizontalAdvance(text) + height;
    const QRectF pill(rect.right() - width, rect.center().y() - height / 2, width, height);
    const QColor text_ = selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text);
    QColor fill = text_;
    fill.setAlphaF(selected ? 0.25 : 0.12);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawRoundedRect(pill, height / 2, height / 2);
    painter->setFont(font);
    painter->setPen(text_);
    painter->drawText(pill, Qt::AlignCenter, text);
    painter->restore();
}

void paintTokens(QPainter* painter, const QRectF& rect, const QStringList& tags, const QPalette& palette, bool selected)
{
    if (tags.isEmpty())
        return;
    QFont font = painter->font();
    font.setPointSizeF(qMax(7.0, font.pointSizeF() * 0.9));
    const QFontMetricsF metrics(font);
    const qreal height = qMin(rect.height() - 2, metrics.height() + 2);
    const QColor accent = selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Highlight);
    QColor fill = accent;
    fill.setAlphaF(0.18);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(font);
    painter->setClipRect(rect);
    const QString more = QStringLiteral("…");
    qreal x = rect.left();
    for (qsizetype i = 0; i < tags.size(); ++i) {
        const qreal width = metrics.horizontalAdvance(tags[i]) + height;
        const bool last = i == tags.size() - 1;
        const qreal reserve = last ? 0 : metrics.horizontalAdvance(more) + 4;
        if (x + width + reserve > rect.right() && i > 0) {
            painter->setPen(selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text));
            painter->drawText(QRectF(x, rect.top(), rect.right() - x, rect.height()), Qt::AlignVCenter, more);
            break;
        }
        const QRectF token(x, rect.center().y() - height / 2, width, height);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(token, height / 2, height / 2);
        painter->setPen(selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text));
        painter->drawText(token, Qt::AlignCenter, metrics.elidedText(tags[i], Qt::ElideRight, rect.width() - height));
        x += width + 4;
    }
    painter->restore();
}

} // namespace ListGlyphs
