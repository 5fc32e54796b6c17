#include "report/PrinterDocument.h"

#include "report/PrinterProgress.h"
#include "report/PrinterView.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QThread>

namespace {

/// Runs a call on the progress object's thread, waiting for it, unless that is this thread.
template<typename Function> void onProgressThread(PrinterProgress* progress, Function function)
{
    if (progress->thread() == QThread::currentThread())
        function();
    else
        QMetaObject::invokeMethod(progress, function, Qt::BlockingQueuedConnection);
}

} // namespace

PrinterDocument::PrinterDocument(const PrinterItemList& items, int paperSize)
    : m_printerItems(items)
    , m_pageSize(pageSizeForPaperSize(paperSize))
{
}

PrinterDocument::~PrinterDocument() = default;

QSizeF PrinterDocument::pageSizeForPaperSize(int paperSize)
{
    return paperSize != 0 ? QSizeF(612, 792) : QSizeF(595, 842);
}

void PrinterDocument::setHeaderView(std::unique_ptr<PrinterView> view)
{
    m_headerView = std::move(view);
}

void PrinterDocument::setFooterView(std::unique_ptr<PrinterView> view)
{
    m_footerView = std::move(view);
}

void PrinterDocument::layout()
{
    if (m_layouted)
        return;
    build();
    paginate();
    m_layouted = true;
}

void PrinterDocument::build()
{
    PrinterItemList remaining = m_printerItems;
    qsizetype next = 0;
    while (next < remaining.size()) {
        auto page = std::make_unique<PrinterPage>(m_pageSize);
        page->setTopMargin(m_topMargin);
        page->setBottomMargin(m_bottomMargin);
        next = page->fillWithItems(remaining, next, *this);
        m_pages.push_back(std::move(page));
    }
}

void PrinterDocument::paginate()
{
    const QString pageCount = QString::number(qlonglong(m_pages.size()));
    for (size_t i = 0; i < m_pages.size(); ++i) {
        QVariantHash variables;
        variables.insert(QStringLiteral("pageCount"), pageCount);
        variables.insert(QStringLiteral("pageNumber"), QString::number(qlonglong(i + 1)));
        m_pages[i]->substituteVariables(variables);
    }
}

void PrinterDocument::substituteVariables(const QVariantHash& variables)
{
    layout();
    for (const std::unique_ptr<PrinterPage>& page : m_pages)
        page->substituteVariables(variables);
}

QByteArray PrinterDocument::plainPDFDocument()
{
    layout();
    return writePDF(nullptr);
}

QByteArray PrinterDocument::pdfDocument()
{
    return pdfDocumentWithProgress(nullptr);
}

QByteArray PrinterDocument::pdfDocumentWithProgress(PrinterProgress* progress)
{
    m_progress = progress;
    layout();
    return writePDF(progress);
}

void PrinterDocument::setUpWriter(QPdfWriter& writer, const QSizeF& pageSize)
{
    writer.setResolution(72);
    writer.setCreator(QStringLiteral("Quillarc"));
    writer.setPageLayout(QPageLayout(QPageSize(pageSize, QPageSize::Point, QString(), QPageSize::ExactMatch),
        QPageLayout::Portrait, QMarginsF(0, 0, 0, 0), QPageLayout::Point));
}

QByteArray PrinterDocument::writePDF(PrinterProgress* progress)
{
    if (m_pages.empty())
        return emptyPDF();
    double value = 0;
    if (progress)
        onProgressThread(progress, [&] { value = progress->progress(); });
    const double step = (1.0 - value) / double(m_pages.size());

    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    setUpWriter(writer, m_pageSize);
    QPainter painter(&writer);
    for (size_t i = 0; i < m_pages.size(); ++i) {
        if (i > 0)
            writer.newPage();
        m_pages[i]->draw(&painter);
        // Layouts are rebuilt on demand; dropping them keeps memory flat on long reports.
        m_pages[i]->view()->releaseCaches();
        if (progress) {
            value = i + 1 == m_pages.size() ? 1.0 : value + step;
            onProgressThread(progress, [progress, value] { progress->setProgress(value); });
        }
    }
    painter.end();
    return data;
}

QByteArray PrinterDocument::emptyPDF()
{
    // A valid PDF without pages, which a painter-based writer cannot produce.
    QByteArray pdf("%PDF-1.4\n");
    QList<qsizetype> offsets;
    offsets.append(pdf.size());
    pdf += "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
    offsets.append(pdf.size());
    pdf += "2 0 obj\n<< /Type /Pages /Kids [] /Count 0 >>\nendobj\n";
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 3\n0000000000 65535 f \n";
    for (qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size 3 /Root 1 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

void PrinterDocument::pdfDocumentInBackground(std::shared_ptr<PrinterDocument> document, PrinterProgress* progress,
    QObject* context, std::function<void(const QByteArray&)> done)
{
    QPointer<QObject> receiver(context);
    QPointer<PrinterProgress> display(progress);
    QThread* thread = QThread::create([document, display, receiver, done] {
        const QByteArray pdf = document->pdfDocumentWithProgress(display.data());
        if (receiver)
            QMetaObject::invokeMethod(
                receiver.data(), [document, done, pdf] { done(pdf); }, Qt::QueuedConnection);
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}
