#include "controls/BadgeField.h"

#include "controls/ControlStyle.h"

#include <QAccessible>
#include <QLocale>
#include <QPainter>
#include <QtMath>

BadgeField::BadgeField(QWidget* parent)
    : QWidget(parent)
{
    ControlStyle::ensureAccessibility();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QString BadgeField::text() const
{
    return m_text;
}

void BadgeField::setText(const QString& text)
{
    if (m_text == text)
        return;
    m_text = text;
    updateGeometry();
    update();
    if (QAccessible::isActive()) {
        QAccessibleEvent change(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&change);
    }
}

void BadgeField::setCount(qint64 count)
{
    setText(locale().toString(count));
}

QSize BadgeField::sizeHint() const
{
    const QSize badge = badgeSize(m_text.isEmpty() ? QStringLiteral("0") : m_text, font());
    return badge + QSize(2, 2);
}

QSize BadgeField::minimumSizeHint() const
{
    return sizeHint();
}

QFont BadgeField::badgeFont(const QFont& font)
{
    QFont badge = font;
    if (font.pointSizeF() > 0)
        badge.setPointSizeF(qMax(7.0, font.pointSizeF() * 0.85));
    else
        badge.setPixelSize(qMax(9, qRound(font.pixelSize() * 0.85)));
    badge.setWeight(QFont::DemiBold);
    return badge;
}

QSize BadgeField::badgeSize(const QString& text, const QFont& font)
{
    if (text.isEmpty())
        return QSize(0, 0);
    const QFontMetricsF metrics(badgeFont(font));
    const int height = qCeil(metrics.height()) + 2;
    // At least round; longer counts grow a pill with half a height of air each side.
    const int width = qMax(height, qCeil(metrics.horizontalAdvance(text)) + height);
    return QSize(width, height);
}

void BadgeField::paintBadge(QPainter* painter, const QRect& rect, const QString& text, const QPalette& palette)
{
    if (text.isEmpty())
        return;
    const QFont font = badgeFont(painter->font());
    const QSize size = badgeSize(text, painter->font()).boundedTo(rect.size());
    const qreal scale = ControlStyle::deviceScale(*painter);
    const QRectF pill
        = ControlStyle::snapRect(QRectF(rect.right() + 1 - size.width(),
                                     rect.top() + (rect.height() - size.height()) / 2.0, size.width(), size.height()),
            scale);
    const QColor ink = palette.color(QPalette::Text);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(ControlStyle::faded(ink, 0.16));
    painter->drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
    painter->setFont(font);
    painter->setPen(ControlStyle::faded(ink, 0.8));
    painter->drawText(pill, Qt::AlignCenter, text);
    painter->restore();
}

void BadgeField::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintBadge(&painter, rect().adjusted(1, 1, -1, -1), m_text, palette());
}
