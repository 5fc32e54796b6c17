#pragma once

#include <QImage>

/// Finds how a scanned page is turned, from the shapes of its characters
/// (the recogniser's orientation and script detection with its "osd" data).
/// Text recognition asks only when a first pass read the page badly, because
/// detection costs about a quarter of a recognition pass on a full page.
class PageOrientation
{
public:
    /// How far the page in bitmap (8-bit grey) is turned clockwise: 0, 90, 180
    /// or 270; -1 when it cannot tell (too few characters, or no "osd" data).
    static int clockwiseTurn(const QImage& bitmap, int dotsPerInch);

    /// bitmap turned back by clockwiseTurn degrees, so that its text stands
    /// upright.
    static QImage upright(const QImage& bitmap, int clockwiseTurn);
};
