#pragma once

#include "model/ModelPointers.h"
#include "report/PrinterItem.h"

#include <QByteArray>
#include <QDate>
#include <QList>
#include <QString>
#include <memory>

class PrinterTextView;

/// The summary PDF written beside exported copies: a title, a description, a
/// totals line and one line per exported document (voucher number, file date,
/// title, and on lines of their own the comment and the tags), with a footer
/// naming the page, today's date and the current group on every A4 page.
///
/// Free texts are cleaned and shortened to one line of about 100 characters,
/// so a document line never breaks the column layout.
class ExportSummary
{
public:
    /// Where texts are cut: csvStringIsShortened() with this index.
    static constexpr int shorteningIndex = 100;

    /// Starts the summary with the title, description and totals items; the
    /// totals count `documents` and span their earliest and latest file dates.
    ExportSummary(const QString& title, const QString& description, const QList<DocumentPtr>& documents);
    /// The same with the totals line already made (a summary built away from the archive).
    ExportSummary(const QString& title, const QString& description, const QString& totalsLine);

    /// Appends the item of one exported document.
    void appendDocument(const QuillarcDocument& document, bool includeComment, bool includeTags);
    /// Appends the item of one document line made by documentLine().
    void appendLine(const QString& line);

    /// "slip<TAB>date<TAB>title", then the comment and tags each on a line
    /// indented by four tabs when asked for.
    static QString documentLine(const QuillarcDocument& document, bool includeComment, bool includeTags);
    /// "N documents, first date - last date" (the dates are empty without any).
    static QString totalsLine(const QList<DocumentPtr>& documents);

    const PrinterItemList& items() const { return m_items; }

    /// The footer template: the application line, a small gap and
    /// "<pageNumber/>/<pageCount/> | today | current group".
    static std::unique_ptr<PrinterTextView> footer(const QString& currentGroupTitle, const QDate& today);

    /// Lays the items out on A4 pages and returns the PDF; `pageCount` receives
    /// the number of pages. The items' page-break flags are consumed.
    QByteArray plainPDFDocument(
        const QString& currentGroupTitle, int* pageCount = nullptr, const QDate& today = QDate::currentDate()) const;

private:
    PrinterItemList m_items;
};
