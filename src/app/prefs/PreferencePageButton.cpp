#include "app/prefs/PreferencePageButton.h"

#include "app/i18n/Localizer.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionToolButton>
#include <QStylePainter>

PreferencePageButton::PreferencePageButton(int tag, const QString& titleKey, const QString& toolTipKey, QWidget* parent)
    : QToolButton(parent)
    , m_tag(tag)
{
    setObjectName(QStringLiteral("prefButton_%1").arg(tag));
    setProperty("tag", tag);
    setText(titleKey);
    setToolTip(toolTipKey);
    Localizer::setAccessibleKeys(this, titleKey, toolTipKey);
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    setAutoRaise(true);
    setIconSize(QSize(24, 24));
    setFocusPolicy(Qt::TabFocus);
}

QSize PreferencePageButton::sizeHint() const
{
    // Room around the title so the selected page's background does not touch it.
    const QSize hint = QToolButton::sizeHint();
    return { qMax(hint.width() + 12, 64), hint.height() + 6 };
}

void PreferencePageButton::paintEvent(QPaintEvent* event)
{
    if (isEnabled()) {
        QToolButton::paintEvent(event);
        return;
    }
    QStylePainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    // The page shown: a soft accent background behind an icon and title in full colour.
    QColor accent = palette().color(QPalette::Active, QPalette::Highlight);
    accent.setAlphaF(0.18);
    QPainterPath body;
    body.addRoundedRect(QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5), 6, 6);
    painter.fillPath(body, accent);

    QStyleOptionToolButton option;
    initStyleOption(&option);
    // Drawn as enabled, so the style picks the normal text colour and icon.
    option.state |= QStyle::State_Enabled;
    option.state &= ~(QStyle::State_MouseOver | QStyle::State_Raised | QStyle::State_Sunken);
    option.palette.setCurrentColorGroup(isActiveWindow() ? QPalette::Active : QPalette::Inactive);
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
}
