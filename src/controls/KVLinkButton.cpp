#include "controls/KVLinkButton.h"

#include "controls/ControlStyle.h"

#include <QFocusEvent>
#include <QPainter>
#include <QtMath>

namespace {
constexpr int padding = 2;
} // namespace

KVLinkButton::KVLinkButton(QWidget* parent)
    : QAbstractButton(parent)
{
    ControlStyle::ensureAccessibility();
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

KVLinkButton::KVLinkButton(const QString& text, QWidget* parent)
    : KVLinkButton(parent)
{
    setText(text);
}

int KVLinkButton::textInset()
{
    return ControlStyle::focusMargin + padding;
}

QSize KVLinkButton::sizeHint() const
{
    ensurePolished();
    const int m = textInset();
    // Whole pixels rounded up, so the text never elides at its own size.
    const int textWidth = qCeil(QFontMetricsF(font()).horizontalAdvance(text()));
    return QSize(textWidth, fontMetrics().height()) + QSize(2 * m, 2 * m);
}

QSize KVLinkButton::minimumSizeHint() const
{
    return sizeHint();
}

void KVLinkButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QPalette& pal = palette();
    const int m = ControlStyle::focusMargin;
    const QRect body = rect().adjusted(m, m, -m, -m);
    const QRect textRect = body.adjusted(padding, padding, -padding, -padding);

    QColor ink = isEnabled() ? pal.color(QPalette::Active, QPalette::Link)
                             : pal.color(QPalette::Disabled, QPalette::WindowText);
    if (isEnabled() && isDown())
        ink = ControlStyle::mix(ink, pal.color(QPalette::WindowText), 0.35);
    QFont font = painter.font();
    font.setUnderline(isEnabled() && underMouse());
    painter.setFont(font);
    painter.setPen(ink);
    painter.drawText(
        textRect, Qt::AlignLeft | Qt::AlignVCenter, fontMetrics().elidedText(text(), Qt::ElideRight, textRect.width()));

    if (ControlStyle::showsFocus(this, m_focusFromMouse)) {
        painter.setRenderHint(QPainter::Antialiasing);
        ControlStyle::drawFocusRing(&painter, body, 3, pal);
    }
}

void KVLinkButton::focusInEvent(QFocusEvent* event)
{
    m_focusFromMouse = event->reason() == Qt::MouseFocusReason;
    QAbstractButton::focusInEvent(event);
}

void KVLinkButton::keyPressEvent(QKeyEvent* event)
{
    m_focusFromMouse = false;
    QAbstractButton::keyPressEvent(event);
}
