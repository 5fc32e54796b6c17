#include "app/preview/PdfRenderer.h"

#include <cmath>
#include <poppler-qt6.h>

/// Lives on the renderer's thread and owns its PDF document.
class PdfRenderer::Worker : public QObject
{
    Q_OBJECT

public:
    explicit Worker(std::shared_ptr<std::atomic<quint64>> generation)
        : m_generation(std::move(generation))
    {
    }

    void open(const QString& path, quint64 generation)
    {
        if (generation != m_generation->load())
            return;
        m_document.reset();
        QList<QSizeF> sizes;
        try {
            m_document = Poppler::Document::load(path);
        } catch (...) {
            m_document.reset();
        }
        if (m_document && !m_document->isLocked()) {
            m_document->setRenderHint(Poppler::Document::Antialiasing, true);
            m_document->setRenderHint(Poppler::Document::TextAntialiasing, true);
            for (int i = 0; i < m_document->numPages(); ++i) {
                const std::unique_ptr<Poppler::Page> page = m_document->page(i);
                sizes.append(page ? page->pageSizeF() : QSizeF(595, 842));
            }
        } else {
            m_document.reset();
        }
        Q_EMIT opened(sizes, generation);
    }

    void render(int page, double pixelsPerPoint, quint64 generation)
    {
        if (generation != m_generation->load() || !m_document || page < 0 || page >= m_document->numPages())
            return;
        const std::unique_ptr<Poppler::Page> pdfPage = m_document->page(page);
        if (!pdfPage)
            return;
        const double dpi = 72.0 * pixelsPerPoint;
        // A page larger than about 60 megapixels at this zoom is rendered smaller.
        const QSizeF points = pdfPage->pageSizeF();
        const double pixels = points.width() * points.height() * pixelsPerPoint * pixelsPerPoint;
        const double limit = 60.0e6;
        const double shrink = pixels > limit ? std::sqrt(limit / pixels) : 1.0;
        const QImage image = pdfPage->renderToImage(dpi * shrink, dpi * shrink);
        Q_EMIT rendered(page, pixelsPerPoint, image, generation);
    }

Q_SIGNALS:
    void opened(const QList<QSizeF>& pageSizes, quint64 generation);
    void rendered(int page, double pixelsPerPoint, const QImage& image, quint64 generation);

private:
    std::shared_ptr<std::atomic<quint64>> m_generation;
    std::unique_ptr<Poppler::Document> m_document;
};

PdfRenderer::PdfRenderer()
    : m_worker(nullptr)
    , m_generation(std::make_shared<std::atomic<quint64>>(0))
{
    m_worker = new Worker(m_generation);
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &Worker::opened, this, [this](const QList<QSizeF>& sizes, quint64 generation) {
        if (generation == m_generation->load())
            Q_EMIT opened(sizes, generation);
    });
    connect(m_worker, &Worker::rendered, this,
        [this](int page, double pixelsPerPoint, const QImage& image, quint64 generation) {
            if (generation == m_generation->load())
                Q_EMIT rendered(page, pixelsPerPoint, image, generation);
        });
    m_thread.setObjectName(QStringLiteral("PdfRenderer"));
    m_thread.start();
}

PdfRenderer::~PdfRenderer()
{
    // Nothing queued is wanted any more; the page being rendered is finished.
    ++*m_generation;
    m_thread.quit();
    m_thread.wait();
}

void PdfRenderer::open(const QString& path)
{
    const quint64 generation = ++*m_generation;
    QMetaObject::invokeMethod(
        m_worker, [worker = m_worker, path, generation] { worker->open(path, generation); }, Qt::QueuedConnection);
}

void PdfRenderer::render(int page, double pixelsPerPoint)
{
    const quint64 generation = m_generation->load();
    QMetaObject::invokeMethod(
        m_worker, [worker = m_worker, page, pixelsPerPoint, generation] { worker->render(page, pixelsPerPoint, generation); },
        Qt::QueuedConnection);
}

#include "PdfRenderer.moc"
