// Where a search's words occur in a hit: the field chosen, the excerpt cut
// around the first occurrence and the marked ranges, for the words exactly
// as the filter tests them.
#include "model/QuillarcDocument.h"
#include "output/DocumentSearch.h"
#include "output/SearchExcerpt.h"
#include "output/TextFolding.h"
#include "text/KVLocalizationDictionary.h"

#include <QTest>

namespace {

/// The excerpt with each mark shown in brackets, e.g. "… the [Müller] invoice".
QString bracketed(const SearchExcerpt::Match& match)
{
    QString text = match.excerpt;
    for (auto it = match.marks.crbegin(); it != match.marks.crend(); ++it) {
        text.insert(it->start + it->length, QLatin1Char(']'));
        text.insert(it->start, QLatin1Char('['));
    }
    return text;
}

DocumentPtr makeDocument(const QMap<int, QString>& fields)
{
    DocumentPtr document = QuillarcDocument::create();
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        document->setField(it.key(), Value::string(it.value()));
    return document;
}

} // namespace

class TestSearchExcerpt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void foldMappedPointsBackToTheSource_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("needle");
        QTest::addColumn<QString>("marked");
        QTest::newRow("umlaut") << "Herr Müller zahlt" << "muller" << "Müller";
        QTest::newRow("sharp s") << "Hauptstraße 5" << "strasse" << "straße";
        QTest::newRow("half a sharp s") << "Maß" << "as" << "aß";
        QTest::newRow("decomposed accent") << QStringLiteral("Cafe\u0301 Paris") << "cafe" << QStringLiteral("Cafe\u0301");
        QTest::newRow("ligature") << QStringLiteral("O\uFB03ce") << "ffi" << QStringLiteral("\uFB03");
        QTest::newRow("outside the BMP") << QStringLiteral("x\U0001D400yz") << "yz" << "yz";
        QTest::newRow("capital I with dot") << QStringLiteral("\u0130stanbul") << "istanbul" << QStringLiteral("\u0130stanbul");
    }
    void foldMappedPointsBackToTheSource()
    {
        QFETCH(QString, text);
        QFETCH(QString, needle);
        QFETCH(QString, marked);
        std::vector<qsizetype> sources;
        QCOMPARE(TextFolding::foldMapped(text, sources), TextFolding::fold(text));
        const QList<SearchExcerpt::Mark> marks = SearchExcerpt::occurrences(text, { needle });
        QCOMPARE(marks.size(), 1);
        QCOMPARE(text.mid(marks.first().start, marks.first().length), marked);
    }

    void needlesAreTheFiltersWords_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QStringList>("needles");
        QTest::newRow("one word") << " Rechnung " << "title" << QStringList { "Rechnung" };
        QTest::newRow("words") << "a  b a" << "title" << QStringList { "a", "b" };
        QTest::newRow("note takes the phrase") << "a  b" << "note" << QStringList { "a b" };
        QTest::newRow("only spaces") << "    " << "title" << QStringList();
        QTest::newRow("tab is part of a word") << "a\tb" << "title" << QStringList { "a\tb" };
    }
    void needlesAreTheFiltersWords()
    {
        QFETCH(QString, search);
        QFETCH(QString, field);
        QTEST(SearchExcerpt::needlesForField(field, search), "needles");
    }

    void chosenFieldAndExcerpt_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("excerpt");
        // Title "Rechnung Müller", content mentions Müller and Miete, note "Miete Mai".
        QTest::newRow("earliest field on a tie") << "müller" << "title" << "Rechnung [Müller]";
        QTest::newRow("field with most words") << "muller miete" << "contentString"
                                               << "Ver[miete]r [Müller] fordert die [Miete].";
        QTest::newRow("phrase in the note") << "miete  mai" << "note" << "[Miete Mai]";
        QTest::newRow("nothing textual") << "" << "" << "";
        QTest::newRow("word nowhere") << "xylophon" << "" << "";
    }
    void chosenFieldAndExcerpt()
    {
        QFETCH(QString, search);
        const DocumentPtr document = makeDocument({ { QuillarcDocument::Title, "Rechnung Müller" },
            { QuillarcDocument::ContentString, "Vermieter Müller fordert die Miete." },
            { QuillarcDocument::Note, "Miete Mai" } });
        const SearchExcerpt::Match match = SearchExcerpt::match(*document, search);
        QTEST(match.fieldKey, "field");
        QTEST(bracketed(match), "excerpt");
    }

    void longFieldsAreCutAroundTheFirstMark()
    {
        const QString ellipsis = localizedString(QStringLiteral("PRINTOUT_LOCALIZED_ELLIPSES"));
        QString text;
        for (int i = 0; i < 200; ++i)
            text += QStringLiteral("Zeile %1 ohne Befund\n\t").arg(i);
        text += QStringLiteral("hier steht die Quellensteuer des Jahres");
        for (int i = 0; i < 200; ++i)
            text += QStringLiteral(" und weiter %1").arg(i);

        const SearchExcerpt::Match match
            = SearchExcerpt::excerpt(QStringLiteral("contentString"), text,
                SearchExcerpt::occurrences(text, { QStringLiteral("quellensteuer") }), 60);
        QVERIFY(match.excerpt.startsWith(ellipsis));
        QVERIFY(match.excerpt.endsWith(ellipsis));
        QVERIFY(!match.excerpt.contains(QLatin1Char('\n')) && !match.excerpt.contains(QLatin1Char('\t')));
        QVERIFY(!match.excerpt.contains(QStringLiteral("  ")));
        QVERIFY2(match.excerpt.size() <= 60 + 2 * ellipsis.size(), qPrintable(match.excerpt));
        QCOMPARE(match.marks.size(), 1);
        QCOMPARE(match.excerpt.mid(match.marks[0].start, match.marks[0].length), QStringLiteral("Quellensteuer"));
        // Cut between words: no word is broken at either end.
        const QString body = match.excerpt.mid(ellipsis.size(), match.excerpt.size() - 2 * ellipsis.size());
        QVERIFY2(text.contains(body), qPrintable(body));
        const qsizetype at = text.indexOf(body);
        QVERIFY(text.at(at - 1).isSpace() && text.at(at + body.size()).isSpace());
    }

    void hostileSearchTextsNeverBreakTheExcerpt_data()
    {
        QTest::addColumn<QString>("search");
        QTest::newRow("10,000 characters") << QString(10000, QLatin1Char('a'));
        QTest::newRow("10,000 short words") << QStringLiteral("a ").repeated(5000);
        QTest::newRow("regex and wildcards") << QStringLiteral(".*?[a-z]+\\ $^ (x|y) % _");
        QTest::newRow("lone high surrogate") << QString(QChar(0xD83D));
        QTest::newRow("lone low surrogate") << QStringLiteral("Rech") + QChar(0xDE00);
        QTest::newRow("marks only") << QStringLiteral("\u0301\u0308");
    }
    void hostileSearchTextsNeverBreakTheExcerpt()
    {
        QFETCH(QString, search);
        const DocumentPtr document = makeDocument({ { QuillarcDocument::Title, QStringLiteral("a.*?[a-z]+ \U0001F600") },
            { QuillarcDocument::ContentString, QString(300, QLatin1Char('a')) + QChar(0xD83D) } });
        const SearchExcerpt::Match match = SearchExcerpt::match(*document, search);
        for (const SearchExcerpt::Mark& mark : match.marks) {
            QVERIFY(mark.start >= 0 && mark.length > 0);
            QVERIFY(mark.start + mark.length <= match.excerpt.size());
        }
    }
};

QTEST_GUILESS_MAIN(TestSearchExcerpt)
#include "tst_searchexcerpt.moc"
