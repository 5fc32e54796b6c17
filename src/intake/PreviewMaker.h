#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

/// The two images every archived file carries: its preview ("quickLook") and
/// its icon ("fileIcon"), both 256 x 256 points, encoded as image files.
class PreviewMaker
{
public:
    /// Points along each side of the preview and the icon.
    static constexpr int kSide = 256;

    /// PNG bytes of the file's thumbnail; the file's icon when it has none; the
    /// "Error" image as JPEG when no file exists at path.
    static QByteArray quickLookFromURL(const QString& path);

    /// PNG bytes of the icon of the file's type; the "Error" image as JPEG when
    /// no file exists at path.
    static QByteArray fileIconFromURL(const QString& path);

    /// The icon of the file's type at side x side pixels: the icon theme's icon
    /// for its MIME type, else the bundled generic document. Safe on worker
    /// threads: the theme is asked on the application's thread.
    static QImage fileIcon(const QString& path, int side);

    /// A bundled image by name (":/images/NAME.png"), at side x side pixels.
    static QImage bundledImage(const QString& name, int side);

    /// Encodes with compression factor 0.5 and progressive scan; JPEG has no
    /// transparency, so transparent areas are put on white first.
    static QByteArray encode(const QImage& image, const char* format);

    /// Pixels per point of the main screen (1 without a screen).
    static qreal scaleFactor();
};
