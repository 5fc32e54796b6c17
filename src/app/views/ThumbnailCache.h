#pragma once

#include "model/ModelPointers.h"

#include <QCache>
#include <QMutex>
#include <QObject>
#include <QPixmap>
#include <QSet>
#include <QThreadPool>
#include <memory>

/// The documents list's thumbnails: each record's stored preview image,
/// scaled to the list's size at the screen's pixel ratio.
///
/// A thumbnail is made only when a row is painted, on a worker thread, and
/// kept per record and pixel ratio; thumbnail() answers at once with what the
/// cache holds and announces thumbnailReady() when a missing one has been
/// made. The rows asked for last are made first, so fast scrolling through a
/// long list shows the rows in view without waiting for the ones passed by.
class ThumbnailCache : public QObject
{
    Q_OBJECT

public:
    /// Requests waiting beyond this many are dropped, oldest first.
    static constexpr int maximumQueued = 256;

    explicit ThumbnailCache(QObject* parent = nullptr);
    ~ThumbnailCache() override;

    /// Thumbnails are @p side points square.
    void setSide(int side);
    int side() const { return m_side; }
    /// Pixels per point of the screen the list is on.
    void setDevicePixelRatio(qreal ratio);
    qreal devicePixelRatio() const { return m_ratio; }

    /// The record's thumbnail, or a null pixmap while it is being made (or
    /// when the record has no preview image).
    QPixmap thumbnail(const DocumentPtr& document);
    /// True when the record's thumbnail is cached for the current size and ratio.
    bool contains(const QString& uniqueID) const;
    /// Waits until every requested thumbnail is made (tests, benchmarks).
    void waitForIdle();

Q_SIGNALS:
    void thumbnailReady(const QString& uniqueID, const void* document);

private:
    struct Request
    {
        QString key;
        QString uniqueID;
        const void* document = nullptr;
        QString imagePath;
        QSize pixels;
        qreal ratio = 1;
    };

    QString keyFor(const QString& uniqueID) const;
    void drain();
    void deliver(const Request& request, const QImage& image);

    QCache<QString, QPixmap> m_cache;
    QSet<QString> m_pending; ///< keys requested and not yet delivered (main thread)
    QMutex m_queueMutex;
    QList<Request> m_queue; ///< guarded by m_queueMutex; the newest request at the end
    bool m_draining = false; ///< guarded by m_queueMutex
    bool m_stopping = false; ///< guarded by m_queueMutex
    QThreadPool m_pool;
    int m_side = 32;
    qreal m_ratio = 1;
};
