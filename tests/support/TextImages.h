#pragma once

#include <QImage>
#include <QStringList>

/// Black lines of text in DejaVu Sans on white, as a clean 300 dpi scan would
/// show them: lines are pixelSize * 2 apart, the page is pixelSize * 24 wide.
QImage renderedLines(const QStringList& lines, int pixelSize = 80);

/// image turned clockwise by degrees (a multiple of 90), as a page fed into a
/// scanner sideways or upside down comes out.
QImage turnedClockwise(const QImage& image, int degrees);
