// The search popover on an archive of 100,000 documents (or the count given):
// how long until the archive's search structures are ready after it opens,
// and what one keystroke costs on the main thread, through the popover's
// model alone and through the whole popover (field, model, list, painting),
// before and after the structures are ready.
#include "BenchSupport.h"
#include "app/models/SearchHitModel.h"
#include "app/popover/SearchPopover.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/ArchiveSearchIndex.h"
#include "store/Document.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QListView>
#include <QRandomGenerator>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <cstdio>

namespace {

const char* const commonWords[] = { "Rechnung", "Invoice", "Betrag", "amount", "Zahlung", "payment", "Kunde",
    "customer", "Lieferung", "delivery", "Auftrag", "order", "Summe", "total", "Steuer", "tax", "Umsatzsteuer", "netto",
    "brutto", "Menge", "Preis", "Konto", "Bank", "Überweisung", "fällig", "und", "der", "die", "für", "mit", "GmbH",
    "Straße", "Vertrag", "Miete", "Versicherung", "Beitrag", "Gebühr", "Leistung", "Zeitraum", "Januar", "März", "Mai",
    "Büro", "Material", "Reisekosten", "Hotel", "Telefon", "Strom", "Wartung", "Software", "Lizenz", "Quittung",
    "Beleg", "Mahnung", "Gutschrift", "Skonto", "Porto", "Versand", "Artikel", "Bestellung", "Angebot", "Kasse",
    "Müller", "Schmidt", "Schneider", "Fischer", "Weber", "Meyer", "Köln", "München", "Berlin", "Hamburg" };
const char* const kinds[] = { "PDF document", "PNG image", "JPEG image", "Plain text document", "Word document" };

QString word(QRandomGenerator& random)
{
    return QString::fromUtf8(commonWords[random.bounded(int(std::size(commonWords)))]);
}

DocumentPtr makeDocument(QRandomGenerator& random, int index)
{
    DocumentPtr document = QuillarcDocument::create();
    document->setField(QuillarcDocument::Title, Value::string(word(random) + QLatin1Char(' ') + word(random)));
    document->setField(QuillarcDocument::Name, Value::string(QStringLiteral("Scan_%1").arg(index)));
    document->setField(QuillarcDocument::Extension, Value::string(QStringLiteral("pdf")));
    document->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("B-%1").arg(index)));
    if (random.bounded(5) == 0)
        document->setField(QuillarcDocument::Note, Value::string(word(random) + QLatin1Char(' ') + word(random)));
    document->setField(QuillarcDocument::Tags, Value::array({ Value::string(word(random)) }));
    document->setField(QuillarcDocument::FileKind, Value::string(QString::fromUtf8(kinds[random.bounded(5)])));
    document->setField(QuillarcDocument::FileDate, Value::date(7.0e8 + random.bounded(5 * 365) * 86400.0));
    QString content;
    content.reserve(2100);
    while (content.size() < 2000)
        content += word(random) + (random.bounded(8) ? QStringLiteral(" ") : QStringLiteral(" %1 ").arg(random.bounded(100000)));
    document->setField(QuillarcDocument::ContentString, Value::string(content));
    return document;
}

/// Types @p text one character at a time; returns the milliseconds of each keystroke.
template<typename Keystroke> QList<double> typeText(const QString& text, Keystroke keystroke)
{
    QList<double> times;
    for (qsizetype i = 1; i <= text.size(); ++i) {
        QElapsedTimer timer;
        timer.start();
        keystroke(text.left(i));
        times << bench::elapsedMs(timer);
    }
    return times;
}

/// Turns the event loop until @p signal of @p sender arrives (or @p timeoutMs pass).
template<typename Sender, typename Signal> void waitFor(Sender* sender, Signal signal, int timeoutMs)
{
    QEventLoop loop;
    QObject::connect(sender, signal, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    loop.exec();
}

void report(const char* label, const QList<double>& times, qsizetype hits)
{
    std::printf("%-46s keystrokes %3lld  median %7.2f ms  worst %7.2f ms  (last: %lld hits)\n", label,
        static_cast<long long>(times.size()), bench::median(times), bench::worst(times), static_cast<long long>(hits));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 100000;

    Document archive;
    archive.setUpAfterReading();
    QRandomGenerator random(2024);
    QElapsedTimer timer;
    timer.start();
    for (int g = 0; g < 20; ++g) {
        auto group = QuillarcGroup::create();
        group->setParent(archive.container().get());
        ValueList& documents = group->mutableField(QuillarcGroup::Documents).mutableArray();
        for (int i = g; i < count; i += 20) {
            const DocumentPtr document = makeDocument(random, i);
            document->setParent(group.get());
            documents.append(Value::object(document));
        }
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    }
    std::printf("archive of %d documents made in %.0f ms\n", count, bench::elapsedMs(timer));

    const QStringList texts = { QStringLiteral("rechnung"), QStringLiteral("müller straße"),
        QStringLiteral("ueberweisung"), QStringLiteral("b-4711"), QStringLiteral("x") };

    // Opening: the texts are read on the main thread in short steps, the
    // structures built in the background. A ticking timer measures how long
    // the main thread is away between two turns of its event loop.
    QList<double> gaps;
    QElapsedTimer sinceTick;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        gaps << bench::elapsedMs(sinceTick);
        sinceTick.restart();
    });
    ticker.start(0);
    sinceTick.start();
    timer.restart();
    ArchiveSearchIndex* shared = ArchiveSearchIndex::forDocument(&archive);
    const double startMs = bench::elapsedMs(timer);
    SearchHitModel model;
    model.search().useSharedIndex(nullptr);
    model.resetArrayAndFilter(archive);

    // Before the structures are ready the model still answers, deciding the
    // documents in steps: the keystroke costs one step, the list fills after.
    QList<double> early, complete;
    qsizetype earlyHits = 0;
    for (const QString& typed : { QStringLiteral("r"), QStringLiteral("re"), QStringLiteral("rec") }) {
        if (shared->isReady())
            break;
        QElapsedTimer keystroke;
        keystroke.start();
        model.search().setSearchText(typed);
        model.searchDocuments();
        early << bench::elapsedMs(keystroke);
        while (model.isSearching())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        complete << bench::elapsedMs(keystroke);
        earlyHits = model.rowCount();
    }
    if (!shared->isReady())
        waitFor(shared, &ArchiveSearchIndex::ready, 600000);
    const double readyMs = bench::elapsedMs(timer);
    ticker.stop();
    std::printf("search structures: %.1f ms on the main thread to start, ready %.0f ms after opening "
                "(%d threads, %lld segments)\n",
        startMs, readyMs, QThread::idealThreadCount(), static_cast<long long>(shared->index()->statistics().segments));
    std::printf("main thread until ready: %lld event-loop turns, gap median %.2f ms, longest %.1f ms\n",
        static_cast<long long>(gaps.size()), bench::median(gaps), bench::worst(gaps));
    if (!early.isEmpty()) {
        report("model before ready: keystroke (first step)", early, earlyHits);
        report("model before ready: until every document decided", complete, earlyHits);
    }
    model.useSharedIndex(shared->index());
    QList<double> resets;
    for (int run = 0; run < 5; ++run)
        resets << bench::measure([&] { model.resetArrayAndFilter(archive); }).wallMs;
    std::printf("reset (documents and kinds reloaded, list ordered): median %.1f ms, worst %.1f ms\n",
        bench::median(resets), bench::worst(resets));

    // One keystroke through the model: the engine's filter, the rows, the visible rows' excerpts.
    QList<double> all;
    for (const QString& text : texts) {
        qsizetype hits = 0;
        const QList<double> times = typeText(text, [&](const QString& typed) {
            model.search().setSearchText(typed);
            model.searchDocuments();
            hits = model.rowCount();
            for (int row = 0; row < qMin(hits, qsizetype(20)); ++row)
                model.data(model.index(row), SearchHitModel::ExcerptRole);
        });
        all << times;
        report(qPrintable(QStringLiteral("model \"%1\"").arg(text)), times, hits);
    }
    report("model, every keystroke", all, 0);

    // Pasted texts a user would not type: one long word, many words, only spaces.
    for (const auto& [label, pasted] : { std::pair { "paste of 10,000 letters", QString(10000, QLatin1Char('e')) },
             std::pair { "paste of 5,000 words", QStringLiteral("miete ").repeated(5000) },
             std::pair { "paste of 10,000 spaces", QString(10000, QLatin1Char(' ')) },
             std::pair { "paste of 1,000 different words", [] {
                            QStringList words;
                            for (int i = 0; i < 1000; ++i)
                                words << QStringLiteral("w%1").arg(i * 7919 % 100000);
                            return words.join(QLatin1Char(' '));
                        }() } }) {
        QList<double> times;
        qsizetype hits = 0;
        for (int run = 0; run < 3; ++run) {
            times << bench::measure([&] {
                model.search().setSearchText(pasted);
                model.searchDocuments();
                hits = model.rowCount();
            }).wallMs;
        }
        report(label, times, hits);
    }

    // With the period and kind filters on as well.
    model.search().setFilterPeriod(true);
    model.search().setStartDate(Clock::toDateTime(7.0e8 + 365 * 86400.0));
    model.search().setEndDate(Clock::toDateTime(7.0e8 + 3 * 365 * 86400.0));
    model.search().setFilterKind(true);
    model.search().setFileKind(QStringLiteral("PDF*"));
    qsizetype filteredHits = 0;
    const QList<double> filtered = typeText(QStringLiteral("rechnung"), [&](const QString& typed) {
        model.search().setSearchText(typed);
        model.searchDocuments();
        filteredHits = model.rowCount();
    });
    report("model \"rechnung\", period and kind on", filtered, filteredHits);

    // The whole popover: the field's edit, the model, the list's layout and painting.
    SearchPopover* popover = SearchPopover::forDocument(&archive);
    popover->resize(460, 560);
    popover->show();
    waitFor(popover, &SearchPopover::resetDone, 10000);
    QList<double> widget;
    qsizetype widgetHits = 0;
    for (const QString& text : texts) {
        popover->searchField()->clear();
        popover->searchDocuments();
        widget << typeText(text, [&](const QString& typed) {
            popover->searchField()->insert(typed.right(1));
            QCoreApplication::processEvents();
            popover->resultsView()->viewport()->grab();
            widgetHits = popover->model()->rowCount();
        });
    }
    report("popover (field, model, list painted)", widget, widgetHits);
    std::printf("peak RSS %.0f MiB\n", bench::peakRssMiB());
    return 0;
}
