#include "intake/PdfPages.h"

#include "intake/ImageLoader.h"
#include "text/Logging.h"

#include <QPainter>
#include <cmath>
#include <functional>
#include <memory>
#include <poppler-qt6.h>

namespace {

/// Damaged files make the PDF library talk a lot; that goes to the debug level
/// of the system log instead of stderr.
void routePdfMessages()
{
    static const bool routed = [] {
        Poppler::setDebugErrorFunction(
            [](const QString& message, const QVariant&) { qCDebug(lcQuillarc, "PDF: %s", qPrintable(message)); },
            QVariant());
        return true;
    }();
    Q_UNUSED(routed);
}

std::unique_ptr<Poppler::Document> openDocument(const QString& path)
{
    routePdfMessages();
    std::unique_ptr<Poppler::Document> document;
    try {
        document = Poppler::Document::load(path);
    } catch (...) {
        return nullptr;
    }
    if (!document || document->isLocked() || document->numPages() <= 0)
        return nullptr;
    document->setRenderHint(Poppler::Document::Antialiasing, true);
    document->setRenderHint(Poppler::Document::TextAntialiasing, true);
    return document;
}

/// Renders the first page with dpi chosen from its size in points.
QImage renderFirst(const QString& path, const std::function<double(const QSizeF&)>& dpiForPoints)
{
    const std::unique_ptr<Poppler::Document> document = openDocument(path);
    if (!document)
        return {};
    const std::unique_ptr<Poppler::Page> page(document->page(0));
    if (!page)
        return {};
    const QSizeF points = page->pageSizeF();
    if (!(points.width() > 0) || !(points.height() > 0))
        return {};
    double dpi = dpiForPoints(points);
    // Bound the bitmap however large the page claims to be.
    const double pixels = points.width() * points.height() * (dpi / 72.0) * (dpi / 72.0);
    if (pixels > double(ImageLoader::kMaxPixels))
        dpi *= std::sqrt(double(ImageLoader::kMaxPixels) / pixels);
    QImage image = page->renderToImage(dpi, dpi);
    if (image.isNull())
        return {};
    // Pages without a painted background are transparent; paper is white.
    if (image.hasAlphaChannel()) {
        QImage paper(image.size(), QImage::Format_RGB32);
        paper.fill(Qt::white);
        QPainter painter(&paper);
        painter.drawImage(0, 0, image);
        painter.end();
        image = paper;
    }
    const int dotsPerMeter = int(std::lround(dpi / 0.0254));
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
    return image;
}

} // namespace

bool PdfPages::text(const QString& path, QString* text)
{
    const std::unique_ptr<Poppler::Document> document = openDocument(path);
    if (!document)
        return false;
    QStringList pages;
    for (int index = 0; index < document->numPages(); ++index) {
        const std::unique_ptr<Poppler::Page> page(document->page(index));
        pages.append(page ? page->text(QRectF()) : QString());
    }
    *text = pages.join(QLatin1Char('\n'));
    return true;
}

QImage PdfPages::renderFirstPage(const QString& path)
{
    return renderFirst(path, [](const QSizeF&) { return 72.0; });
}

QImage PdfPages::firstPageFitting(const QString& path, const QSize& bounds)
{
    return renderFirst(path, [&bounds](const QSizeF& points) {
        return 72.0 * qMin(bounds.width() / points.width(), bounds.height() / points.height());
    });
}
