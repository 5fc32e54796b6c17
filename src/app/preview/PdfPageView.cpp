#include "app/preview/PdfPageView.h"

#include "app/preview/PdfRenderer.h"

#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>
#include <QWheelEvent>
#include <cmath>

namespace {
constexpr int pageGap = 12;
constexpr int keptPages = 24;
} // namespace

/// One page: its size follows the zoom; painting it asks for its rendering.
class PdfPageWidget : public QWidget
{
public:
    PdfPageWidget(PdfPageView* view, int page, QWidget* parent)
        : QWidget(parent)
        , m_view(view)
        , m_page(page)
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), Qt::white);
        const QImage image = m_view->m_images.value(m_page);
        if (!image.isNull()) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(QRectF(rect()), image, QRectF(image.rect()));
        }
        painter.setPen(QColor(0, 0, 0, 60));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
        m_view->pageNeeded(m_page);
    }

private:
    PdfPageView* m_view;
    int m_page;
};

PdfPageView::PdfPageView(QWidget* parent)
    : QScrollArea(parent)
    , m_renderer(new PdfRenderer)
    , m_canvas(new QWidget)
{
    setObjectName(QStringLiteral("pdfPageView"));
    setWidget(m_canvas);
    setWidgetResizable(false);
    setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    setBackgroundRole(QPalette::Dark);
    connect(m_renderer, &PdfRenderer::opened, this, [this](const QList<QSizeF>& sizes, quint64) { onOpened(sizes); });
    connect(m_renderer, &PdfRenderer::rendered, this,
        [this](int page, double pixelsPerPoint, const QImage& image, quint64) { onRendered(page, pixelsPerPoint, image); });
}

PdfPageView::~PdfPageView()
{
    delete m_renderer;
}

void PdfPageView::open(const QString& path)
{
    qDeleteAll(m_pages);
    m_pages.clear();
    m_sizes.clear();
    m_images.clear();
    m_imageScale.clear();
    m_requested.clear();
    m_loaded = false;
    m_fitWidth = true;
    m_renderer->open(path);
}

void PdfPageView::onOpened(const QList<QSizeF>& sizes)
{
    m_sizes = sizes;
    m_loaded = !sizes.isEmpty();
    for (int i = 0; i < sizes.size(); ++i) {
        auto* page = new PdfPageWidget(this, i, m_canvas);
        page->show();
        m_pages.append(page);
    }
    if (m_fitWidth)
        fitWidth();
    else
        layoutPages();
    verticalScrollBar()->setValue(0);
    Q_EMIT loaded(int(sizes.size()));
}

double PdfPageView::pixelsPerPoint() const
{
    return m_zoom * devicePixelRatioF();
}

void PdfPageView::layoutPages()
{
    int y = pageGap;
    int width = 0;
    for (int i = 0; i < m_pages.size(); ++i) {
        const QSize size = (m_sizes.at(i) * m_zoom).toSize().expandedTo(QSize(1, 1));
        m_pages.at(i)->setGeometry(pageGap, y, size.width(), size.height());
        y += size.height() + pageGap;
        width = qMax(width, size.width());
    }
    m_canvas->resize(width + 2 * pageGap, y);
}

void PdfPageView::setZoom(double zoom)
{
    const double bounded = qBound(minimumZoom, zoom, maximumZoom);
    if (qFuzzyCompare(bounded, m_zoom) && !m_pages.isEmpty()) {
        layoutPages();
        return;
    }
    // Keep the point at the top of the view where it was.
    const double anchor = m_canvas->height() > 0 ? double(verticalScrollBar()->value()) / m_canvas->height() : 0;
    m_zoom = bounded;
    m_requested.clear();
    layoutPages();
    verticalScrollBar()->setValue(int(anchor * m_canvas->height()));
    m_canvas->update();
}

void PdfPageView::zoomIn()
{
    m_fitWidth = false;
    setZoom(m_zoom * 1.25);
}

void PdfPageView::zoomOut()
{
    m_fitWidth = false;
    setZoom(m_zoom / 1.25);
}

void PdfPageView::fitWidth()
{
    m_fitWidth = true;
    double widest = 0;
    for (const QSizeF& size : std::as_const(m_sizes))
        widest = qMax(widest, size.width());
    if (widest <= 0)
        return;
    const int available = viewport()->width() - 2 * pageGap;
    setZoom(qMax(1, available) / widest);
}

int PdfPageView::renderedPageCount() const
{
    int count = 0;
    for (auto it = m_imageScale.cbegin(); it != m_imageScale.cend(); ++it) {
        if (qFuzzyCompare(it.value(), pixelsPerPoint()))
            ++count;
    }
    return count;
}

void PdfPageView::pageNeeded(int page)
{
    const double scale = pixelsPerPoint();
    if (m_requested.contains(page) && qFuzzyCompare(m_requested.value(page), scale))
        return;
    if (m_imageScale.contains(page) && qFuzzyCompare(m_imageScale.value(page), scale))
        return;
    m_requested.insert(page, scale);
    m_renderer->render(page, scale);
}

void PdfPageView::onRendered(int page, double pixelsPerPoint, const QImage& image)
{
    if (page < 0 || page >= m_pages.size() || image.isNull())
        return;
    m_images.insert(page, image);
    m_imageScale.insert(page, pixelsPerPoint);
    // Long documents keep only the pages around the one just shown.
    while (m_images.size() > keptPages) {
        int farthest = page;
        for (auto it = m_images.cbegin(); it != m_images.cend(); ++it) {
            if (std::abs(it.key() - page) > std::abs(farthest - page))
                farthest = it.key();
        }
        m_images.remove(farthest);
        m_imageScale.remove(farthest);
        m_requested.remove(farthest);
    }
    m_pages.at(page)->update();
    Q_EMIT pageRendered(page);
}

void PdfPageView::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    if (m_fitWidth)
        fitWidth();
}

void PdfPageView::wheelEvent(QWheelEvent* event)
{
    if (event->modifiers() & Qt::ControlModifier) {
        if (event->angleDelta().y() > 0)
            zoomIn();
        else if (event->angleDelta().y() < 0)
            zoomOut();
        event->accept();
        return;
    }
    QScrollArea::wheelEvent(event);
}
