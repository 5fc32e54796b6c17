// Latency of the search filter over a large archive built in memory, next to
// grep over a plain dump of the same text.
#include "BenchSupport.h"
#include "model/QuillarcDocument.h"
#include "output/DocumentSearch.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>

namespace {

const char* const commonWords[] = { "Rechnung", "Invoice", "Betrag", "amount", "Zahlung", "payment", "Kunde",
    "customer", "Lieferung", "delivery", "Auftrag", "order", "Datum", "date", "Summe", "total", "Steuer", "tax",
    "Umsatzsteuer", "VAT", "netto", "brutto", "Position", "Menge", "quantity", "Preis", "price", "Konto", "account",
    "Bank", "Überweisung", "transfer", "fällig", "due", "bis", "until", "und", "and", "der", "die", "das", "the", "of",
    "für", "for", "mit", "with", "GmbH", "Ltd", "Straße", "street", "Vertrag", "contract", "Miete", "rent",
    "Versicherung", "insurance", "Beitrag", "Gebühr", "fee", "Leistung", "service", "Zeitraum", "period", "Januar",
    "Februar", "März", "April", "Mai", "Juni", "Juli", "August", "September", "Oktober", "November", "Dezember", "Büro",
    "office", "Material", "Reisekosten", "travel", "Hotel", "Übernachtung", "Bewirtung", "Telefon", "Internet", "Strom",
    "Wasser", "Heizung", "Reparatur", "Wartung", "maintenance", "Software", "Lizenz", "licence", "Abonnement",
    "subscription", "Quittung", "receipt", "Beleg", "voucher", "Mahnung", "reminder", "Gutschrift", "credit", "Skonto",
    "discount", "Porto", "Versand", "shipping", "Artikel", "item", "Stück", "pieces", "Bestellung", "purchase",
    "Angebot", "quotation", "Kasse", "cash", "Karte", "card", "EUR", "USD", "Firma", "company", "Anschrift", "address",
    "Telefonnummer", "phone", "Steuernummer", "Finanzamt", "Müller", "Schmidt", "Schneider", "Fischer", "Weber",
    "Meyer", "Wagner", "Becker", "Schulz", "Hoffmann", "Köln", "München", "Berlin", "Hamburg", "Düsseldorf" };
const char* const rareWords[] = { "Quellensteuererstattung", "Zollanmeldung", "Xylophonwerkstatt", "Brückenzoll" };
const char* const kinds[] = { "PDF document", "PNG image", "JPEG image", "Plain text document", "Word document" };

QString word(QRandomGenerator& random)
{
    return QString::fromUtf8(commonWords[random.bounded(int(std::size(commonWords)))]);
}

QString number(QRandomGenerator& random)
{
    switch (random.bounded(4)) {
    case 0:
        return QStringLiteral("%1,%2").arg(random.bounded(10000)).arg(random.bounded(100), 2, 10, QLatin1Char('0'));
    case 1:
        return QStringLiteral("%1.%2.20%3")
            .arg(random.bounded(1, 29), 2, 10, QLatin1Char('0'))
            .arg(random.bounded(1, 13), 2, 10, QLatin1Char('0'))
            .arg(random.bounded(18, 25));
    case 2:
        return QStringLiteral("RE-%1").arg(random.bounded(1000000), 6, 10, QLatin1Char('0'));
    default:
        return QString::number(random.bounded(100));
    }
}

QString content(QRandomGenerator& random, int targetLength, int index)
{
    QString text;
    text.reserve(targetLength + 64);
    while (text.size() < targetLength) {
        text += random.bounded(6) == 0 ? number(random) : word(random);
        text += random.bounded(12) == 0 ? QStringLiteral(".\n") : QStringLiteral(" ");
    }
    // A few documents carry rare words.
    if (index % 25000 == 7)
        text += QString::fromUtf8(rareWords[(index / 25000) % int(std::size(rareWords))]);
    return text;
}

DocumentPtr makeDocument(QRandomGenerator& random, int index)
{
    DocumentPtr document = QuillarcDocument::create();
    const QString title = word(random) + QLatin1Char(' ') + word(random) + QLatin1Char(' ') + number(random);
    document->setField(QuillarcDocument::Title, Value::string(title));
    document->setField(QuillarcDocument::Name, Value::string(QStringLiteral("Scan_%1").arg(index)));
    document->setField(QuillarcDocument::Extension, Value::string(QStringLiteral("pdf")));
    document->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("B-%1").arg(index)));
    document->setField(QuillarcDocument::Comment, Value::string(random.bounded(3) ? QString() : word(random)));
    if (random.bounded(5) == 0)
        document->setField(QuillarcDocument::Note, Value::string(word(random) + QLatin1Char(' ') + word(random)));
    document->setField(QuillarcDocument::Tags, Value::array({ Value::string(word(random)) }));
    document->setField(QuillarcDocument::FileKind, Value::string(QString::fromUtf8(kinds[random.bounded(5)])));
    // Five years of documents.
    document->setField(QuillarcDocument::FileDate, Value::date(7.0e8 + random.bounded(5 * 365) * 86400.0));
    document->setField(QuillarcDocument::ContentString, Value::string(content(random, 2000, index)));
    return document;
}

/// grep's wall-clock time with its output read: when stdout is the null
/// device, grep stops at the first match, which would flatter it.
double timeGrepMs(const QString& word, const QString& path)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.start(
        QStringLiteral("grep"), { QStringLiteral("-c"), QStringLiteral("-i"), QStringLiteral("-F"), word, path });
    if (!process.waitForStarted() || !process.waitForFinished(-1))
        return -1;
    process.readAllStandardOutput();
    return bench::elapsedMs(timer);
}

/// CPU time of the whole process (all threads) in milliseconds.
double processCpuMs()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return (double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3)
        + (double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3);
}

struct Query
{
    const char* label;
    QString text;
    QString grepWord;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 100000;
    const int runs = 20;

    QElapsedTimer timer;
    timer.start();
    QRandomGenerator random(2024);
    QList<DocumentPtr> documents;
    documents.reserve(count);
    for (int i = 0; i < count; ++i)
        documents.append(makeDocument(random, i));
    std::printf("generated %d documents in %.0f ms\n", count, bench::elapsedMs(timer));
    const double rssBefore = bench::peakRssMiB();

    // The plain dump grep reads: every searchable field of every document.
    QTemporaryDir dumpDir;
    const QString dumpPath = dumpDir.filePath(QStringLiteral("dump.txt"));
    {
        QFile dump(dumpPath);
        if (!dump.open(QIODevice::WriteOnly))
            return 1;
        for (const DocumentPtr& document : documents) {
            const QString line
                = QStringList { document->tagsAsString(), document->title(), document->name(), document->comment(),
                      document->note(), document->extension(), document->slipNumber(), document->contentString() }
                      .join(QLatin1Char('\t'));
            dump.write(line.toUtf8());
            dump.write("\n");
        }
    }

    DocumentSearch search;
    timer.restart();
    search.resetArrayAndFilter(documents, {});
    const double buildMs = bench::elapsedMs(timer);
    const SearchIndex::Statistics stats = search.index().statistics();
    std::printf("build (index + sort order): %.0f ms, %d segments, peak RSS %.0f -> %.0f MiB\n", buildMs,
        stats.segments, rssBefore, bench::peakRssMiB());
    std::printf("text %.1f MB (UTF-8), folded %.1f MB, vocabulary %.1f MB (%lld tokens), %lld postings\n",
        double(stats.textBytes) / 1e6, double(stats.foldedBytes) / 1e6, double(stats.vocabularyBytes) / 1e6,
        stats.tokens, stats.postings);
    std::printf("structure memory %.1f MB = %.2f x text\n", double(stats.memoryBytes) / 1e6,
        double(stats.memoryBytes) / double(stats.textBytes));

    const QList<Query> queries = {
        { "one common word", QStringLiteral("rechnung"), QStringLiteral("rechnung") },
        { "one word, umlaut folded", QStringLiteral("uberweisung"), QStringLiteral("überweisung") },
        { "three words", QStringLiteral("rechnung müller betrag"), QStringLiteral("müller") },
        { "rare word", QStringLiteral("zollanmeldung"), QStringLiteral("zollanmeldung") },
        { "rare and common", QStringLiteral("quellensteuererstattung rechnung"),
            QStringLiteral("quellensteuererstattung") },
        { "date with dots", QStringLiteral("12.03.2021"), QStringLiteral("12.03.2021") },
        { "single letter", QStringLiteral("e"), QStringLiteral("e") },
        { "two letters", QStringLiteral("re"), QStringLiteral("re") },
        { "three letters", QStringLiteral("rec"), QStringLiteral("rec") },
        { "word not there", QStringLiteral("nirgendwo"), QStringLiteral("nirgendwo") },
    };
    std::printf("\n%-28s %-8s %8s %10s %10s %10s %10s %10s\n", "query", "filters", "hits", "filter ms", "median ms",
        "worst ms", "cpu ms", "grep ms");
    for (const Query& query : queries) {
        const double grepMs = timeGrepMs(query.grepWord, dumpPath);
        for (const bool filters : { false, true }) {
            search.setSearchText(query.text);
            search.setFilterPeriod(filters);
            search.setFilterKind(filters);
            search.setFileKind(QStringLiteral("PDF*"));
            search.setStartDate(Clock::toDateTime(7.0e8 + 365 * 86400.0));
            search.setEndDate(Clock::toDateTime(7.0e8 + 3 * 365 * 86400.0));
            QList<double> times, filterTimes;
            qsizetype hits = 0;
            const double cpuBefore = processCpuMs();
            for (int run = 0; run < runs; ++run) {
                timer.restart();
                search.searchDocuments();
                filterTimes.append(bench::elapsedMs(timer));
                hits = qsizetype(search.arrangedPositions().size());
                times.append(bench::elapsedMs(timer));
            }
            const double cpuMs = (processCpuMs() - cpuBefore) / runs;
            std::printf("%-28s %-8s %8lld %10.2f %10.2f %10.2f %10.2f %10.1f\n", query.label, filters ? "on" : "off",
                static_cast<long long>(hits), bench::median(filterTimes), bench::median(times), bench::worst(times),
                cpuMs, grepMs);
        }
    }

    // Intake: documents join the tail, which gets its own token index when full.
    SearchIndex& index = search.index();
    QList<double> addTimes;
    double tailIndexMs = 0;
    for (quint32 i = 0; i < SearchIndex::tailCapacity; ++i) {
        const DocumentPtr document = makeDocument(random, count + int(i));
        timer.restart();
        index.addDocument(document);
        const double ms = bench::elapsedMs(timer);
        if (i + 1 == SearchIndex::tailCapacity)
            tailIndexMs = ms;
        else
            addTimes.append(ms);
    }
    std::printf("\nintake of one document: median %.3f ms, worst %.3f ms; indexing the full tail of %u: %.0f ms\n",
        bench::median(addTimes), bench::worst(addTimes), SearchIndex::tailCapacity, tailIndexMs);
    const SearchPredicate predicate
        = DocumentSearch::textPredicate(QStringLiteral("rechnung"), QStringLiteral("rechnung"));
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        timer.restart();
        index.filter(predicate);
        times.append(bench::elapsedMs(timer));
    }
    std::printf(
        "filter 'rechnung' after intake: median %.2f ms, worst %.2f ms\n", bench::median(times), bench::worst(times));
    std::printf("peak RSS %.0f MiB\n", bench::peakRssMiB());
    return 0;
}
