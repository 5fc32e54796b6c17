#pragma once

#include <QImage>
#include <QSize>
#include <QString>

/// Loads image files for recognition and thumbnails without trusting their
/// headers: the claimed size is checked before any pixel is decoded, so a
/// small file that claims 100,000 by 100,000 pixels costs nothing.
class ImageLoader
{
public:
    /// Largest image decoded, in pixels (a 600 dpi A3 scan is about 70 million).
    static constexpr qint64 kMaxPixels = 120'000'000;

    /// The image at path at its natural size; a null image when it cannot be
    /// read or is too large. HEIC/HEIF files are decoded with libheif.
    static QImage load(const QString& path);

    /// The image scaled to fit into bounds (aspect kept), decoded at reduced
    /// size where the format allows; a null image on failure.
    static QImage loadFitting(const QString& path, const QSize& bounds);

    /// True for the file names whose images are HEIF containers.
    static bool isHeif(const QString& path);
};
