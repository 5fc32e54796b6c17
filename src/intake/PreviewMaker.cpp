#include "intake/PreviewMaker.h"

#include "intake/Thumbnailer.h"

#include <QBuffer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QImageWriter>
#include <QMimeDatabase>
#include <QPainter>
#include <QMutex>
#include <QScreen>
#include <QThread>
#include <QWaitCondition>
#include <cmath>
#include <memory>

namespace {

int sidePixels()
{
    return int(std::lround(PreviewMaker::kSide * PreviewMaker::scaleFactor()));
}

QImage fitted(const QImage& image, int side)
{
    QImage canvas(side, side, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    if (image.isNull())
        return canvas;
    const QSize size = image.size().scaled(side, side, Qt::KeepAspectRatio);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(QPoint((side - size.width()) / 2, (side - size.height()) / 2), size), image);
    return canvas;
}

bool hasGuiApplication()
{
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
}

/// The icon theme's image for the file's type, or a null image. Theme icons
/// are pixmaps and the theme's caches are not shared between threads: call
/// this on the application's thread only.
QImage themedIcon(const QString& path, int side)
{
    const QMimeType mime = QMimeDatabase().mimeTypeForFile(path);
    const QIcon icon = QIcon::fromTheme(mime.iconName(), QIcon::fromTheme(mime.genericIconName()));
    return icon.isNull() ? QImage() : icon.pixmap(QSize(side, side), 1.0).toImage();
}

/// One icon asked of the application's thread by a worker thread.
struct IconRequest
{
    QMutex mutex;
    QWaitCondition answered;
    bool done = false;
    QImage image;
};

/// themedIcon() from any thread. A worker hands the call to the application's
/// thread and waits; it gives up (null image, so the generic icon) when it is
/// asked to stop, when the application is closing, or after two seconds, so
/// that a main thread waiting for the worker never waits for itself.
QImage themedIconFromAnyThread(const QString& path, int side)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (QThread::currentThread() == app->thread())
        return themedIcon(path, side);
    auto request = std::make_shared<IconRequest>();
    QMetaObject::invokeMethod(
        app,
        [request, path, side] {
            const QImage image = themedIcon(path, side);
            QMutexLocker locker(&request->mutex);
            request->image = image;
            request->done = true;
            request->answered.wakeAll();
        },
        Qt::QueuedConnection);
    QMutexLocker locker(&request->mutex);
    for (int waited = 0; !request->done; waited += 50) {
        if (request->answered.wait(&request->mutex, 50))
            continue;
        if (waited >= 2000 || QThread::currentThread()->isInterruptionRequested() || QCoreApplication::closingDown())
            return QImage();
    }
    return request->image;
}

} // namespace

qreal PreviewMaker::scaleFactor()
{
    if (!hasGuiApplication())
        return 1;
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? qBound(1.0, screen->devicePixelRatio(), 4.0) : 1.0;
}

QImage PreviewMaker::bundledImage(const QString& name, int side)
{
    return fitted(QImage(QStringLiteral(":/images/%1.png").arg(name)), side);
}

QImage PreviewMaker::fileIcon(const QString& path, int side)
{
    const QImage generic = bundledImage(QStringLiteral("genericDocument"), side);
    // Theme icons are pixmaps, which exist only in a GUI application.
    if (!hasGuiApplication())
        return generic;
    const QImage themed = themedIconFromAnyThread(path, side);
    return themed.isNull() ? generic : fitted(themed, side);
}

QByteArray PreviewMaker::encode(const QImage& image, const char* format)
{
    QImage source = image;
    if (qstricmp(format, "jpg") == 0 || qstricmp(format, "jpeg") == 0) {
        source = QImage(image.size(), QImage::Format_RGB32);
        source.fill(Qt::white);
        QPainter painter(&source);
        painter.drawImage(0, 0, image);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(50);
    writer.setProgressiveScanWrite(true);
    if (!writer.write(source))
        return {};
    return bytes;
}

QByteArray PreviewMaker::quickLookFromURL(const QString& path)
{
    const int side = sidePixels();
    if (!QFileInfo::exists(path))
        return encode(bundledImage(QStringLiteral("Error"), side), "jpeg");
    const QImage thumbnail = Thumbnailer::thumbnail(path, side);
    if (!thumbnail.isNull()) {
        const QByteArray png = encode(thumbnail, "png");
        return !png.isEmpty() ? png : encode(bundledImage(QStringLiteral("attachment_table_Template"), side), "png");
    }
    return encode(fileIcon(path, side), "png");
}

QByteArray PreviewMaker::fileIconFromURL(const QString& path)
{
    const int side = sidePixels();
    if (!QFileInfo::exists(path))
        return encode(bundledImage(QStringLiteral("Error"), side), "jpeg");
    return encode(fileIcon(path, side), "png");
}
