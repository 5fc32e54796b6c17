#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "output/DocumentSearch.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace {
constexpr const char* command = "search";

double elapsedMs(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

QString formatMs(double milliseconds)
{
    return QString::number(milliseconds, 'f', 1);
}

QString localDateText(const Value& date, Qt::DateFormat format, const QString& pattern = QString())
{
    if (date.kind() != Value::Kind::Date)
        return QString();
    // With its offset, so that the text names one moment wherever it is read.
    QDateTime moment = Clock::toDateTime(date.toDate()).toLocalTime();
    moment = moment.toOffsetFromUtc(moment.offsetFromUtc());
    return pattern.isEmpty() ? moment.toString(format) : moment.toString(pattern);
}

QString groupTitleOf(const QuillarcDocument& document)
{
    const QuillarcGroup* group = document.group();
    return group ? group->groupTitle() : QString();
}

QJsonValue textOrNull(const Value& value)
{
    return value.kind() == Value::Kind::String ? QJsonValue(value.toString()) : QJsonValue(QJsonValue::Null);
}

QString listing(const QList<DocumentPtr>& hits, bool json)
{
    if (json) {
        QJsonArray array;
        for (const DocumentPtr& document : hits) {
            const Value date = document->field(QuillarcDocument::FileDate);
            QJsonObject object;
            object.insert(QStringLiteral("uniqueID"), document->uniqueID());
            object.insert(QStringLiteral("name"), textOrNull(document->field(QuillarcDocument::Name)));
            object.insert(QStringLiteral("title"), textOrNull(document->field(QuillarcDocument::Title)));
            object.insert(QStringLiteral("group"), groupTitleOf(*document));
            object.insert(QStringLiteral("fileDate"),
                date.kind() == Value::Kind::Date ? QJsonValue(localDateText(date, Qt::ISODate)) : QJsonValue());
            object.insert(QStringLiteral("slipNumber"), textOrNull(document->field(QuillarcDocument::SlipNumber)));
            array.append(object);
        }
        return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented));
    }
    QString text;
    for (const DocumentPtr& document : hits) {
        const QString date = localDateText(
            document->field(QuillarcDocument::FileDate), Qt::ISODate, QStringLiteral("yyyy-MM-dd HH:mm"));
        text += QStringList { document->uniqueID(), groupTitleOf(*document),
            date.isEmpty() ? QStringLiteral("-") : date, document->slipNumber(), document->title() }
                    .join(QLatin1Char('\t'))
            + QLatin1Char('\n');
    }
    return text;
}

int runSearch(const QStringList& arguments)
{
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QString path;
    QStringList words;
    QString from, to, kind;
    qint64 sortOrder = -2;
    bool ascending = false, json = false, timing = false, kindGiven = false;
    int repeat = 0;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        bool ok = true;
        if (argument == QLatin1String("--from") && hasValue) {
            from = arguments[++i];
        } else if (argument == QLatin1String("--to") && hasValue) {
            to = arguments[++i];
        } else if (argument == QLatin1String("--kind") && hasValue) {
            kind = arguments[++i];
            kindGiven = true;
        } else if (argument == QLatin1String("--sort") && hasValue) {
            sortOrder = arguments[++i].toLongLong(&ok);
        } else if (argument == QLatin1String("--repeat") && hasValue) {
            repeat = arguments[++i].toInt(&ok);
            ok = ok && repeat > 0;
        } else if (argument == QLatin1String("--ascending")) {
            ascending = true;
        } else if (argument == QLatin1String("--json")) {
            json = true;
        } else if (argument == QLatin1String("--time")) {
            timing = true;
        } else if (argument.startsWith(QLatin1String("--"))) {
            return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(argument));
        } else if (path.isEmpty()) {
            path = argument;
        } else {
            words.append(argument);
        }
        if (!ok)
            return cliFail(command, QStringLiteral("'%1' needs a number").arg(argument));
    }
    if (path.isEmpty())
        return cliFail(command, QStringLiteral("no archive path given"));
    const QDate fromDate = from.isEmpty() ? QDate() : QDate::fromString(from, Qt::ISODate);
    const QDate toDate = to.isEmpty() ? QDate() : QDate::fromString(to, Qt::ISODate);
    if ((!from.isEmpty() && !fromDate.isValid()) || (!to.isEmpty() && !toDate.isValid()))
        return cliFail(command, QStringLiteral("dates are written YYYY-MM-DD"));

    QElapsedTimer timer;
    timer.start();
    const auto archive = CliArchive::open(command, path, Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;
    const double loadMs = elapsedMs(timer);

    // The archive's own order unless the command line chooses another.
    const QuillarcPreferences& preferences = *archive->preferences();
    SortDescriptor descriptor = DocumentOrdering::applySortDescriptor(preferences);
    if (sortOrder != -2 || ascending)
        descriptor
            = DocumentOrdering::sortDescriptorFor(sortOrder != -2 ? sortOrder : preferences.sortOrder(), ascending);

    timer.restart();
    DocumentSearch search;
    search.setSortDescriptor(descriptor);
    if (!search.resetArrayAndFilter(*archive))
        return cliFail(command, search.errorString());
    const double indexMs = elapsedMs(timer);

    search.setSearchText(words.join(QLatin1Char(' ')));
    if (fromDate.isValid() || toDate.isValid()) {
        search.setFilterPeriod(true);
        if (fromDate.isValid())
            search.setStartDate(QDateTime(fromDate, QTime(0, 0)));
        if (toDate.isValid())
            search.setEndDate(QDateTime(toDate, QTime(0, 0)));
    }
    if (kindGiven) {
        search.setFilterKind(true);
        search.setFileKind(kind);
    }

    QList<double> runs;
    QList<DocumentPtr> hits;
    for (int run = 0; run < qMax(1, repeat); ++run) {
        timer.restart();
        if (!search.searchDocuments())
            return cliFail(command, search.errorString());
        hits = search.arrangedObjects();
        runs.append(elapsedMs(timer));
    }
    cliOut(listing(hits, json));
    if (timing) {
        cliErr(QStringLiteral("time: load %1 ms, index %2 ms, search %3 ms\n")
                   .arg(formatMs(loadMs), formatMs(indexMs), formatMs(runs.first())));
    }
    if (repeat > 0) {
        QList<double> sorted = runs;
        std::sort(sorted.begin(), sorted.end());
        const qsizetype n = sorted.size();
        const double median = n % 2 ? sorted[n / 2] : (sorted[n / 2 - 1] + sorted[n / 2]) / 2;
        cliErr(QStringLiteral("search: median %1 ms, worst %2 ms over %3 runs\n")
                   .arg(formatMs(median), formatMs(sorted.last()))
                   .arg(n));
    }
    return ExitOk;
}

CliCommandRegistration registration({ command,
    "search ARCHIVE [TEXT] [--from YYYY-MM-DD] [--to YYYY-MM-DD] [--kind KIND] [--sort N] [--ascending] [--json] "
    "[--time] [--repeat N]",
    "List the documents that match a search text, period and kind, in the archive's sort order.", runSearch });
} // namespace
