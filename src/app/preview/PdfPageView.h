#pragma once

#include <QHash>
#include <QImage>
#include <QScrollArea>

class PdfRenderer;

/// Every page of a PDF one below the other, each rendered only when it
/// scrolls into view, at the screen's pixel ratio times the zoom, so that
/// text stays sharp at any zoom. Until its rendering arrives a page shows the
/// last rendering it had, scaled, or a blank sheet.
class PdfPageView : public QScrollArea
{
    Q_OBJECT

public:
    static constexpr double minimumZoom = 0.25;
    static constexpr double maximumZoom = 6.0;

    explicit PdfPageView(QWidget* parent = nullptr);
    ~PdfPageView() override;

    /// Shows the PDF at @p path from its first page.
    void open(const QString& path);
    int pageCount() const { return int(m_sizes.size()); }
    /// 1 shows a page at its size in points; fitWidth() picks the zoom that fills the width.
    double zoom() const { return m_zoom; }
    void setZoom(double zoom);
    void zoomIn();
    void zoomOut();
    void fitWidth();
    /// Pages rendered at the current zoom (tests, screens).
    int renderedPageCount() const;
    /// Whether the file could be read (false before open() has answered).
    bool isLoaded() const { return m_loaded; }

Q_SIGNALS:
    /// The file was read (@p pageCount 0: it could not be).
    void loaded(int pageCount);
    void pageRendered(int page);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    friend class PdfPageWidget;
    void onOpened(const QList<QSizeF>& sizes);
    void onRendered(int page, double pixelsPerPoint, const QImage& image);
    void layoutPages();
    /// Called by a page when it is painted: asks for its rendering once.
    void pageNeeded(int page);
    double pixelsPerPoint() const;

    PdfRenderer* m_renderer;
    QWidget* m_canvas;
    QList<QWidget*> m_pages;
    QList<QSizeF> m_sizes;
    QHash<int, QImage> m_images; ///< by page; may be of an older zoom
    QHash<int, double> m_imageScale;
    QHash<int, double> m_requested; ///< page -> the scale asked for
    double m_zoom = 1.0;
    bool m_fitWidth = true;
    bool m_loaded = false;
};
