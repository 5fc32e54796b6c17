#include "controls/TessaryBeachBallView.h"

#include "controls/ControlStyle.h"

#include <QAccessible>
#include <QPainter>
#include <QTimer>
#include <QtMath>

TessaryBeachBallView::TessaryBeachBallView(QWidget* parent)
    : QWidget(parent)
    , m_timer(new QTimer(this))
{
    ControlStyle::ensureAccessibility();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    // One turn a second, one spoke per tick.
    m_timer->setInterval(1000 / spokeCount);
    connect(m_timer, &QTimer::timeout, this, &TessaryBeachBallView::advance);
}

void TessaryBeachBallView::startAnimation()
{
    if (m_animating)
        return;
    m_animating = true;
    updateTimer();
    update();
    if (QAccessible::isActive()) {
        QAccessible::State busy;
        busy.busy = true;
        QAccessibleStateChangeEvent change(this, busy);
        QAccessible::updateAccessibility(&change);
    }
}

void TessaryBeachBallView::stopAnimation()
{
    if (!m_animating)
        return;
    m_animating = false;
    updateTimer();
    update();
    if (QAccessible::isActive()) {
        QAccessible::State busy;
        busy.busy = true;
        QAccessibleStateChangeEvent change(this, busy);
        QAccessible::updateAccessibility(&change);
    }
}

bool TessaryBeachBallView::isAnimating() const
{
    return m_animating;
}

bool TessaryBeachBallView::isDisplayedWhenStopped() const
{
    return m_displayedWhenStopped;
}

void TessaryBeachBallView::setDisplayedWhenStopped(bool displayed)
{
    if (m_displayedWhenStopped == displayed)
        return;
    m_displayedWhenStopped = displayed;
    update();
}

QSize TessaryBeachBallView::sizeHint() const
{
    return QSize(32, 32);
}

QSize TessaryBeachBallView::minimumSizeHint() const
{
    return QSize(12, 12);
}

void TessaryBeachBallView::paintEvent(QPaintEvent*)
{
    if (!m_animating && !m_displayedWhenStopped)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = qMin(width(), height());
    const qreal radius = side / 2.0;
    const qreal spokeWidth = qMax<qreal>(1.5, side * 0.085);
    const QColor ink = palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText);

    painter.translate(width() / 2.0, height() / 2.0);
    for (int spoke = 0; spoke < spokeCount; ++spoke) {
        // The spoke at the current step is brightest; those behind it fade out.
        const int age = (m_step - spoke + spokeCount) % spokeCount;
        const qreal alpha = m_animating ? 1.0 - 0.75 * age / (spokeCount - 1) : 0.3;
        QPen pen(ControlStyle::faded(ink, alpha), spokeWidth, Qt::SolidLine, Qt::RoundCap);
        painter.setPen(pen);
        const qreal angle = qDegreesToRadians(spoke * 360.0 / spokeCount - 90.0);
        const QPointF direction(qCos(angle), qSin(angle));
        const qreal outer = radius - spokeWidth / 2.0;
        painter.drawLine(direction * (radius * 0.45), direction * outer);
    }
}

void TessaryBeachBallView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    updateTimer();
}

void TessaryBeachBallView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    updateTimer();
}

void TessaryBeachBallView::advance()
{
    m_step = (m_step + 1) % spokeCount;
    update();
}

void TessaryBeachBallView::updateTimer()
{
    if (m_animating && isVisible())
        m_timer->start();
    else
        m_timer->stop();
}
