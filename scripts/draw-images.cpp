// Draws the application's bundled images into resources/images/.
//
// Build and run from the repository root:
//   g++ -std=c++20 -fPIC scripts/draw-images.cpp -o /tmp/draw-images $(pkg-config --cflags --libs Qt6Gui)
//   QT_QPA_PLATFORM=offscreen /tmp/draw-images resources/images
#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QString>
#include <cstdio>

namespace {

QImage canvas(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// A sheet of paper with a folded top-right corner, inside a 256 x 256 square.
QPainterPath sheetPath()
{
    QPainterPath path;
    path.moveTo(52, 16);
    path.lineTo(164, 16);
    path.lineTo(212, 64);
    path.lineTo(212, 240);
    path.lineTo(52, 240);
    path.closeSubpath();
    return path;
}

void drawSheet(QPainter& p, const QColor& paper, const QColor& edge)
{
    p.setPen(QPen(edge, 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(paper);
    p.drawPath(sheetPath());
    QPainterPath fold;
    fold.moveTo(164, 16);
    fold.lineTo(164, 64);
    fold.lineTo(212, 64);
    fold.closeSubpath();
    p.setBrush(edge.lighter(150));
    p.drawPath(fold);
}

QImage genericDocument()
{
    QImage image = canvas(256);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSheet(p, QColor(250, 250, 250), QColor(140, 146, 156));
    p.setPen(QPen(QColor(190, 196, 204), 6, Qt::SolidLine, Qt::RoundCap));
    for (int y = 96; y <= 208; y += 22)
        p.drawLine(76, y, y == 208 ? 148 : 188, y);
    return image;
}

QImage errorImage()
{
    QImage image = canvas(256);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSheet(p, QColor(250, 250, 250), QColor(140, 146, 156));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(214, 48, 49));
    p.drawEllipse(QPointF(132, 148), 56, 56);
    p.setBrush(Qt::white);
    p.drawRoundedRect(QRectF(124, 110, 16, 50), 7, 7);
    p.drawEllipse(QPointF(132, 180), 9, 9);
    return image;
}

/// A black-on-transparent template glyph: a sheet with a paper clip.
QImage attachmentTemplate()
{
    QImage image = canvas(256);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSheet(p, QColor(0, 0, 0, 40), QColor(0, 0, 0, 220));
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(0, 0, 0, 230), 9, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    QPainterPath clip;
    clip.moveTo(112, 150);
    clip.lineTo(112, 60);
    clip.arcTo(QRectF(112, 36, 48, 48), 180, -180);
    clip.lineTo(160, 170);
    clip.arcTo(QRectF(88, 134, 72, 72), 0, -180);
    clip.lineTo(88, 96);
    p.drawPath(clip);
    return image;
}

QImage dot(const QColor& fill)
{
    QImage image = canvas(32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    if (fill.isValid()) {
        p.setPen(QPen(fill.darker(125), 1.5));
        p.setBrush(fill);
    } else {
        p.setPen(QPen(QColor(150, 150, 150), 2));
        p.setBrush(Qt::NoBrush);
    }
    p.drawEllipse(QRectF(4, 4, 24, 24));
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("resources/images");
    const struct
    {
        const char* name;
        QImage image;
    } images[] = {
        { "Error", errorImage() },
        { "attachment_table_Template", attachmentTemplate() },
        { "genericDocument", genericDocument() },
        { "redDot", dot(QColor(235, 77, 75)) },
        { "orangeDot", dot(QColor(247, 150, 54)) },
        { "yellowDot", dot(QColor(246, 205, 58)) },
        { "greenDot", dot(QColor(88, 190, 90)) },
        { "blueDot", dot(QColor(64, 138, 230)) },
        { "purpleDot", dot(QColor(164, 98, 212)) },
        { "grayDot", dot(QColor(152, 152, 158)) },
        { "noDot", dot(QColor()) },
    };
    int failures = 0;
    for (const auto& entry : images) {
        const QString path = folder + QLatin1Char('/') + QString::fromLatin1(entry.name) + QStringLiteral(".png");
        if (!entry.image.save(path, "PNG")) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
            ++failures;
        }
    }
    return failures ? 1 : 0;
}
