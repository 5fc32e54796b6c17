#include "controls/ControlStyle.h"

#include "app/style/ThemeManager.h"
#include "controls/KVAccessibleControl.h"

#include <QAccessible>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QWidget>
#include <QtMath>

namespace ControlStyle {

qreal deviceScale(const QPainter& painter)
{
    const QTransform t = painter.deviceTransform();
    // Only scaling matters here; a rotated control would not be pixel-aligned anyway.
    const qreal scale = qSqrt(t.m11() * t.m11() + t.m12() * t.m12());
    return scale > 0 ? scale : 1.0;
}

qreal hairlineWidth(qreal scale)
{
    const int devicePixels = scale <= 2.0 ? 1 : qMax(1, qRound(scale / 2.0));
    return devicePixels / scale;
}

qreal snap(qreal value, qreal scale)
{
    return qRound(value * scale) / scale;
}

QRectF snapRect(const QRectF& rect, qreal scale)
{
    const qreal left = snap(rect.left(), scale);
    const qreal top = snap(rect.top(), scale);
    return QRectF(QPointF(left, top), QPointF(snap(rect.right(), scale), snap(rect.bottom(), scale)));
}

void fillHairline(QPainter* painter, bool horizontal, qreal position, qreal from, qreal to, const QColor& color)
{
    const qreal scale = deviceScale(*painter);
    const qreal width = hairlineWidth(scale);
    // Start on a device-pixel boundary so the line covers whole pixels and is never blended.
    const qreal start = qFloor((position - width / 2) * scale + 0.5) / scale;
    const qreal a = snap(from, scale);
    const qreal b = snap(to, scale);
    const QRectF line = horizontal ? QRectF(a, start, b - a, width) : QRectF(start, a, width, b - a);
    painter->fillRect(line, color);
}

void strokeRoundedRect(QPainter* painter, const QRectF& rect, qreal radius, const QColor& color)
{
    const qreal scale = deviceScale(*painter);
    const qreal width = hairlineWidth(scale);
    const QRectF outer = snapRect(rect, scale);
    const QRectF centre = outer.adjusted(width / 2, width / 2, -width / 2, -width / 2);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    QPen pen(color, width);
    pen.setJoinStyle(Qt::MiterJoin);
    painter->setPen(pen);
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(centre, qMax<qreal>(0, radius - width / 2), qMax<qreal>(0, radius - width / 2));
    painter->restore();
}

void drawFocusRing(QPainter* painter, const QRectF& body, qreal radius, const QPalette& palette)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    QColor ring = palette.color(QPalette::Active, QPalette::Highlight);
    ring.setAlphaF(0.6);
    // A two-pixel ring flush with the body, outside it, so it never covers the control's text.
    painter->setPen(QPen(ring, 2.0));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(body.adjusted(-1, -1, 1, 1), radius + 1, radius + 1);
    painter->restore();
}

QColor mix(const QColor& a, const QColor& b, qreal amount)
{
    const qreal t = qBound<qreal>(0, amount, 1);
    const QColor ca = a.toRgb();
    const QColor cb = b.toRgb();
    return QColor::fromRgbF(float(ca.redF() + (cb.redF() - ca.redF()) * t),
        float(ca.greenF() + (cb.greenF() - ca.greenF()) * t), float(ca.blueF() + (cb.blueF() - ca.blueF()) * t),
        float(ca.alphaF() + (cb.alphaF() - ca.alphaF()) * t));
}

QColor faded(QColor color, qreal alpha)
{
    color.setAlphaF(float(color.alphaF() * alpha));
    return color;
}

QColor hairlineColor(const QPalette& palette)
{
    // Opaque, so a hairline has exactly one colour on every pixel it covers.
    return mix(palette.color(QPalette::Window), palette.color(QPalette::WindowText), isDark(palette) ? 0.28 : 0.2);
}

QColor secondaryTextColor(const QPalette& palette)
{
    return mix(palette.color(QPalette::Window), palette.color(QPalette::WindowText), 0.65);
}

bool isDark(const QPalette& palette)
{
    return ThemeManager::isDarkPalette(palette);
}

void ensureAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(KVAccessibleControl::create);
        return true;
    }();
    Q_UNUSED(installed);
}

bool showsFocus(const QWidget* widget, bool focusFromMouse)
{
    return widget->hasFocus() && !focusFromMouse;
}

} // namespace ControlStyle
