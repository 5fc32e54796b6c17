#include "controls/KVTessaryProgress.h"

#include "app/i18n/Localizer.h"
#include "controls/ControlStyle.h"
#include "controls/KVButton.h"
#include "controls/TessaryBeachBallView.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>

namespace {
constexpr int barHeight = 6;
constexpr int gap = 8;
constexpr int textGap = 2;
} // namespace

KVTessaryProgress::KVTessaryProgress(QWidget* parent)
    : QWidget(parent)
    , m_spinner(new TessaryBeachBallView(this))
    , m_cancel(new KVButton(this))
{
    ControlStyle::ensureAccessibility();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_spinner->hide();
    connect(m_cancel, &KVButton::clicked, this, &KVTessaryProgress::cancelRequested);
    // Keyed, so a re-localization after the table was edited retitles it too.
    Localizer::setKey(m_cancel, QStringLiteral("Cancel"));
    layoutChildren();
}

bool KVTessaryProgress::isIndeterminate() const
{
    return m_indeterminate;
}

void KVTessaryProgress::setIndeterminate(bool indeterminate)
{
    if (m_indeterminate == indeterminate)
        return;
    m_indeterminate = indeterminate;
    m_spinner->setVisible(indeterminate);
    if (indeterminate)
        m_spinner->startAnimation();
    else
        m_spinner->stopAnimation();
    update();
    notifyValueChanged();
}

qint64 KVTessaryProgress::minimum() const
{
    return m_minimum;
}

qint64 KVTessaryProgress::maximum() const
{
    return m_maximum;
}

void KVTessaryProgress::setRange(qint64 minimum, qint64 maximum)
{
    m_minimum = minimum;
    m_maximum = qMax(minimum, maximum);
    m_value = qBound(m_minimum, m_value, m_maximum);
    update();
    notifyValueChanged();
}

qint64 KVTessaryProgress::value() const
{
    return m_value;
}

void KVTessaryProgress::setValue(qint64 value)
{
    const qint64 bounded = qBound(m_minimum, value, m_maximum);
    if (bounded == m_value)
        return;
    // Work loops report far more often than the bar can show; repaint only
    // when the filled part changes by at least a device pixel.
    const qreal scale = devicePixelRatioF();
    const qreal before = qRound(fraction() * indicatorRect().width() * scale);
    m_value = bounded;
    if (qRound(fraction() * indicatorRect().width() * scale) != before)
        update(indicatorRect());
    notifyValueChanged();
}

qreal KVTessaryProgress::fraction() const
{
    if (m_maximum <= m_minimum)
        return 0;
    return qreal(m_value - m_minimum) / qreal(m_maximum - m_minimum);
}

QString KVTessaryProgress::text() const
{
    return m_text;
}

void KVTessaryProgress::setText(const QString& text)
{
    if (m_text == text)
        return;
    m_text = text;
    update(textRect());
    if (QAccessible::isActive()) {
        QAccessibleEvent change(this, QAccessible::DescriptionChanged);
        QAccessible::updateAccessibility(&change);
    }
}

bool KVTessaryProgress::isCancelVisible() const
{
    return !m_cancel->isHidden();
}

void KVTessaryProgress::setCancelVisible(bool visible)
{
    m_cancel->setVisible(visible);
    layoutChildren();
    update();
}

QSize KVTessaryProgress::sizeHint() const
{
    const int cancel = isCancelVisible() ? m_cancel->sizeHint().width() + gap : 0;
    return QSize(320 + cancel, rowHeight() + textGap + fontMetrics().height());
}

QSize KVTessaryProgress::minimumSizeHint() const
{
    const int cancel = isCancelVisible() ? m_cancel->sizeHint().width() + gap : 0;
    return QSize(120 + cancel, rowHeight() + textGap + fontMetrics().height());
}

void KVTessaryProgress::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const qreal scale = ControlStyle::deviceScale(painter);

    if (!m_indeterminate) {
        const QRect indicator = indicatorRect();
        const QRectF track
            = ControlStyle::snapRect(QRectF(indicator.left(), indicator.top() + (indicator.height() - barHeight) / 2.0,
                                         indicator.width(), barHeight),
                scale);
        const qreal r = track.height() / 2;
        painter.setPen(Qt::NoPen);
        painter.setBrush(ControlStyle::mix(pal.color(QPalette::Window), pal.color(QPalette::WindowText), 0.14));
        painter.drawRoundedRect(track, r, r);
        const qreal filled = ControlStyle::snap(track.width() * fraction(), scale);
        if (filled > 0) {
            // Clip instead of shrinking the rounded shape, so a short fill keeps a round left end.
            painter.save();
            painter.setClipRect(QRectF(track.left(), track.top(), filled, track.height()));
            painter.setBrush(pal.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::Highlight));
            painter.drawRoundedRect(track, r, r);
            painter.restore();
        }
    }

    const QRect line = textRect();
    painter.setPen(ControlStyle::secondaryTextColor(pal));
    const Qt::Alignment horizontal = m_indeterminate && !isCancelVisible() ? Qt::AlignHCenter : Qt::AlignLeft;
    painter.drawText(
        line, horizontal | Qt::AlignVCenter, fontMetrics().elidedText(m_text, Qt::ElideMiddle, line.width()));
}

void KVTessaryProgress::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layoutChildren();
}

bool KVTessaryProgress::event(QEvent* event)
{
    // The Cancel button asks for room after a new title or font.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::FontChange) {
        layoutChildren();
        updateGeometry();
        update();
    }
    return QWidget::event(event);
}

void KVTessaryProgress::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && isCancelVisible() && m_cancel->isEnabled()) {
        Q_EMIT cancelRequested();
        return;
    }
    QWidget::keyPressEvent(event);
}

int KVTessaryProgress::rowHeight() const
{
    return qMax(m_cancel->sizeHint().height(), 22);
}

QRect KVTessaryProgress::indicatorRect() const
{
    const int cancel = isCancelVisible() ? m_cancel->sizeHint().width() + gap : 0;
    return QRect(0, 0, qMax(0, width() - cancel), rowHeight());
}

QRect KVTessaryProgress::textRect() const
{
    return QRect(0, rowHeight() + textGap, width(), fontMetrics().height());
}

void KVTessaryProgress::layoutChildren()
{
    const QRect indicator = indicatorRect();
    const int side = qMin(20, indicator.height() - 2);
    // Beside a Cancel button the spinner starts the row as the bar would; alone
    // it marks the middle, where a view centred in a window has its eye.
    const int x = isCancelVisible() ? indicator.left() : indicator.left() + (indicator.width() - side) / 2;
    m_spinner->setGeometry(x, indicator.top() + (indicator.height() - side) / 2, side, side);
    const QSize button = m_cancel->sizeHint();
    m_cancel->setGeometry(
        width() - button.width(), (rowHeight() - button.height()) / 2, button.width(), button.height());
}

void KVTessaryProgress::notifyValueChanged()
{
    if (!QAccessible::isActive())
        return;
    QAccessibleValueChangeEvent change(this, m_indeterminate ? QVariant() : QVariant(m_value));
    QAccessible::updateAccessibility(&change);
}
