#include "controls/KVHoverButton.h"

#include "controls/ControlStyle.h"

#include <QFocusEvent>
#include <QPainter>

namespace {
constexpr int radius = 5;
constexpr int padding = 4;
} // namespace

KVHoverButton::KVHoverButton(QWidget* parent)
    : QAbstractButton(parent)
{
    ControlStyle::ensureAccessibility();
    // Tab reaches it, a click does not take the focus from the field being edited.
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setIconSize(QSize(16, 16));
}

KVHoverButton::KVHoverButton(const QIcon& icon, const QString& toolTip, QWidget* parent)
    : KVHoverButton(parent)
{
    setIcon(icon);
    setToolTip(toolTip);
}

QSize KVHoverButton::sizeHint() const
{
    const int m = ControlStyle::focusMargin;
    QSize content = iconSize();
    if (!text().isEmpty()) {
        // A text-only hover button (no icon) is allowed: show the text instead.
        if (icon().isNull())
            content = QSize(fontMetrics().horizontalAdvance(text()) + 2 * padding, fontMetrics().height());
    }
    return content + QSize(2 * (padding + m), 2 * (padding + m));
}

QSize KVHoverButton::minimumSizeHint() const
{
    return sizeHint();
}

void KVHoverButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const int m = ControlStyle::focusMargin;
    const QRectF body
        = ControlStyle::snapRect(QRectF(rect()).adjusted(m, m, -m, -m), ControlStyle::deviceScale(painter));
    const bool enabled = isEnabled();

    QColor fill = Qt::transparent;
    if (enabled && isDown())
        fill = ControlStyle::faded(pal.color(QPalette::WindowText), 0.18);
    else if (isChecked())
        fill = ControlStyle::faded(pal.color(QPalette::Active, QPalette::Highlight), enabled ? 0.28 : 0.12);
    else if (enabled && underMouse())
        fill = ControlStyle::faded(pal.color(QPalette::WindowText), 0.09);
    if (fill.alpha() > 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(body, radius, radius);
    }

    if (!icon().isNull()) {
        const QSize size = iconSize();
        const QRect iconRect(QPoint(int(body.left() + (body.width() - size.width()) / 2),
                                 int(body.top() + (body.height() - size.height()) / 2)),
            size);
        icon().paint(&painter, iconRect, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled,
            isChecked() ? QIcon::On : QIcon::Off);
    } else {
        painter.setPen(pal.color(enabled ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
        painter.drawText(body, Qt::AlignCenter, text());
    }

    if (ControlStyle::showsFocus(this, m_focusFromMouse))
        ControlStyle::drawFocusRing(&painter, body, radius, pal);
}

void KVHoverButton::focusInEvent(QFocusEvent* event)
{
    m_focusFromMouse = event->reason() == Qt::MouseFocusReason;
    QAbstractButton::focusInEvent(event);
}

void KVHoverButton::keyPressEvent(QKeyEvent* event)
{
    m_focusFromMouse = false;
    QAbstractButton::keyPressEvent(event);
}
