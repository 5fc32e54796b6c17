#include "controls/KVButton.h"

#include "controls/ControlStyle.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QShortcut>
#include <QtMath>

namespace {
constexpr int radius = 5;
constexpr int horizontalPadding = 14;
constexpr int iconSpacing = 6;
constexpr int minimumBodyWidth = 76;
} // namespace

KVButton::KVButton(QWidget* parent)
    : QAbstractButton(parent)
{
    ControlStyle::ensureAccessibility();
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    setIconSize(QSize(16, 16));
}

KVButton::KVButton(const QString& text, QWidget* parent)
    : KVButton(parent)
{
    setText(text);
}

bool KVButton::isDefault() const
{
    return m_default;
}

void KVButton::setDefault(bool isDefault)
{
    if (m_default == isDefault)
        return;
    m_default = isDefault;
    if (m_default && !m_returnShortcut) {
        m_returnShortcut
            = new QShortcut(QKeySequence(Qt::Key_Return), this, this, &KVButton::clickFromShortcut, Qt::WindowShortcut);
        m_enterShortcut
            = new QShortcut(QKeySequence(Qt::Key_Enter), this, this, &KVButton::clickFromShortcut, Qt::WindowShortcut);
    }
    if (m_returnShortcut) {
        m_returnShortcut->setEnabled(m_default);
        m_enterShortcut->setEnabled(m_default);
    }
    update();
}

QSize KVButton::sizeHint() const
{
    ensurePolished();
    const QFontMetrics metrics = fontMetrics();
    int width = qCeil(QFontMetricsF(font()).horizontalAdvance(text())) + 2 * horizontalPadding;
    if (!icon().isNull())
        width += iconSize().width() + (text().isEmpty() ? 0 : iconSpacing);
    const int height = qMax(metrics.height() + 10, 24);
    return QSize(qMax(width, minimumBodyWidth), height) + QSize(2, 2) * ControlStyle::focusMargin;
}

QSize KVButton::minimumSizeHint() const
{
    return sizeHint();
}

void KVButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const bool enabled = isEnabled();
    const bool accent = m_default && enabled;
    const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
    const int m = ControlStyle::focusMargin;
    const QRectF body
        = ControlStyle::snapRect(QRectF(rect()).adjusted(m, m, -m, -m), ControlStyle::deviceScale(painter));

    QColor fill = accent ? pal.color(QPalette::Active, QPalette::Highlight) : pal.color(group, QPalette::Button);
    const QColor ink
        = accent ? pal.color(QPalette::Active, QPalette::HighlightedText) : pal.color(group, QPalette::ButtonText);
    if (enabled && (isDown() || isChecked()))
        fill = ControlStyle::mix(fill, accent ? QColor(Qt::black) : ink, accent ? 0.2 : 0.12);
    else if (enabled && underMouse())
        fill = ControlStyle::mix(fill, accent ? QColor(Qt::white) : ink, 0.05);
    const QColor border = accent ? ControlStyle::mix(fill, Qt::black, 0.18) : ControlStyle::mix(fill, ink, 0.28);

    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(body, radius, radius);
    ControlStyle::strokeRoundedRect(&painter, body, radius, border);

    // Icon and text centred together; the text is elided when the button is narrower than it wants.
    const QRect inner = body.toAlignedRect().adjusted(horizontalPadding / 2, 0, -horizontalPadding / 2, 0);
    const bool hasIcon = !icon().isNull();
    const int iconPart = hasIcon ? iconSize().width() + (text().isEmpty() ? 0 : iconSpacing) : 0;
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, qMax(0, inner.width() - iconPart));
    const int contentWidth = iconPart + fontMetrics().horizontalAdvance(shown);
    int x = inner.left() + (inner.width() - contentWidth) / 2;
    if (hasIcon) {
        const QRect iconRect(
            x, inner.top() + (inner.height() - iconSize().height()) / 2, iconSize().width(), iconSize().height());
        icon().paint(&painter, iconRect, Qt::AlignCenter,
            !enabled ? QIcon::Disabled : (accent ? QIcon::Selected : QIcon::Normal));
        x += iconPart;
    }
    painter.setPen(ink);
    painter.drawText(
        QRect(x, inner.top(), inner.right() - x + 1, inner.height()), Qt::AlignVCenter | Qt::AlignLeft, shown);

    if (ControlStyle::showsFocus(this, m_focusFromMouse))
        ControlStyle::drawFocusRing(&painter, body, radius, pal);
}

void KVButton::focusInEvent(QFocusEvent* event)
{
    m_focusFromMouse = event->reason() == Qt::MouseFocusReason;
    QAbstractButton::focusInEvent(event);
}

void KVButton::keyPressEvent(QKeyEvent* event)
{
    // Return and Enter press a focused button, as Space does.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && event->modifiers() == Qt::NoModifier) {
        animateClick();
        return;
    }
    m_focusFromMouse = false;
    QAbstractButton::keyPressEvent(event);
}

bool KVButton::event(QEvent* event)
{
    // A focused button keeps Return and Enter for itself, so the window's
    // default button does not take them over.
    if (event->type() == QEvent::ShortcutOverride) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            event->accept();
            return true;
        }
    }
    return QAbstractButton::event(event);
}

void KVButton::clickFromShortcut()
{
    if (isEnabled() && isVisible())
        animateClick();
}
