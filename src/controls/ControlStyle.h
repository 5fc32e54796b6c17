#pragma once

#include <QColor>
#include <QRectF>

class QPainter;
class QPalette;
class QWidget;

/// Drawing helpers shared by the application's own controls: device-pixel
/// alignment, hairlines, the colours derived from the palette and the focus
/// ring. Every control paints from the palette it is given, so light and dark
/// themes need no code of their own.
namespace ControlStyle {

/// Device pixels per logical pixel of what @p painter paints on, taken from its
/// device transform so that QWidget::render() into a 2x image counts as 2x.
qreal deviceScale(const QPainter& painter);

/// Width of a hairline in logical pixels: one device pixel up to 2x, then half
/// a logical pixel rounded to whole device pixels.
qreal hairlineWidth(qreal scale);

/// @p value rounded to the nearest device-pixel boundary.
qreal snap(qreal value, qreal scale);

/// @p rect with every edge moved to the nearest device-pixel boundary.
QRectF snapRect(const QRectF& rect, qreal scale);

/// Fills a hairline rectangle (horizontal when @p horizontal) of full device
/// pixels centred on @p position, spanning @p from to @p to along the line.
void fillHairline(QPainter* painter, bool horizontal, qreal position, qreal from, qreal to, const QColor& color);

/// Strokes a rounded rectangle whose hairline border lies wholly inside
/// @p rect; the straight parts cover whole device pixels.
void strokeRoundedRect(QPainter* painter, const QRectF& rect, qreal radius, const QColor& color);

/// The ring that marks keyboard focus, drawn around @p body.
void drawFocusRing(QPainter* painter, const QRectF& body, qreal radius, const QPalette& palette);

/// Space a control keeps around its body for the focus ring.
constexpr int focusMargin = 3;

/// @p a blended towards @p b by @p amount (0 gives a, 1 gives b).
QColor mix(const QColor& a, const QColor& b, qreal amount);

/// @p color with its alpha multiplied by @p alpha.
QColor faded(QColor color, qreal alpha);

/// Colour of separators and borders on the window background.
QColor hairlineColor(const QPalette& palette);

/// Colour of secondary texts such as the line under a progress bar.
QColor secondaryTextColor(const QPalette& palette);

/// True when @p palette is a dark one (its window colour's lightness is below 110).
bool isDark(const QPalette& palette);

/// Registers the accessibility factory of the controls once per process.
void ensureAccessibility();

/// True when the focus of @p widget should be shown: it has focus and did not
/// get it from a mouse click.
bool showsFocus(const QWidget* widget, bool focusFromMouse);

} // namespace ControlStyle
