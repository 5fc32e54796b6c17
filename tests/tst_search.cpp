#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/DocumentSearch.h"
#include "output/SearchIndex.h"
#include "output/TextFolding.h"

#include <QRandomGenerator>
#include <QTest>
#include <atomic>
#include <ctime>

namespace {

const QString textForm = QStringLiteral(
    "(tagsAsString contains[cd] %@) OR (title contains[cd] %@) OR (name contains[cd] %@) OR (comment contains[cd] %@) "
    "OR (note contains[cd] %@) OR (extension contains[cd] %@) OR (slipNumber contains[cd] %@) OR (contentString "
    "contains[cd] %@)");

DocumentPtr makeDocument(const QString& title, const QString& content = QString())
{
    DocumentPtr document = QuillarcDocument::create();
    document->setField(QuillarcDocument::Title, Value::string(title));
    document->setField(QuillarcDocument::ContentString, Value::string(content));
    return document;
}

ReferenceTime berlin(int year, int month, int day, int hour, int minute, int second, int msec = 0)
{
    return Clock::fromDateTime(QDateTime(QDate(year, month, day), QTime(hour, minute, second, msec), Qt::LocalTime));
}

QStringList titles(const QList<DocumentPtr>& documents)
{
    QStringList result;
    for (const DocumentPtr& document : documents)
        result.append(document->title());
    result.sort();
    return result;
}

/// The documents the predicate takes, by evaluating it on each document.
QStringList referenceTitles(const QList<DocumentPtr>& documents, const SearchPredicate& predicate)
{
    QList<DocumentPtr> hits;
    std::copy_if(documents.begin(), documents.end(), std::back_inserter(hits),
        [&](const DocumentPtr& document) { return predicate.evaluate(*document); });
    return titles(hits);
}

QStringList searchTitles(DocumentSearch& search, const QString& text)
{
    search.setSearchText(text);
    search.searchDocuments();
    return titles(search.arrangedObjects());
}

} // namespace

class TestSearch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void normalisation_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("normalized");
        // clang-format off
        QTest::newRow("doubled inside, single outside") << " Müller   Rechnung " << "Müller Rechnung";
        QTest::newRow("one space")                      << " "                   << "";
        QTest::newRow("three spaces")                   << "   "                 << "";
        QTest::newRow("only one leading space removed") << "  a"                 << "a";
        QTest::newRow("tabs kept")                      << "\ta\tb "             << "\ta\tb";
        QTest::newRow("tab before space kept")          << "\t a"                << "\t a";
        QTest::newRow("no-break space kept")            << "\u00a0a "            << "\u00a0a";
        QTest::newRow("plain")                          << "Invoice"             << "Invoice";
        // clang-format on
    }
    void normalisation()
    {
        QFETCH(QString, text);
        QFETCH(QString, normalized);
        QCOMPARE(DocumentSearch::normalizedSearchText(text), normalized);
    }

    void predicateForm_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("period");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("format");
        const QString period = QStringLiteral("fileDate >= %@ AND fileDate <= %@");
        QTest::newRow("one word") << " Müller " << false << QString() << textForm;
        QTest::newRow("two words, period and kind")
            << " Müller  Rechnung " << true << "PDF*"
            << "(" + period + ") AND (fileKind like %@) AND (" + textForm + ") AND (" + textForm + ")";
        QTest::newRow("only the period") << "" << true << QString() << period;
    }
    void predicateForm()
    {
        QFETCH(QString, text);
        QFETCH(bool, period);
        QFETCH(QString, kind);
        QFETCH(QString, format);
        DocumentSearch search;
        search.resetArrayAndFilter({ makeDocument("a") }, {});
        search.setSearchText(text);
        search.setFilterPeriod(period);
        search.setFilterKind(!kind.isNull());
        search.setFileKind(kind);
        search.searchDocuments();
        QCOMPARE(search.predicate().predicateFormat(), format);
        // Each word has a group of its own; the note takes the whole phrase.
        const QString phrase = DocumentSearch::normalizedSearchText(text);
        const QStringList words = phrase.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const ValueList arguments = search.predicate().arguments();
        const qsizetype first = arguments.size() - 8 * words.size();
        QCOMPARE(first, (period ? 2 : 0) + (kind.isNull() ? 0 : 1));
        for (qsizetype i = first; i < arguments.size(); ++i)
            QCOMPARE(arguments[i].toString(), (i - first) % 8 == 4 ? phrase : words[(i - first) / 8]);
        if (!words.isEmpty())
            QVERIFY(
                search.predicate().description().contains(QStringLiteral("(tagsAsString contains[cd] \"Müller\") OR")));
    }

    void emptyTextKeepsTheLastPredicate()
    {
        DocumentSearch search;
        search.resetArrayAndFilter({ makeDocument("Invoice"), makeDocument("Letter") }, {});
        QCOMPARE(searchTitles(search, QStringLiteral("invoice")), QStringList { "Invoice" });
        const QString previous = search.predicate().description();
        QCOMPARE(searchTitles(search, QStringLiteral(" ")), QStringList({ "Invoice", "Letter" }));
        QVERIFY(search.filterPredicate().isNull());
        QCOMPARE(search.predicate().description(), previous);
    }

    void folding_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("found");
        // clang-format off
        QTest::newRow("umlaut ignored")              << "Müller GmbH"            << "Muller"       << true;
        QTest::newRow("case ignored")                << "MÜLLER"                 << "müller"       << true;
        QTest::newRow("decomposed stored")           << "Mu\u0308ller"           << "Müller"       << true;
        QTest::newRow("sharp s as ss")               << "Straße 5"               << "STRASSE"      << true;
        QTest::newRow("capital sharp s")             << "STRAẞE"                 << "straße"       << true;
        QTest::newRow("ss finds sharp s")            << "Grüße"                  << "grusse"       << true;
        QTest::newRow("ae is no ash")                << "Ærø"                    << "aero"         << false;
        QTest::newRow("ash case")                    << "Ærø"                    << "æR"           << true;
        QTest::newRow("ring above")                  << "Ångström"               << "angstrom"     << true;
        QTest::newRow("dotted capital I")            << "İstanbul"               << "istanbul"     << true;
        QTest::newRow("dotless i stays")             << "ılık"                   << "ilik"         << false;
        QTest::newRow("ligature from PDF text")      << "Deﬁnition"              << "definition"   << true;
        QTest::newRow("accents typed")               << "Creme brulee"           << "crème brûlée" << true;
        QTest::newRow("substring")                   << "Jahresabschluss"        << "abschl"       << true;
        QTest::newRow("not there")                   << "Rechnung"               << "Quittung"     << false;
        QTest::newRow("only a mark matches nothing") << "Café"                   << "\u0301"       << false;
        QTest::newRow("date with dots")              << "vom 12.03.2024 bezahlt" << "12.03.2024"   << true;
        QTest::newRow("date pieces in wrong order")  << "2024 03 12"             << "12.03"        << false;
        QTest::newRow("tab kept in word")            << "a\tb"                   << "a\tb"         << true;
        // clang-format on
    }
    void folding()
    {
        QFETCH(QString, stored);
        QFETCH(QString, typed);
        QFETCH(bool, found);
        QCOMPARE(TextFolding::containsCD(stored, typed), found);
        // Through the whole filter, in the content and in the title, via index and reference.
        DocumentSearch search;
        const QList<DocumentPtr> documents
            = { makeDocument("content", stored), makeDocument(stored), makeDocument("x") };
        search.resetArrayAndFilter(documents, {});
        const QStringList hits = searchTitles(search, typed);
        QCOMPARE(hits, referenceTitles(documents, search.predicate()));
        QCOMPARE(hits.size(), found ? 2 : 0);
    }

    void nilFieldsNeverMatch()
    {
        DocumentPtr empty = QuillarcDocument::create();
        for (int field :
            { QuillarcDocument::Title, QuillarcDocument::Name, QuillarcDocument::Comment, QuillarcDocument::Note,
                QuillarcDocument::Extension, QuillarcDocument::SlipNumber, QuillarcDocument::ContentString,
                QuillarcDocument::Tags, QuillarcDocument::FileDate, QuillarcDocument::FileKind })
            empty->setField(field, Value());
        DocumentPtr number = makeDocument(QString());
        number->setField(QuillarcDocument::Title, Value::integer(42));
        DocumentSearch search;
        const QList<DocumentPtr> documents = { empty, number };
        search.resetArrayAndFilter(documents, {});
        for (const char* text : { "nil", "42", "a", "-" }) {
            QCOMPARE(searchTitles(search, QString::fromUtf8(text)), QStringList());
            QCOMPARE(referenceTitles(documents, search.predicate()), QStringList());
        }
        search.setSearchText(QString());
        search.setFilterKind(true);
        search.setFileKind(QStringLiteral("*"));
        search.searchDocuments();
        // "*" takes the empty kind of a new document, but never a nil kind.
        QCOMPARE(search.arrangedObjects(), QList<DocumentPtr> { number });
    }

    void phraseOnlyInTheNote()
    {
        DocumentPtr inNote = makeDocument("note phrase");
        inNote->setField(QuillarcDocument::Note, Value::string("Müller Rechnung"));
        DocumentPtr wordsInNote = makeDocument("note words apart");
        wordsInNote->setField(QuillarcDocument::Note, Value::string("Rechnung an Müller"));
        const QList<DocumentPtr> documents = { inNote, wordsInNote, makeDocument("Müller", "eine Rechnung") };
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        QCOMPARE(searchTitles(search, QStringLiteral("muller  rechnung")), QStringList({ "Müller", "note phrase" }));
        QCOMPARE(referenceTitles(documents, search.predicate()), QStringList({ "Müller", "note phrase" }));
    }

    void periodBounds_data()
    {
        QTest::addColumn<double>("fileDate");
        QTest::addColumn<bool>("inside");
        // clang-format off
        QTest::newRow("day before, last second") << berlin(2024, 3, 9, 23, 59, 59)       << false;
        QTest::newRow("midnight")                << berlin(2024, 3, 10, 0, 0, 0)         << true;
        QTest::newRow("noon")                    << berlin(2024, 3, 10, 12, 0, 0)        << true;
        QTest::newRow("23:59:59")                << berlin(2024, 3, 10, 23, 59, 59)      << true;
        QTest::newRow("23:59:59.5 is outside")   << berlin(2024, 3, 10, 23, 59, 59, 500) << false;
        QTest::newRow("next midnight")           << berlin(2024, 3, 11, 0, 0, 0)         << false;
        // clang-format on
    }
    void periodBounds()
    {
        QFETCH(double, fileDate);
        QFETCH(bool, inside);
        DocumentPtr document = makeDocument("d");
        document->setField(QuillarcDocument::FileDate, Value::date(fileDate));
        DocumentSearch search;
        search.resetArrayAndFilter({ document }, {});
        search.setFilterPeriod(true);
        // Any moment of the day stands for the whole day.
        search.setStartDate(QDateTime(QDate(2024, 3, 10), QTime(15, 30)));
        search.setEndDate(QDateTime(QDate(2024, 3, 10), QTime(8, 10, 5, 250)));
        search.searchDocuments();
        QCOMPARE(search.arrangedObjects().size(), inside ? 1 : 0);
        QCOMPARE(search.predicate().evaluate(*document), inside);
        QCOMPARE(search.predicate().description(),
            QStringLiteral("fileDate >= 2024-03-10T00:00:00 AND fileDate <= 2024-03-10T23:59:59"));
    }

    void kindWildcards_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QStringList>("hits");
        // clang-format off
        QTest::newRow("exact")          << "PDF document" << QStringList { "PDF document" };
        QTest::newRow("question mark")  << "P?G image"    << QStringList { "PNG image" };
        QTest::newRow("star")           << "*image"       << QStringList { "JPEG image", "PNG image" };
        QTest::newRow("case-sensitive") << "pdf*"         << QStringList { "pdf document" };
        QTest::newRow("any kind")       << "*"
            << QStringList { "JPEG image", "PDF document", "PNG image", "a*b", "pdf document" };
        QTest::newRow("whole value")    << "PDF"          << QStringList {};
        QTest::newRow("escaped star")   << "a\\*b"        << QStringList { "a*b" };
        // clang-format on
    }
    void kindWildcards()
    {
        QFETCH(QString, pattern);
        QFETCH(QStringList, hits);
        QList<DocumentPtr> documents = { makeDocument("none") };
        documents[0]->setField(QuillarcDocument::FileKind, Value());
        for (const char* kind : { "PDF document", "PNG image", "JPEG image", "pdf document", "a*b" }) {
            documents.append(makeDocument(QString::fromUtf8(kind)));
            documents.last()->setField(QuillarcDocument::FileKind, Value::string(QString::fromUtf8(kind)));
        }
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        search.setFilterKind(true);
        search.setFileKind(pattern);
        search.searchDocuments();
        QCOMPARE(titles(search.arrangedObjects()), hits);
        QCOMPARE(referenceTitles(documents, search.predicate()), hits);
    }

    void resetTakesThePeriodFromTheDocuments()
    {
        const QList<DocumentPtr> documents = { makeDocument("late"), makeDocument("undated"), makeDocument("early") };
        documents[0]->setField(QuillarcDocument::FileDate, Value::date(berlin(2023, 7, 1, 9, 0, 0)));
        documents[1]->setField(QuillarcDocument::FileDate, Value());
        documents[2]->setField(QuillarcDocument::FileDate, Value::date(berlin(2020, 1, 5, 10, 0, 0)));
        DocumentSearch search;
        search.setSearchText(QStringLiteral("x"));
        search.setFilterKind(true);
        search.setFilterPeriod(true);
        search.searchDocuments();
        search.resetArrayAndFilter(documents, {});
        QVERIFY(!search.filterKind());
        QVERIFY(!search.filterPeriod());
        QVERIFY(search.predicate().isNull());
        QVERIFY(search.filterPredicate().isNull());
        QCOMPARE(search.searchText(), QString());
        QCOMPARE(Clock::fromDateTime(search.startDate()), documents[2]->fileDate());
        QCOMPARE(Clock::fromDateTime(search.endDate()), documents[0]->fileDate());
        QCOMPARE(search.arrangedObjects().size(), 3);

        search.resetArrayAndFilter({}, {});
        QVERIFY(search.startDate().isNull());
        QVERIFY(search.endDate().isNull());
    }

    void editedDocumentIsFoundByItsNewText()
    {
        const QList<DocumentPtr> documents = { makeDocument("Rechnung"), makeDocument("Quittung") };
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        QCOMPARE(searchTitles(search, QStringLiteral("quittung")), QStringList { "Quittung" });
        documents[1]->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Mahnung")));
        search.refreshDocument(documents[1]);
        QCOMPARE(titles(search.arrangedObjects()), QStringList());
        QCOMPARE(searchTitles(search, QStringLiteral("mahnung")), QStringList { "Mahnung" });
        QCOMPARE(searchTitles(search, QString()), QStringList({ "Mahnung", "Rechnung" }));
    }

    /// A part of the index that fails on its worker thread (here by a thrown
    /// exception, in life for want of memory) is an error the caller is
    /// given, never the end of the process; the search works again after it.
    void aFailingWorkerIsReported_data()
    {
        QTest::addColumn<QString>("stage");
        QTest::newRow("building") << "build";
        QTest::newRow("searching") << "search";
    }
    void aFailingWorkerIsReported()
    {
        QFETCH(QString, stage);
        QList<DocumentPtr> documents;
        for (int i = 0; i < 10000; ++i)
            documents.append(makeDocument(QStringLiteral("Rechnung %1").arg(i), i % 2 ? "Quittung" : "Brief"));
        DocumentSearch search;
        std::atomic<bool> failing { true };
        const auto probe = [&failing](int part) {
            // The second part runs on a worker thread, not the caller's.
            if (part == 1 && failing.load())
                throw std::bad_alloc();
        };
        if (stage == QLatin1String("build")) {
            search.index().setPartProbe(probe);
            QVERIFY(!search.resetArrayAndFilter(documents, {}));
            QCOMPARE(search.index().statistics().segments, 0);
        } else {
            QVERIFY(search.resetArrayAndFilter(documents, {}));
            search.index().setPartProbe(probe);
            search.setSearchText(QStringLiteral("quittung"));
            QVERIFY(!search.searchDocuments());
        }
        QVERIFY(search.errorString().contains(QLatin1String("bad_alloc")));
        QVERIFY(search.arrangedObjects().isEmpty());

        failing = false;
        QVERIFY(search.resetArrayAndFilter(documents, {}));
        QCOMPARE(searchTitles(search, QStringLiteral("quittung")).size(), 5000);
        QVERIFY(search.errorString().isEmpty());
    }

    /// The index must give exactly what evaluating the predicate on every
    /// document gives, across segments, the tail, edits and removals.
    void indexAgreesWithEvaluation()
    {
        static const char* const words[] = { "Rechnung", "Müller", "Straße", "invoice", "Ærø", "İzmir", "12.03.2024",
            "e-mail", "GmbH", "&", "Café", "Muster", "tax", "ﬁnal", "2024", "Nr.", "Gebühr" };
        QRandomGenerator random(7);
        auto sentence = [&](int length) {
            QStringList parts;
            for (int i = 0; i < length; ++i)
                parts.append(QString::fromUtf8(words[random.bounded(int(std::size(words)))]));
            return parts.join(random.bounded(4) ? QStringLiteral(" ") : QStringLiteral(", "));
        };
        QList<DocumentPtr> documents;
        for (int i = 0; i < 3000; ++i) {
            // A few documents hold a rare word, so that later words of a query
            // are checked in the few documents left.
            const QString rare = i % 600 == 5 ? QStringLiteral(" Seltenheit") : QString();
            DocumentPtr document = makeDocument(QString::number(i), sentence(random.bounded(12)) + rare);
            document->setField(QuillarcDocument::Comment, Value::string(sentence(2)));
            document->setField(QuillarcDocument::Note, random.bounded(3) ? Value() : Value::string(sentence(3)));
            document->setField(QuillarcDocument::Tags, Value::array({ Value::string(sentence(1)) }));
            documents.append(document);
        }
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        QCOMPARE(search.index().statistics().segments, 2);
        const QStringList queries = { "rechnung", "MULLER", "strasse", "izmir", "12.03", "03.2024", "mail", "-", "&",
            "cafe", "final", "nr. 2024", "gmbh muster", "ae", "æ", "r", "2024 tax", ", ", "xyz", "seltenheit rechnung",
            "seltenheit 12.03 r", "seltenheit müller", "nr", "mu", "ae rechnung", "uh 12", "quittung" };
        for (const QString& query : queries) {
            const QStringList hits = searchTitles(search, query);
            QCOMPARE(hits, referenceTitles(documents, search.predicate()));
        }

        // Intake into the tail, an edit and a removal. Enough to fill the tail
        // once, so one indexed and one scanned tail take part.
        SearchIndex& index = search.index();
        for (int i = 0; i < int(SearchIndex::tailCapacity) + 50; ++i) {
            documents.append(makeDocument(QStringLiteral("new %1").arg(i), sentence(6)));
            index.addDocument(documents.last());
        }
        documents[10]->setField(QuillarcDocument::ContentString, Value::string(QStringLiteral("Quittung Ærø")));
        index.refreshDocument(documents[10]);
        index.removeDocument(documents.takeAt(11));
        QCOMPARE(index.statistics().segments, 4);
        for (const QString& query : queries) {
            const SearchPredicate predicate = DocumentSearch::textPredicate(query, query);
            const SearchIndex::SlotSet found = index.filter(predicate);
            QList<DocumentPtr> foundDocuments;
            for (quint32 slot = 0; slot < found.size(); ++slot) {
                if (found.contains(slot))
                    foundDocuments.append(index.documentAt(slot));
            }
            QCOMPARE(titles(foundDocuments), referenceTitles(documents, predicate));
        }
    }
};

int main(int argc, char** argv)
{
    // Day bounds depend on the zone: fix it before Qt reads it.
    qputenv("TZ", "Europe/Berlin");
    tzset();
    TestSearch test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_search.moc"
