#include "output/LogReport.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcLogObject.h"
#include "output/ReportStyle.h"
#include "report/PrinterDocument.h"
#include "report/PrinterFont.h"
#include "report/PrinterTextView.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/IntegrityValidator.h"
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
    : m_content(capture(archive))
{
}

LogReport::LogReport(Content content)
    : m_content(std::move(content))
{
}

LogReport::Content LogReport::capture(const Document& archive)
{
    Content content;
    const ContainerPtr container = archive.container();
    if (container) {
        content.containerTitle = container->containerTitle();
        content.containerCreationDate = container->field(QuillarcContainer::CreationDate);
        const QList<LogObjectPtr> logs = container->logs();
        content.entries.reserve(logs.size());
        for (const LogObjectPtr& entry : logs)
            content.entries.append(
                { entry->field(QuillarcLogObject::CreationDate), entry->objectUniqueID(), entry->logText() });
    }
    content.integrityString = archive.integrityString();
    content.packagePath = archive.packagePath();
    content.salt = archive.string().isEmpty() ? Fingerprint::salt() : archive.string();
    for (const DocumentPtr& document : archive.allDocuments())
        content.documents.insert(document->uniqueID(), { document->path(), document->string() });
    return content;
}

QString LogReport::entryText(bool corrupted, const QString& logText)
{
    const QString status = corrupted ? QStringLiteral("✗\t%1").arg(text("LOG_ACTION_CORRUPTED"))
                                     : QStringLiteral("✓\t%1").arg(text("LOG_ACTION_VALID"));
    return QStringLiteral("%1\n%2").arg(status, logText);
}

PrinterItemList LogReport::items() const
{
    const QString completeLog = text("COMPLETE_LOG");
    PrinterItemList items;

    items << textItem(completeLog, style("WriteSans-Bold", 23, Qt::black), 72);

    ReportStyle::DateSpan span;
    for (const Content::Entry& entry : m_content.entries)
        span.include(entry.creationDate);
    items << textItem(span.text(), style("WriteSans-Regular", 17, ReportStyle::gray()), 116, 3);

    items << textItem(m_content.containerTitle, style("WriteSans-Bold", 11, Qt::black), 116, 36);

    const QTextCharFormat info = style("WriteSans-Regular", 11, ReportStyle::gray());
    items << textItem(QStringLiteral("%1: %2\n%3: %4")
                          .arg(text("LOG_DATABASE_CREATED"), ReportStyle::mediumDate(m_content.containerCreationDate),
                              text("LOG_DATABASE_STATE"), m_content.integrityString),
        info, 116, 36);
    items << textItem(text("LOG_COMPLIANCE"), info, 116, 36);

    auto heading = textItem(completeLog, style("WriteSans-Bold", 9, Qt::black), 72);
    heading->setPageBreakBefore(true);
    heading->setBottomMargin(40);
    items << heading;

    // One check per document however many entries name it.
    QHash<QString, bool> corruptedByID;
    const QTextCharFormat entryStyle = style("WriteSans-Regular", 8, Qt::black);
    for (const Content::Entry& entry : m_content.entries) {
        auto known = corruptedByID.constFind(entry.objectUniqueID);
        if (known == corruptedByID.constEnd()) {
            const auto member = m_content.documents.constFind(entry.objectUniqueID);
            const bool corrupted = member != m_content.documents.constEnd()
                && IntegrityValidator::checkMember(
                       m_content.packagePath, member->path, member->fingerprint, m_content.salt)
                    != IntegrityValidator::MemberState::Intact;
            known = corruptedByID.insert(entry.objectUniqueID, corrupted);
        }
        items << textItem(entryText(*known, entry.logText), entryStyle, 72);
    }
    return items;
}

std::unique_ptr<PrinterTextView> LogReport::footer(const QDate& today) const
{
    return ReportStyle::footer(style("WriteSans-Bold", 6, ReportStyle::gray()),
        QStringLiteral("<pageNumber/>/<pageCount/> | %1 | %2 | %3")
            .arg(ReportStyle::shortDate(today), text("COMPLETE_LOG"), m_content.containerTitle),
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
