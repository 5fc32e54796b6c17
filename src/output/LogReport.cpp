#include "output/LogReport.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcLogObject.h"
#include "output/ReportStyle.h"
#include "report/PrinterDocument.h"
#include "report/PrinterFont.h"
#include "report/PrinterTextView.h"
#include "store/ArchivedFile.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QHash>

namespace {
QTextCharFormat style(const char* face, double size, const QColor& color)
{
    return PrinterFont::format(PrinterFont::fontWithName(QString::fromLatin1(face), size), color);
}

std::shared_ptr<PrinterItem> textItem(const QString& text, const QTextCharFormat& format, double left, double top = 0)
{
    return ReportStyle::textItem(text, format, left, top);
}

QString text(const char* key)
{
    return localizedString(QString::fromLatin1(key));
}
} // namespace

LogReport::LogReport(const Document& archive)
    : m_archive(archive)
{
}

QString LogReport::entryText(bool corrupted, const QString& logText)
{
    const QString status = corrupted ? QStringLiteral("✗\t%1").arg(text("LOG_ACTION_CORRUPTED"))
                                     : QStringLiteral("✓\t%1").arg(text("LOG_ACTION_VALID"));
    return QStringLiteral("%1\n%2").arg(status, logText);
}

PrinterItemList LogReport::items() const
{
    const ContainerPtr container = m_archive.container();
    const QList<LogObjectPtr> logs = container ? container->logs() : QList<LogObjectPtr>();
    const QString completeLog = text("COMPLETE_LOG");
    PrinterItemList items;

    items << textItem(completeLog, style("WriteSans-Bold", 23, Qt::black), 72);

    ReportStyle::DateSpan span;
    for (const LogObjectPtr& entry : logs)
        span.include(entry->field(QuillarcLogObject::CreationDate));
    items << textItem(span.text(), style("WriteSans-Regular", 17, ReportStyle::gray()), 116, 3);

    items << textItem(
        container ? container->containerTitle() : QString(), style("WriteSans-Bold", 11, Qt::black), 116, 36);

    const QTextCharFormat info = style("WriteSans-Regular", 11, ReportStyle::gray());
    const QString created
        = container ? ReportStyle::mediumDate(container->field(QuillarcContainer::CreationDate)) : QString();
    items << textItem(
        QStringLiteral("%1: %2\n%3: %4")
            .arg(text("LOG_DATABASE_CREATED"), created, text("LOG_DATABASE_STATE"), m_archive.integrityString()),
        info, 116, 36);
    items << textItem(text("LOG_COMPLIANCE"), info, 116, 36);

    auto heading = textItem(completeLog, style("WriteSans-Bold", 9, Qt::black), 72);
    heading->setPageBreakBefore(true);
    heading->setBottomMargin(40);
    items << heading;

    // One pass over the archive instead of a search per entry, and one check
    // per document however many entries name it.
    QHash<QString, DocumentPtr> documents;
    for (const DocumentPtr& document : m_archive.allDocuments())
        documents.insert(document->uniqueID(), document);
    QHash<QString, bool> corruptedByID;
    const QTextCharFormat entryStyle = style("WriteSans-Regular", 8, Qt::black);
    for (const LogObjectPtr& entry : logs) {
        const QString id = entry->objectUniqueID();
        auto known = corruptedByID.constFind(id);
        if (known == corruptedByID.constEnd()) {
            const DocumentPtr document = documents.value(id);
            known = corruptedByID.insert(id, document && ArchivedFile::isFileCorrupted(*document));
        }
        items << textItem(entryText(*known, entry->logText()), entryStyle, 72);
    }
    return items;
}

std::unique_ptr<PrinterTextView> LogReport::footer(const QDate& today) const
{
    const ContainerPtr container = m_archive.container();
    return ReportStyle::footer(style("WriteSans-Bold", 6, ReportStyle::gray()),
        QStringLiteral("<pageNumber/>/<pageCount/> | %1 | %2 | %3")
            .arg(ReportStyle::shortDate(today), text("COMPLETE_LOG"), container ? container->containerTitle() : QString()),
        style("WriteSans-Regular", 6, ReportStyle::gray()));
}

QByteArray LogReport::plainPDFDocument(int* pageCount, const QDate& today) const
{
    return ReportStyle::pdf(items(), footer(today), pageCount);
}

bool LogReport::write(const QString& path, QString* error, int* pageCount) const
{
    const QByteArray pdf = plainPDFDocument(pageCount);
    QString reason;
    if (AtomicFile::writeFile(path, pdf, &reason))
        return true;
    if (error)
        *error = localizedString(QStringLiteral("The file could not be written.")) + QStringLiteral(" (%1)").arg(reason);
    return false;
}
