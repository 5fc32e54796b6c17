#include "intake/ImageLoader.h"

#include "text/Logging.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <libheif/heif.h>
#include <memory>

namespace {

bool sizeAllowed(const QSize& size)
{
    return size.width() > 0 && size.height() > 0
        && qint64(size.width()) * qint64(size.height()) <= ImageLoader::kMaxPixels;
}

struct HeifContextDeleter
{
    void operator()(heif_context* context) const { heif_context_free(context); }
};
struct HeifHandleDeleter
{
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
struct HeifImageDeleter
{
    void operator()(heif_image* image) const { heif_image_release(image); }
};

QImage loadHeif(const QString& path)
{
    std::unique_ptr<heif_context, HeifContextDeleter> context(heif_context_alloc());
    if (!context)
        return {};
    const QByteArray name = QFile::encodeName(path);
    if (heif_context_read_from_file(context.get(), name.constData(), nullptr).code != heif_error_Ok)
        return {};
    heif_image_handle* rawHandle = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok)
        return {};
    std::unique_ptr<heif_image_handle, HeifHandleDeleter> handle(rawHandle);
    const QSize size(heif_image_handle_get_width(handle.get()), heif_image_handle_get_height(handle.get()));
    if (!sizeAllowed(size))
        return {};
    heif_image* rawImage = nullptr;
    if (heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr).code
        != heif_error_Ok)
        return {};
    std::unique_ptr<heif_image, HeifImageDeleter> image(rawImage);
    int stride = 0;
    const uint8_t* pixels = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    if (!pixels || width <= 0 || height <= 0)
        return {};
    // copy() detaches the pixels from the libheif buffer released below.
    return QImage(pixels, width, height, stride, QImage::Format_RGBA8888).copy();
}

QImage read(const QString& path, const QSize& bounds)
{
    if (ImageLoader::isHeif(path)) {
        const QImage image = loadHeif(path);
        if (image.isNull() || !bounds.isValid())
            return image;
        return image.scaled(bounds, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    // Formats that cannot tell their size up front are decoded under Qt's own
    // allocation limit, set by the caller of load().
    if (size.isValid() && !sizeAllowed(size)) {
        qCWarning(lcQuillarc, "%s",
            qPrintable(QStringLiteral("SKIP IMAGE %1: %2 x %3 pixels")
                           .arg(QFileInfo(path).fileName())
                           .arg(size.width())
                           .arg(size.height())));
        return {};
    }
    if (bounds.isValid() && size.isValid())
        reader.setScaledSize(size.scaled(bounds, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    QImage image = reader.read();
    if (!image.isNull() && bounds.isValid() && (image.width() > bounds.width() || image.height() > bounds.height()))
        image = image.scaled(bounds, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

/// Qt refuses to allocate more than this many MiB for one decoded image.
constexpr int kAllocationLimitMiB = int(ImageLoader::kMaxPixels * 4 / (1024 * 1024)) + 1;

} // namespace

bool ImageLoader::isHeif(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == QLatin1String("heic") || suffix == QLatin1String("heif");
}

QImage ImageLoader::load(const QString& path)
{
    return loadFitting(path, QSize());
}

QImage ImageLoader::loadFitting(const QString& path, const QSize& bounds)
{
    if (QImageReader::allocationLimit() != kAllocationLimitMiB)
        QImageReader::setAllocationLimit(kAllocationLimitMiB);
    try {
        return read(path, bounds);
    } catch (...) {
        // A decoder that runs out of memory must not take the intake down.
        return {};
    }
}
