#pragma once

#include <QImage>
#include <QString>

/// Makes the thumbnail of a file the way a file browser shows it: the first
/// page of a PDF, the picture of an image (HEIC included), the first lines of
/// a text file drawn on a page. Everything else has no thumbnail.
class Thumbnailer
{
public:
    /// A side x side image with the thumbnail centred on a transparent square,
    /// or a null image when the file has no thumbnail.
    static QImage thumbnail(const QString& path, int side);
};
