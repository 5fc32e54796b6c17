#include "app/views/ThumbnailCache.h"

#include "model/QuillarcDocument.h"
#include "store/ArchivedFile.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QImageReader>
#include <QMetaObject>
#include <QPainter>
#include <cmath>

namespace {
/// The preview scaled to fit pixels, centred on a transparent square.
QImage render(const QString& path, const QSize& pixels)
{
    QImageReader reader(path);
    const QSize source = reader.size();
    if (!source.isValid())
        return {};
    const QSize scaled = source.scaled(pixels, Qt::KeepAspectRatio);
    reader.setScaledSize(scaled);
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    QImage canvas(pixels, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.drawImage(QPoint((pixels.width() - image.width()) / 2, (pixels.height() - image.height()) / 2), image);
    return canvas;
}
} // namespace

ThumbnailCache::ThumbnailCache(QObject* parent)
    : QObject(parent)
{
    // Bytes of pixels kept: about 2,000 thumbnails of 32 points at ratio 2.
    m_cache.setMaxCost(32 * 1024 * 1024);
    m_pool.setMaxThreadCount(1);
}

ThumbnailCache::~ThumbnailCache()
{
    {
        QMutexLocker locker(&m_queueMutex);
        m_stopping = true;
        m_queue.clear();
    }
    m_pool.waitForDone();
}

void ThumbnailCache::setSide(int side)
{
    m_side = qMax(1, side);
}

void ThumbnailCache::setDevicePixelRatio(qreal ratio)
{
    m_ratio = qBound(1.0, ratio, 4.0);
}

QString ThumbnailCache::keyFor(const QString& uniqueID) const
{
    return QStringLiteral("%1@%2x%3").arg(uniqueID).arg(m_side).arg(m_ratio);
}

bool ThumbnailCache::contains(const QString& uniqueID) const
{
    return m_cache.contains(keyFor(uniqueID));
}

QPixmap ThumbnailCache::thumbnail(const DocumentPtr& document)
{
    if (!document)
        return {};
    const QString key = keyFor(document->uniqueID());
    if (const QPixmap* cached = m_cache.object(key))
        return *cached;
    if (m_pending.contains(key))
        return {};
    m_pending.insert(key);
    const int pixels = int(std::lround(m_side * m_ratio));
    Request request { key, document->uniqueID(), document.get(), ArchivedFile::imageURL(*document),
        QSize(pixels, pixels), m_ratio };
    QMutexLocker locker(&m_queueMutex);
    m_queue.append(request);
    while (m_queue.size() > maximumQueued)
        m_pending.remove(m_queue.takeFirst().key);
    if (!m_draining) {
        m_draining = true;
        m_pool.start([this] { drain(); });
    }
    return {};
}

void ThumbnailCache::drain()
{
    for (;;) {
        Request request;
        {
            QMutexLocker locker(&m_queueMutex);
            if (m_stopping || m_queue.isEmpty()) {
                m_draining = false;
                return;
            }
            request = m_queue.takeLast();
        }
        const QImage image = request.imagePath.isEmpty() ? QImage() : render(request.imagePath, request.pixels);
        QMetaObject::invokeMethod(
            this, [this, request, image] { deliver(request, image); }, Qt::QueuedConnection);
    }
}

void ThumbnailCache::deliver(const Request& request, const QImage& image)
{
    m_pending.remove(request.key);
    auto* pixmap = new QPixmap(QPixmap::fromImage(image));
    pixmap->setDevicePixelRatio(request.ratio);
    // A record without a preview is remembered as such, so it is not asked again.
    m_cache.insert(request.key, pixmap, qMax<qsizetype>(1, qsizetype(image.sizeInBytes())));
    Q_EMIT thumbnailReady(request.uniqueID, request.document);
}

void ThumbnailCache::waitForIdle()
{
    m_pool.waitForDone();
    QCoreApplication::sendPostedEvents(this);
}
