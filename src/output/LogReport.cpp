#include "output/LogReport.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcLogObject.h"
#include "output/ReportStyle.h"
#include "report/PrinterDocument.h"
#include "report/PrinterFont.h"
#include "report/PrinterTextView.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QHash>
#include <QSaveFile>
#include <optional>

namespace {
QTextCharFormat style(const char* face, double size, const QColor& color)
{
    return PrinterFont::format(PrinterFont::fontWithName(QString::fromLatin1(face), size), color);
}

std::shared_ptr<PrinterItem> textItem(const QString& text, const QTextCharFormat& format, double left, double top = 0)
{
    auto item = std::make_shared<PrinterItem>(PrinterAttributedString(text, format));
    item->setLeftMargin(left);
    item->setRightMargin(40);
    item->setTopMargin(top);
    return item;
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

    std::optional<ReferenceTime> earliest;
    std::optional<ReferenceTime> latest;
    for (const LogObjectPtr& entry : logs) {
        if (entry->field(QuillarcLogObject::CreationDate).kind() != Value::Kind::Date)
            continue;
        const ReferenceTime time = entry->creationDate();
        if (!earliest || time < *earliest)
            earliest = time;
        if (!latest || time > *latest)
            latest = time;
    }
    items << textItem(QStringLiteral("%1 - %2").arg(earliest ? ReportStyle::mediumDate(*earliest) : QString(),
                          latest ? ReportStyle::mediumDate(*latest) : QString()),
        style("WriteSans-Regular", 17, ReportStyle::gray()), 116, 3);

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
            known = corruptedByID.insert(id, document && document->isFileCorrupted());
        }
        items << textItem(entryText(*known, entry->logText()), entryStyle, 72);
    }
    return items;
}

std::unique_ptr<PrinterTextView> LogReport::footer(const QDate& today) const
{
    const ContainerPtr container = m_archive.container();
    PrinterAttributedString line(text("CEATED_WITH_APPNAME"), style("WriteSans-Bold", 6, ReportStyle::gray()));
    const QTextCharFormat gap = PrinterFont::format(PrinterFont::systemFont(1));
    line.append(QStringLiteral("\n"), gap);
    line.append(QStringLiteral("\n"), gap);
    line.append(QStringLiteral("<pageNumber/>/<pageCount/> | %1 | %2 | %3")
                    .arg(ReportStyle::shortDate(today), text("COMPLETE_LOG"),
                        container ? container->containerTitle() : QString()),
        style("WriteSans-Regular", 6, ReportStyle::gray()));
    auto view = std::make_unique<PrinterTextView>(QRectF(72, 0, 554, 40));
    view->setAttributedString(line);
    return view;
}

QByteArray LogReport::plainPDFDocument(int* pageCount, const QDate& today) const
{
    PrinterDocument report(items(), 0);
    report.setTopMargin(72);
    report.setBottomMargin(60);
    report.setFooterView(footer(today));
    const QByteArray pdf = report.plainPDFDocument();
    if (pageCount)
        *pageCount = int(report.pages().size());
    return pdf;
}

bool LogReport::write(const QString& path, QString* error, int* pageCount) const
{
    const QByteArray pdf = plainPDFDocument(pageCount);
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(pdf) == pdf.size() && file.commit())
        return true;
    if (error)
        *error = localizedString(QStringLiteral("The file could not be written."))
            + QStringLiteral(" (%1: %2)").arg(path, file.errorString());
    return false;
}
