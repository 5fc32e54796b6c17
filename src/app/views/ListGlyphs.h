#pragma once

#include <QColor>
#include <QRectF>
#include <QString>

class QPainter;
class QPalette;
class QFont;

/// The small marks the two lists paint into their rows: colour-tag dots,
/// the lock, the monitored-folder mark, count badges and tag tokens. Drawn as
/// paths, so they are sharp at every pixel ratio and take the palette's colours.
namespace ListGlyphs {

/// The colour of a colour tag (0 red ... 6 grey); invalid for "no colour".
QColor tagColor(int tag, bool dark);
/// A filled dot for tags 0 to 6 centred in @p rect; nothing for other values.
void paintDot(QPainter* painter, const QRectF& rect, int tag, const QPalette& palette);
/// A closed padlock centred in @p rect.
void paintLock(QPainter* painter, const QRectF& rect, const QColor& color);
/// A folder outline centred in @p rect: the group watches a folder.
void paintFolder(QPainter* painter, const QRectF& rect, const QColor& color);
/// Width a badge showing @p text needs in @p font.
qreal badgeWidth(const QString& text, const QFont& font);
/// A count in a rounded pill at the right end of @p rect.
void paintBadge(QPainter* painter, const QRectF& rect, const QString& text, const QPalette& palette, bool selected);
/// Tag tokens from the left of @p rect, as many as fit, then "…".
void paintTokens(QPainter* painter, const QRectF& rect, const QStringList& tags, const QPalette& palette, bool selected);

} // namespace ListGlyphs
