#pragma once

#include "report/PrinterItem.h"
#include "report/PrinterPage.h"
#include "report/PrinterProgress.h"
#include "report/Subsitute.h"

#include <QByteArray>
#include <QPointer>
#include <QSizeF>
#include <functional>
#include <memory>
#include <vector>

class PrinterView;
class QIODevice;
class QObject;
class QPdfWriter;

/// A whole report: lays a flat list of items out on pages of a fixed size,
/// with a copy of the header and footer on every page and the page variables
/// "<pageNumber/>" and "<pageCount/>" filled in, and writes it as a PDF with
/// one PDF page per page. Text stays real text with its fonts embedded.
///
/// A report is built once and used once: layout consumes the items'
/// page-break flags.
class PrinterDocument : public Subsitute
{
public:
    /// Paper size 0 is A4 (595 x 842 points), anything else US Letter (612 x 792).
    PrinterDocument(const PrinterItemList& items, int paperSize);
    ~PrinterDocument() override;

    static QSizeF pageSizeForPaperSize(int paperSize);

    const PrinterItemList& printerItems() const { return m_printerItems; }
    const std::vector<std::unique_ptr<PrinterPage>>& pages() const { return m_pages; }
    QSizeF pageSize() const { return m_pageSize; }

    /// Where the first item of every page starts.
    double topMargin() const { return m_topMargin; }
    void setTopMargin(double margin) { m_topMargin = margin; }
    /// Items must end above this distance from the bottom edge.
    double bottomMargin() const { return m_bottomMargin; }
    void setBottomMargin(double margin) { m_bottomMargin = margin; }

    /// Template copied onto every page at its own frame; may be null.
    const PrinterView* headerView() const { return m_headerView.get(); }
    void setHeaderView(std::unique_ptr<PrinterView> view);
    /// Template copied onto every page and moved to its bottom edge; may be null.
    const PrinterView* footerView() const { return m_footerView.get(); }
    void setFooterView(std::unique_ptr<PrinterView> view);

    bool isLayouted() const { return m_layouted; }
    /// Builds and paginates the pages, once.
    void layout();
    /// Fills pages with the items until none is left (no items, no pages).
    void build();
    /// Fills in "pageNumber" and "pageCount" on every page.
    void paginate();

    /// Lays the report out if needed, then passes the variables to every page.
    void substituteVariables(const QVariantHash& variables) override;

    /// The finished PDF of all pages, built on the calling thread.
    QByteArray plainPDFDocument();
    /// The same as pdfDocumentWithProgress() without a progress display.
    QByteArray pdfDocument();
    /// The finished PDF, raising the display's value from where it stands to 1
    /// in equal steps per page. Meant for a background thread: the display is
    /// read and written on its own (main) thread, waiting for each update.
    QByteArray pdfDocumentWithProgress(PrinterProgress* progress);
    PrinterProgress* progress() const { return m_progress; }

    /// Writes the PDF on a new background thread and hands it to `done` on the
    /// thread of `context` (normally the main thread), unless `context` is gone
    /// by then. The report must not be touched until `done` runs, the progress object must
    /// outlive the run, and the main thread must keep its event loop turning (each update waits for it).
    static void pdfDocumentInBackground(std::shared_ptr<PrinterDocument> document, PrinterProgress* progress,
        QObject* context, std::function<void(const QByteArray&)> done);

    /// Sets a writer up for pages of the given size in points: 72 dpi, no margins.
    static void setUpWriter(QPdfWriter& writer, const QSizeF& pageSize);

private:
    QByteArray writePDF(PrinterProgress* progress);
    static QByteArray emptyPDF();

    PrinterItemList m_printerItems;
    std::vector<std::unique_ptr<PrinterPage>> m_pages;
    QSizeF m_pageSize;
    double m_topMargin = 0;
    double m_bottomMargin = 0;
    std::unique_ptr<PrinterView> m_headerView;
    std::unique_ptr<PrinterView> m_footerView;
    bool m_layouted = false;
    QPointer<PrinterProgress> m_progress;
};
