#pragma once

#include <QRectF>
#include <QStringList>

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
void paintTokens(QPainter* painter, const QRectF& rect, const QStringList& tags, const QPalette& palette, bool selected);
/// @p palette with the selected row's colours as its plain ones, for controls
/// that paint from the plain colours (badges, dots).
QPalette rowPalette(const QPalette& palette, bool selected);

} // namespace ListGlyphs
