#include "output/ExportSummary.h"

#include "model/QuillarcDocument.h"
#include "output/ReportStyle.h"
#include "report/PrinterFont.h"
#include "report/PrinterTextView.h"
#include "text/KVLocalizationDictionary.h"
#include "text/StringHelpers.h"


namespace {
std::shared_ptr<PrinterItem> textItem(const QString& text, double size, bool bold, const QColor& color, double left)
{
    return ReportStyle::textItem(text, PrinterFont::format(PrinterFont::systemFont(size, bold), color), left);
}

QString shortened(const QString& text)
{
    return csvStringIsShortened(text, true, ExportSummary::shorteningIndex);
}
} // namespace

ExportSummary::ExportSummary(const QString& title, const QString& description, const QList<DocumentPtr>& documents)
    : ExportSummary(title, description, totalsLine(documents))
{
}

ExportSummary::ExportSummary(const QString& title, const QString& description, const QString& totalsLine)
{
    m_items << textItem(title, 17, true, Qt::black, 72);

    auto descriptionItem = textItem(description, 15, false, ReportStyle::darkGray(), 116);
    descriptionItem->setTopMargin(23);
    m_items << descriptionItem;

    auto totals = textItem(totalsLine, 11, true, ReportStyle::gray(), 116);
    totals->setTopMargin(6);
    totals->setBottomMargin(46);
    m_items << totals;
}

QString ExportSummary::totalsLine(const QList<DocumentPtr>& documents)
{
    // Documents without a file date take no part in the span.
    ReportStyle::DateSpan span;
    for (const DocumentPtr& document : documents)
        span.include(document->field(QuillarcDocument::FileDate));
    return QStringLiteral("%1 %2, %3")
        .arg(QString::number(documents.size()), localizedString(QStringLiteral("EXPORT_SUMMARY_FILES")), span.text());
}

QString ExportSummary::documentLine(const QuillarcDocument& document, bool includeComment, bool includeTags)
{
    QString line = QStringLiteral("%1\t%2\t%3")
                       .arg(document.slipNumber(), ReportStyle::mediumDate(document.field(QuillarcDocument::FileDate)),
                           shortened(document.title()));
    if (includeComment)
        line += QStringLiteral("\n\t\t\t\t") + shortened(document.comment());
    if (includeTags)
        line += QStringLiteral("\n\t\t\t\t") + shortened(document.tagsAsString());
    return line;
}

void ExportSummary::appendDocument(const QuillarcDocument& document, bool includeComment, bool includeTags)
{
    appendLine(documentLine(document, includeComment, includeTags));
}

void ExportSummary::appendLine(const QString& line)
{
    auto item = textItem(line, 8, false, Qt::black, 72);
    item->setTopMargin(3);
    m_items << item;
}

std::unique_ptr<PrinterTextView> ExportSummary::footer(const QString& currentGroupTitle, const QDate& today)
{
    return ReportStyle::footer(PrinterFont::format(PrinterFont::systemFont(9), ReportStyle::lightGray()),
        QStringLiteral("<pageNumber/>/<pageCount/> | %1 | %2").arg(ReportStyle::mediumDate(today), currentGroupTitle),
        PrinterFont::format(PrinterFont::systemFont(8), ReportStyle::lightGray()));
}

QByteArray ExportSummary::plainPDFDocument(const QString& currentGroupTitle, int* pageCount, const QDate& today) const
{
    return ReportStyle::pdf(m_items, footer(currentGroupTitle, today), pageCount);
}
