#pragma once

#include <QRectF>
#include <QStringList>
#include <QStyleOptionViewItem>

class QColor;
class QPainter;
class QPalette;

/// The marks the two lists paint into their rows besides the controls' own
/// dots and badges: a padlock, the monitored-folder mark and tag tokens.
/// Drawn from the palette-tinted icons and as paths, so they are sharp at
/// every pixel ratio and follow the light and dark themes.
namespace ListGlyphs {

/// The icon called @p name ("lock", "folder") centred in @p rect.
void paintIcon(QPainter* painter, const QRectF& rect, const QString& name, bool selected);
/// Tag tokens from the left of @p rect, as many as fit, then "…".
void paintTokens(
    QPainter* painter, const QRectF& rect, const QStringList& tags, const QPalette& palette, bool selected);
/// @p palette with the selected row's colours as its plain ones, for controls
/// that paint from the plain colours (badges, dots).
QPalette rowPalette(const QPalette& palette, bool selected);
/// The row's own background (selection, hover, alternate colour) as the style
/// draws it, without the text and icon the delegate paints itself.
void paintRowBackground(QPainter* painter, QStyleOptionViewItem row);
/// The colour of a row's text: highlighted when selected, dimmer when the
/// window is not active.
QColor rowTextColor(const QStyleOptionViewItem& option);

} // namespace ListGlyphs
