#include "controls/KVBox.h"

#include "app/i18n/Localizer.h"
#include "controls/ControlStyle.h"
#include "text/KVLocalizationDictionary.h"

#include <QAccessible>
#include <QEvent>
#include <QLayout>
#include <QPainter>
#include <QtMath>

namespace {
constexpr int radius = 6;
constexpr int padding = 10;
constexpr int titleGap = 4;
constexpr const char* titleKeyProperty = "_oldBaseString";

QFont titleFont(const QFont& font)
{
    QFont title = font;
    title.setWeight(QFont::DemiBold);
    return title;
}
} // namespace

KVBox::KVBox(QWidget* parent)
    : QWidget(parent)
{
    ControlStyle::ensureAccessibility();
    updateMargins();
}

KVBox::KVBox(const QString& title, QWidget* parent)
    : KVBox(parent)
{
    setTitle(title);
}

QString KVBox::title() const
{
    return m_title;
}

void KVBox::setTitle(const QString& title)
{
    if (m_title == title)
        return;
    m_title = title;
    updateMargins();
    update();
    if (QAccessible::isActive()) {
        QAccessibleEvent change(this, QAccessible::NameChanged);
        QAccessible::updateAccessibility(&change);
    }
}

void KVBox::setTitleKey(const QString& key)
{
    // Stored where the window localizer keeps every widget's key.
    setProperty(titleKeyProperty, key);
    connect(Localizer::instance(), &Localizer::relocalized, this, &KVBox::relocalize, Qt::UniqueConnection);
    relocalize();
}

void KVBox::relocalize()
{
    const QString key = property(titleKeyProperty).toString();
    if (!key.isEmpty())
        setTitle(localizedString(key));
}

QRect KVBox::frameRect() const
{
    return rect().adjusted(0, titleHeight(), 0, 0);
}

QSize KVBox::sizeHint() const
{
    const QSize content = layout() ? layout()->sizeHint() : QSize(0, 0);
    const QMargins m = contentsMargins();
    QSize size = content + QSize(m.left() + m.right(), m.top() + m.bottom());
    if (!m_title.isEmpty())
        size.setWidth(
            qMax(size.width(), qCeil(QFontMetricsF(titleFont(font())).horizontalAdvance(m_title)) + 2 * padding));
    return size.expandedTo(QSize(2 * padding, 2 * padding + titleHeight()));
}

QSize KVBox::minimumSizeHint() const
{
    const QSize content = layout() ? layout()->minimumSize() : QSize(0, 0);
    const QMargins m = contentsMargins();
    return content + QSize(m.left() + m.right(), m.top() + m.bottom());
}

void KVBox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const qreal scale = ControlStyle::deviceScale(painter);
    const QRectF frame = ControlStyle::snapRect(QRectF(frameRect()), scale);

    // A shade apart from the window, so the box reads as a surface, not a hole.
    const QColor fill = ControlStyle::mix(
        pal.color(QPalette::Window), pal.color(QPalette::WindowText), ControlStyle::isDark(pal) ? 0.05 : 0.035);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(frame, radius, radius);
    ControlStyle::strokeRoundedRect(&painter, frame, radius, ControlStyle::hairlineColor(pal));

    if (!m_title.isEmpty()) {
        painter.setFont(titleFont(font()));
        painter.setPen(pal.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
        const QRect titleRect(2, 0, width() - 4, titleHeight() - titleGap);
        painter.drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter,
            painter.fontMetrics().elidedText(m_title, Qt::ElideRight, titleRect.width()));
    }
}

void KVBox::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange)
        updateMargins();
    QWidget::changeEvent(event);
}

int KVBox::titleHeight() const
{
    return m_title.isEmpty() ? 0 : QFontMetrics(titleFont(font())).height() + titleGap;
}

void KVBox::updateMargins()
{
    setContentsMargins(padding, titleHeight() + padding, padding, padding);
    updateGeometry();
}
