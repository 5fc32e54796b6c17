#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "output/DocumentOrdering.h"
#include "output/DocumentSearch.h"

#include <QTest>

namespace {
const QLocale german(QLocale::German, QLocale::Germany);

/// Documents titled by the texts, whose field sorted by `sortOrder` holds them: as text, as a one-tag list, as a
/// date (the number before a '/') or as a size ("9" an integer, "10.5" a double, "100f" a 32-bit real).
/// "nil" leaves the field nil.
QList<DocumentPtr> documentsFor(qint64 sortOrder, const QStringList& texts)
{
    const QHash<qint64, int> fields
        = { { 0, QuillarcDocument::FileDate }, { 4, QuillarcDocument::SlipNumber }, { 5, QuillarcDocument::Title },
              { 6, QuillarcDocument::Tags }, { 7, QuillarcDocument::FileKind }, { 8, QuillarcDocument::FileSize } };
    const int field = fields.value(sortOrder);
    QList<DocumentPtr> documents;
    for (const QString& text : texts) {
        DocumentPtr document = QuillarcDocument::create();
        document->setField(QuillarcDocument::Title, Value::string(text));
        Value value = Value::string(text);
        if (text == QLatin1String("nil"))
            value = Value();
        else if (field == QuillarcDocument::Tags)
            value = Value::array({ value });
        else if (field == QuillarcDocument::FileDate)
            value = Value::date(text.section(QLatin1Char('/'), 0, 0).toDouble());
        else if (field == QuillarcDocument::FileSize)
            value = text.endsWith(QLatin1Char('f')) ? Value::real(text.chopped(1).toDouble(), true)
                : text.contains(QLatin1Char('.'))   ? Value::real(text.toDouble())
                                                    : Value::integer(text.toLongLong());
        document->setField(field, value);
        documents.append(document);
    }
    return documents;
}

QString titles(const QList<DocumentPtr>& documents)
{
    QStringList texts;
    for (const DocumentPtr& document : documents)
        texts.append(document->field(QuillarcDocument::Title).isNil() ? QStringLiteral("nil") : document->title());
    return texts.join(QLatin1Char(' '));
}
} // namespace

class TestOrdering : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(german); }

    void sortOrderTable_data()
    {
        QTest::addColumn<qint64>("sortOrder");
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("localized");
        // clang-format off
        QTest::newRow("0")  << qint64(0)  << "fileDate"         << false;
        QTest::newRow("1")  << qint64(1)  << "dateAdded"        << false;
        QTest::newRow("2")  << qint64(2)  << "creationDate"     << false;
        QTest::newRow("3")  << qint64(3)  << "modificationDate" << false;
        QTest::newRow("4")  << qint64(4)  << "slipNumber"       << true;
        QTest::newRow("5")  << qint64(5)  << "title"            << true;
        QTest::newRow("6")  << qint64(6)  << "tagsAsString"     << false;
        QTest::newRow("7")  << qint64(7)  << "fileKind"         << false;
        QTest::newRow("8")  << qint64(8)  << "fileSize"         << false;
        QTest::newRow("9")  << qint64(9)  << "dateAdded"        << false;
        QTest::newRow("-1") << qint64(-1) << "dateAdded"        << false;
        // clang-format on
    }
    void sortOrderTable()
    {
        QFETCH(qint64, sortOrder);
        QFETCH(QString, key);
        QFETCH(bool, localized);
        for (const qint64 sortKind : { 0, 1, 7 }) {
            const SortDescriptor descriptor = DocumentOrdering::sortDescriptorFor(sortOrder, sortKind);
            QCOMPARE(descriptor.key, key);
            QCOMPARE(descriptor.localizedStandard, localized);
            QCOMPARE(descriptor.ascending, sortKind != 0);
        }
    }

    void defaultsListNewestFirst()
    {
        const SortDescriptor descriptor = DocumentOrdering::applySortDescriptor(*QuillarcPreferences::create());
        QCOMPARE(descriptor.key, QStringLiteral("fileDate"));
        QVERIFY(!descriptor.ascending);
    }

    void comparisons_data()
    {
        QTest::addColumn<int>("sortOrder");
        QTest::addColumn<bool>("ascending");
        QTest::addColumn<QString>("values");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("dates newest first, nil last") << 0 << false << "100 300 nil"         << "300 100 nil";
        QTest::newRow("equal dates keep their order") << 0 << false << "5/a 5/b 5/c"         << "5/a 5/b 5/c";
        QTest::newRow("slip numbers by value")        << 4 << true  << "100 2 10"            << "2 10 100";
        QTest::newRow("slip numbers descending")      << 4 << false << "100 2 10"            << "100 10 2";
        QTest::newRow("numbers inside slip text")     << 4 << true  << "RE-10 re-9 RE-100"   << "re-9 RE-10 RE-100";
        QTest::newRow("titles ignore case")           << 5 << true  << "banana Apple cherry" << "Apple banana cherry";
        QTest::newRow("nil title first")              << 5 << true  << "b nil a"             << "nil a b";
        QTest::newRow("umlaut by locale")             << 5 << true  << "Zahl Äpfel Birne"    << "Äpfel Birne Zahl";
        QTest::newRow("tags plain")                   << 6 << true  << "b B 10 2"            << "10 2 B b";
        QTest::newRow("kind plain")                   << 7 << true  << "b B a 10 2"          << "10 2 B a b";
        QTest::newRow("sizes by value across widths") << 8 << true  << "10.5 9 100f"         << "9 10.5 100f";
        // clang-format on
    }
    void comparisons()
    {
        QFETCH(int, sortOrder);
        QFETCH(bool, ascending);
        QFETCH(QString, values);
        QFETCH(QString, expected);
        const SortDescriptor descriptor = DocumentOrdering::sortDescriptorFor(sortOrder, ascending);
        const QList<DocumentPtr> documents = documentsFor(sortOrder, values.split(QLatin1Char(' ')));
        QCOMPARE(titles(DocumentOrdering::sorted(documents, descriptor)), expected);
        if (sortOrder == 4) {
            // Numbers compare by value under any locale.
            QLocale::setDefault(QLocale::c());
            const QString underC = titles(DocumentOrdering::sorted(documents, descriptor));
            QLocale::setDefault(german);
            QCOMPARE(underC, expected);
        }
    }

    void searchListsHitsInTheSortOrder()
    {
        const QList<DocumentPtr> documents = documentsFor(4, { "10", "2", "100", "7" });
        for (const DocumentPtr& document : documents)
            document->setField(
                QuillarcDocument::Title, Value::string(QStringLiteral("Invoice ") + document->slipNumber()));
        documents[3]->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Letter")));
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        search.setSortDescriptor(DocumentOrdering::sortDescriptorFor(4, 1));
        search.setSearchText(QStringLiteral("invoice"));
        search.searchDocuments();
        QCOMPARE(titles(search.arrangedObjects()), QStringLiteral("Invoice 2 Invoice 10 Invoice 100"));
        search.setSortDescriptor(DocumentOrdering::sortDescriptorFor(4, 0));
        QCOMPARE(titles(search.arrangedObjects()), QStringLiteral("Invoice 100 Invoice 10 Invoice 2"));
    }

    void rowMoves_data()
    {
        using Rows = QList<qsizetype>;
        QTest::addColumn<Rows>("indexes");
        QTest::addColumn<int>("dropRow");
        QTest::addColumn<QList<int>>("result");
        QTest::addColumn<Rows>("destination");
        // clang-format off
        QTest::newRow("rows 1 and 2 to row 4") << Rows { 1, 2 } << 4 << QList<int> { 0, 3, 1, 2, 4 } << Rows { 2, 3 };
        QTest::newRow("up to the top")         << Rows { 3 }    << 0 << QList<int> { 3, 0, 1, 2, 4 } << Rows { 0 };
        QTest::newRow("to the end")            << Rows { 0 }    << 5 << QList<int> { 1, 2, 3, 4, 0 } << Rows { 4 };
        QTest::newRow("from both sides")       << Rows { 4, 0 } << 2 << QList<int> { 1, 0, 4, 2, 3 } << Rows { 1, 2 };
        QTest::newRow("onto itself")           << Rows { 2 }    << 2 << QList<int> { 0, 1, 2, 3, 4 } << Rows { 2 };
        // clang-format on
    }
    void rowMoves()
    {
        QFETCH(QList<qsizetype>, indexes);
        QFETCH(int, dropRow);
        QFETCH(QList<int>, result);
        QFETCH(QList<qsizetype>, destination);
        QList<int> rows = { 0, 1, 2, 3, 4 };
        QCOMPARE(DocumentOrdering::moveObjectsInArrangedObjectsFromIndexes(rows, indexes, dropRow), destination);
        QCOMPARE(rows, result);
    }
};

QTEST_GUILESS_MAIN(TestOrdering)
#include "tst_ordering.moc"
