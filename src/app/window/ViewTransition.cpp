#include "app/window/ViewTransition.h"

#include "app/core/AppSettings.h"

#include <QPainter>
#include <QPixmap>
#include <QStackedWidget>
#include <QVariantAnimation>

namespace {
/// The old screen's picture on top of the new screen while it fades away.
class TransitionOverlay : public QWidget
{
public:
    TransitionOverlay(const QPixmap& picture, ViewTransition::Kind kind, QWidget* parent)
        : QWidget(parent)
        , m_picture(picture)
        , m_kind(kind)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setGeometry(parent->rect());
    }

    void setStep(qreal step)
    {
        m_step = step;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.setOpacity(1.0 - m_step);
        QRectF target = rect();
        if (m_kind == ViewTransition::Kind::Zoom) {
            const qreal grow = 1.0 + 0.08 * m_step;
            target.setSize(target.size() * grow);
            target.moveCenter(QRectF(rect()).center());
        }
        painter.drawPixmap(target, m_picture, m_picture.rect());
    }

private:
    QPixmap m_picture;
    ViewTransition::Kind m_kind;
    qreal m_step = 0;
};
} // namespace

bool ViewTransition::animationsDisabled()
{
    return AppSettings::flag(AppSettings::disableAnimation);
}

void ViewTransition::swap(QStackedWidget* stack, QWidget* to, Kind kind, int durationMs)
{
    if (stack->indexOf(to) < 0)
        stack->addWidget(to);
    QWidget* from = stack->currentWidget();
    const bool animate = durationMs > 0 && !animationsDisabled() && from && from != to && stack->isVisible();
    QPixmap picture;
    if (animate)
        picture = from->grab();
    stack->setCurrentWidget(to);
    if (!animate)
        return;

    auto* overlay = new TransitionOverlay(picture, kind, stack);
    overlay->show();
    overlay->raise();
    auto* animation = new QVariantAnimation(overlay);
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setDuration(durationMs);
    animation->setEasingCurve(QEasingCurve::InOutQuad);
    QObject::connect(animation, &QVariantAnimation::valueChanged, overlay,
        [overlay](const QVariant& value) { overlay->setStep(value.toReal()); });
    QObject::connect(animation, &QVariantAnimation::finished, overlay, &QObject::deleteLater);
    animation->start();
}
