#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/DocumentSearch.h"
#include "output/SearchIndex.h"
#include "output/TextFolding.h"

#include <QRandomGenerator>
#include <QTest>
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
    for (const DocumentPtr& document : documents) {
        if (predicate.evaluate(*document))
            hits.append(document);
    }
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
        QTest::newRow("doubled inside, single outside") << " Müller   Rechnung "
                                                        << "Müller Rechnung";
        QTest::newRow("one space") << " "
                                   << "";
        QTest::newRow("three spaces") << "   "
                                      << "";
        QTest::newRow("only one leading space removed") << "  a"
                                                        << "a";
        QTest::newRow("tabs kept") << "\ta\tb "
                                   << "\ta\tb";
        QTest::newRow("tab before space kept") << "\t a"
                                               << "\t a";
        QTest::newRow("no-break space kept") << "\u00a0a "
                                             << "\u00a0a";
        QTest::newRow("plain") << "Invoice"
                               << "Invoice";
    }
    void normalisation()
    {
        QFETCH(QString, text);
        QFETCH(QString, normalized);
        QCOMPARE(DocumentSearch::normalizedSearchText(text), normalized);
    }

    void oneWordPredicateHasTheTextForm()
    {
        DocumentSearch search;
        search.resetArrayAndFilter({ makeDocument("a") }, {});
        search.setSearchText(QStringLiteral(" Müller "));
        search.searchDocuments();
        QCOMPARE(search.predicate().predicateFormat(), textForm);
        const ValueList arguments = search.predicate().arguments();
        QCOMPARE(arguments.size(), 8);
        for (const Value& argument : arguments)
            QCOMPARE(argument.toString(), QStringLiteral("Müller"));
        QVERIFY(
            search.predicate().description().startsWith(QStringLiteral("(tagsAsString contains[cd] \"Müller\") OR")));
    }

    void severalWordsGiveOneGroupEachWithTheNoteAsPhrase()
    {
        DocumentSearch search;
        search.resetArrayAndFilter({ makeDocument("a") }, {});
        search.setSearchText(QStringLiteral(" Müller  Rechnung "));
        search.setFilterPeriod(true);
        search.setFilterKind(true);
        search.setFileKind(QStringLiteral("PDF*"));
        search.searchDocuments();
        const SearchPredicate& predicate = search.predicate();
        QCOMPARE(predicate.predicateFormat(),
            QStringLiteral("(fileDate >= %@ AND fileDate <= %@) AND (fileKind like %@) AND (") + textForm
                + QStringLiteral(") AND (") + textForm + QLatin1Char(')'));
        QCOMPARE(predicate.operands().size(), size_t(4));
        const QStringList expectedWords = { QStringLiteral("Müller"), QStringLiteral("Rechnung") };
        for (int group = 0; group < 2; ++group) {
            const ValueList arguments = predicate.operands()[size_t(group) + 2].arguments();
            for (int field = 0; field < 8; ++field) {
                const QString expected = field == 4 ? QStringLiteral("Müller Rechnung") : expectedWords[group];
                QCOMPARE(arguments[field].toString(), expected);
            }
        }
    }

    void onlyThePeriodGivesThePeriodPredicateAlone()
    {
        DocumentSearch search;
        search.resetArrayAndFilter({ makeDocument("a") }, {});
        search.setFilterPeriod(true);
        search.searchDocuments();
        QCOMPARE(search.predicate().predicateFormat(), QStringLiteral("fileDate >= %@ AND fileDate <= %@"));
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
        QTest::newRow("umlaut ignored") << "Müller GmbH"
                                        << "Muller" << true;
        QTest::newRow("case ignored") << "MÜLLER"
                                      << "müller" << true;
        QTest::newRow("decomposed stored") << "Mu\u0308ller"
                                           << "Müller" << true;
        QTest::newRow("sharp s as ss") << "Straße 5"
                                       << "STRASSE" << true;
        QTest::newRow("capital sharp s") << "STRAẞE"
                                         << "straße" << true;
        QTest::newRow("ss finds sharp s") << "Grüße"
                                          << "grusse" << true;
        QTest::newRow("ae is no ash") << "Ærø"
                                      << "aero" << false;
        QTest::newRow("ash case") << "Ærø"
                                  << "æR" << true;
        QTest::newRow("ring above") << "Ångström"
                                    << "angstrom" << true;
        QTest::newRow("dotted capital I") << "İstanbul"
                                          << "istanbul" << true;
        QTest::newRow("dotless i stays") << "ılık"
                                         << "ilik" << false;
        QTest::newRow("ligature from PDF text") << "Deﬁnition"
                                                << "definition" << true;
        QTest::newRow("accents typed") << "Creme brulee"
                                       << "crème brûlée" << true;
        QTest::newRow("substring") << "Jahresabschluss"
                                   << "abschl" << true;
        QTest::newRow("not there") << "Rechnung"
                                   << "Quittung" << false;
        QTest::newRow("only a mark matches nothing") << "Café"
                                                     << "\u0301" << false;
        QTest::newRow("date with dots") << "vom 12.03.2024 bezahlt"
                                        << "12.03.2024" << true;
        QTest::newRow("date pieces in wrong order") << "2024 03 12"
                                                    << "12.03" << false;
        QTest::newRow("tab kept in word") << "a\tb"
                                          << "a\tb" << true;
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
        for (const QString& text :
            { QStringLiteral("nil"), QStringLiteral("42"), QStringLiteral("a"), QStringLiteral("-") }) {
            search.setSearchText(text);
            search.searchDocuments();
            QVERIFY2(search.arrangedObjects().isEmpty(), qPrintable(text));
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
        DocumentPtr spread = makeDocument("Müller", "eine Rechnung");
        const QList<DocumentPtr> documents = { inNote, wordsInNote, spread };
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        QCOMPARE(searchTitles(search, QStringLiteral("muller  rechnung")), QStringList({ "Müller", "note phrase" }));
        QCOMPARE(referenceTitles(documents, search.predicate()), QStringList({ "Müller", "note phrase" }));
    }

    void periodBounds_data()
    {
        QTest::addColumn<double>("fileDate");
        QTest::addColumn<bool>("inside");
        QTest::newRow("day before, last second") << berlin(2024, 3, 9, 23, 59, 59) << false;
        QTest::newRow("midnight") << berlin(2024, 3, 10, 0, 0, 0) << true;
        QTest::newRow("noon") << berlin(2024, 3, 10, 12, 0, 0) << true;
        QTest::newRow("23:59:59") << berlin(2024, 3, 10, 23, 59, 59) << true;
        QTest::newRow("23:59:59.5 is outside") << berlin(2024, 3, 10, 23, 59, 59, 500) << false;
        QTest::newRow("next midnight") << berlin(2024, 3, 11, 0, 0, 0) << false;
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
        QTest::newRow("exact") << "PDF document" << QStringList { "PDF document" };
        QTest::newRow("question mark") << "P?G image" << QStringList { "PNG image" };
        QTest::newRow("star") << "*image" << QStringList { "JPEG image", "PNG image" };
        QTest::newRow("case-sensitive") << "pdf*" << QStringList { "pdf document" };
        QTest::newRow("everything with a kind")
            << "*" << QStringList { "JPEG image", "PDF document", "PNG image", "pdf document" };
        QTest::newRow("whole value") << "PDF" << QStringList {};
        QTest::newRow("escaped star") << "a\\*b" << QStringList { "a*b" };
    }
    void kindWildcards()
    {
        QFETCH(QString, pattern);
        QFETCH(QStringList, hits);
        QList<DocumentPtr> documents;
        for (const char* kind : { "PDF document", "PNG image", "JPEG image", "pdf document", "a*b" }) {
            DocumentPtr document = makeDocument(QString::fromUtf8(kind));
            document->setField(QuillarcDocument::FileKind, Value::string(QString::fromUtf8(kind)));
            documents.append(document);
        }
        DocumentPtr noKind = makeDocument("none");
        noKind->setField(QuillarcDocument::FileKind, Value());
        documents.append(noKind);
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        search.setFilterKind(true);
        search.setFileKind(pattern);
        search.searchDocuments();
        QStringList expected = hits;
        if (pattern == QLatin1String("*"))
            expected.append(QStringLiteral("a*b"));
        expected.sort();
        QCOMPARE(titles(search.arrangedObjects()), expected);
        QCOMPARE(referenceTitles(documents, search.predicate()), expected);
    }

    void resetTakesThePeriodFromTheDocuments()
    {
        DocumentPtr early = makeDocument("early");
        early->setField(QuillarcDocument::FileDate, Value::date(berlin(2020, 1, 5, 10, 0, 0)));
        DocumentPtr late = makeDocument("late");
        late->setField(QuillarcDocument::FileDate, Value::date(berlin(2023, 7, 1, 9, 0, 0)));
        DocumentPtr undated = makeDocument("undated");
        undated->setField(QuillarcDocument::FileDate, Value());
        DocumentSearch search;
        search.setSearchText(QStringLiteral("x"));
        search.setFilterKind(true);
        search.setFilterPeriod(true);
        search.searchDocuments();
        search.resetArrayAndFilter({ late, undated, early }, {});
        QVERIFY(!search.filterKind());
        QVERIFY(!search.filterPeriod());
        QVERIFY(search.predicate().isNull());
        QVERIFY(search.filterPredicate().isNull());
        QCOMPARE(search.searchText(), QString());
        QCOMPARE(Clock::fromDateTime(search.startDate()), early->fileDate());
        QCOMPARE(Clock::fromDateTime(search.endDate()), late->fileDate());
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
            "seltenheit 12.03 r", "seltenheit müller", "nr", "mu", "ae rechnung", "uh 12" };
        auto check = [&](const QList<DocumentPtr>& expectedSet) {
            for (const QString& query : queries) {
                search.setSearchText(query);
                search.searchDocuments();
                QCOMPARE(titles(search.arrangedObjects()), referenceTitles(expectedSet, search.predicate()));
            }
        };
        check(documents);

        // Intake into the tail, an edit and a removal.
        SearchIndex& index = search.index();
        // Enough to fill the tail once, so one indexed and one scanned tail take part.
        for (int i = 0; i < int(SearchIndex::tailCapacity) + 50; ++i) {
            DocumentPtr document = makeDocument(QStringLiteral("new %1").arg(i), sentence(6));
            index.addDocument(document);
            documents.append(document);
        }
        documents[10]->setField(QuillarcDocument::ContentString, Value::string(QStringLiteral("Quittung Ærø")));
        index.refreshDocument(documents[10]);
        index.removeDocument(documents[11]);
        QCOMPARE(index.statistics().segments, 4);
        SearchPredicate predicate
            = DocumentSearch::textPredicate(QStringLiteral("quittung"), QStringLiteral("quittung"));
        const SearchIndex::SlotSet hits = index.filter(predicate);
        QCOMPARE(hits.count(), 1u);
        QVERIFY(hits.contains(quint32(index.slotOf(documents[10].get()))));
        QList<DocumentPtr> live = documents;
        live.removeAt(11);
        for (const QString& query : queries) {
            const SearchPredicate wordPredicate = DocumentSearch::textPredicate(query, query);
            const SearchIndex::SlotSet found = index.filter(wordPredicate);
            QList<DocumentPtr> foundDocuments;
            for (quint32 slot = 0; slot < found.size(); ++slot) {
                if (found.contains(slot))
                    foundDocuments.append(index.documentAt(slot));
            }
            QCOMPARE(titles(foundDocuments), referenceTitles(live, wordPredicate));
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
