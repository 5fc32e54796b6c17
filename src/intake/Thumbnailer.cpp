#include "intake/Thumbnailer.h"

#include "intake/ImageLoader.h"
#include "intake/PdfPages.h"

#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QFontMetricsF>
#include <QMimeDatabase>
#include <QPainter>
#include <QStringDecoder>

namespace {

/// How much of a text file is read for its thumbnail.
constexpr qint64 kTextBytes = 4096;

bool isTextLike(const QMimeType& mime)
{
    return mime.inherits(QStringLiteral("text/plain"));
}

bool isImageLike(const QString& path, const QMimeType& mime)
{
    return ImageLoader::isHeif(path) || mime.name().startsWith(QLatin1String("image/"));
}

/// Centres picture on a transparent side x side square; documents get a thin
/// frame so white pages stay visible on a white list.
QImage centred(const QImage& picture, int side, bool framed)
{
    QImage canvas(side, side, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    const QSize size = picture.size().scaled(side - 2, side - 2, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    const QRect target(QPoint((side - size.width()) / 2, (side - size.height()) / 2), size);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, picture);
    if (framed) {
        painter.setPen(QColor(0, 0, 0, 64));
        painter.drawRect(target.adjusted(0, 0, -1, -1));
    }
    return canvas;
}

QImage textPage(const QString& path, int side)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray head = file.read(kTextBytes);
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder.decode(head);
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));

    // An A4-shaped sheet, lines in a small fixed-pitch face as a file browser shows them.
    const QSize sheet(qRound(side * 210.0 / 297.0), side);
    QImage page(sheet, QImage::Format_ARGB32_Premultiplied);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(qMax(4, side / 36));
    painter.setFont(font);
    painter.setPen(QColor(40, 40, 40));
    const QFontMetricsF metrics(font);
    const double margin = side / 16.0;
    double y = margin + metrics.ascent();
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (y > sheet.height() - margin)
            break;
        painter.drawText(QPointF(margin, y), metrics.elidedText(line, Qt::ElideRight, sheet.width() - 2 * margin));
        y += metrics.lineSpacing();
    }
    painter.end();
    return page;
}

} // namespace

QImage Thumbnailer::thumbnail(const QString& path, int side)
{
    const QFileInfo info(path);
    if (!info.isFile() || side <= 0)
        return {};
    const QMimeType mime = QMimeDatabase().mimeTypeForFile(info);
    const QSize bounds(side, side);
    if (mime.inherits(QStringLiteral("application/pdf"))) {
        const QImage page = PdfPages::firstPageFitting(path, bounds);
        return page.isNull() ? QImage() : centred(page, side, true);
    }
    if (isImageLike(path, mime)) {
        const QImage picture = ImageLoader::loadFitting(path, bounds);
        return picture.isNull() ? QImage() : centred(picture, side, false);
    }
    if (isTextLike(mime)) {
        const QImage page = textPage(path, side);
        return page.isNull() ? QImage() : centred(page, side, true);
    }
    return {};
}
