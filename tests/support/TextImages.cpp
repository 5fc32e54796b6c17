#include "TextImages.h"

#include <QFont>
#include <QPainter>
#include <QTransform>

QImage renderedLines(const QStringList& lines, int pixelSize)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    const int lineHeight = pixelSize * 2;
    QImage image(pixelSize * 24, lineHeight * int(lines.size()) + 2 * pixelSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(11811);
    QPainter painter(&image);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(pixelSize, pixelSize + lineHeight * (i + 1) - pixelSize / 2, lines.at(i));
    return image;
}

QImage turnedClockwise(const QImage& image, int degrees)
{
    // In image coordinates (y down) a positive angle turns clockwise.
    return degrees % 360 == 0 ? image : image.transformed(QTransform().rotate(degrees));
}
