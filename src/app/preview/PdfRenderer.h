#pragma once

#include <QImage>
#include <QList>
#include <QObject>
#include <QSizeF>
#include <QThread>
#include <atomic>
#include <memory>

namespace Poppler {
class Document;
}

/// Renders the pages of one PDF on a thread of its own. The PDF library's
/// document is not shared between threads, so the renderer opens its own and
/// keeps it for as long as it shows that file.
///
/// Requests are queued; a request made for an older file or zoom is skipped
/// when its turn comes, so scrolling and zooming never wait for pages that
/// are no longer wanted.
class PdfRenderer : public QObject
{
    Q_OBJECT

public:
    PdfRenderer();
    ~PdfRenderer() override;

    /// Opens @p path; opened() reports its pages' sizes in points (none when
    /// the file cannot be read). Earlier requests are dropped.
    void open(const QString& path);
    /// Renders @p page at @p pixelsPerPoint; rendered() delivers it.
    void render(int page, double pixelsPerPoint);

Q_SIGNALS:
    void opened(const QList<QSizeF>& pageSizes, quint64 generation);
    void rendered(int page, double pixelsPerPoint, const QImage& image, quint64 generation);

private:
    class Worker;

    QThread m_thread;
    Worker* m_worker;
    std::shared_ptr<std::atomic<quint64>> m_generation;
};
