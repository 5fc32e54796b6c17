#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "output/DocumentOrdering.h"
#include "output/DocumentSearch.h"

#include <QTest>

namespace {
DocumentPtr documentWith(int field, const Value& value, const QString& title = QString())
{
    DocumentPtr document = QuillarcDocument::create();
    document->setField(field, value);
    if (!title.isNull())
        document->setField(QuillarcDocument::Title, Value::string(title));
    return document;
}

QStringList fieldTexts(const QList<DocumentPtr>& documents, int field)
{
    QStringList texts;
    for (const DocumentPtr& document : documents)
        texts.append(document->field(field).isNil() ? QStringLiteral("nil") : document->field(field).toString());
    return texts;
}

QList<DocumentPtr> withTexts(int field, const QStringList& texts)
{
    QList<DocumentPtr> documents;
    for (const QString& text : texts)
        documents.append(documentWith(field, text == QLatin1String("nil") ? Value() : Value::string(text)));
    return documents;
}
} // namespace

class TestOrdering : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }

    void sortOrderTable_data()
    {
        QTest::addColumn<qint64>("sortOrder");
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("localized");
        QTest::newRow("0") << qint64(0) << "fileDate" << false;
        QTest::newRow("1") << qint64(1) << "dateAdded" << false;
        QTest::newRow("2") << qint64(2) << "creationDate" << false;
        QTest::newRow("3") << qint64(3) << "modificationDate" << false;
        QTest::newRow("4") << qint64(4) << "slipNumber" << true;
        QTest::newRow("5") << qint64(5) << "title" << true;
        QTest::newRow("6") << qint64(6) << "tagsAsString" << false;
        QTest::newRow("7") << qint64(7) << "fileKind" << false;
        QTest::newRow("8") << qint64(8) << "fileSize" << false;
        QTest::newRow("9") << qint64(9) << "dateAdded" << false;
        QTest::newRow("-1") << qint64(-1) << "dateAdded" << false;
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
        auto preferences = QuillarcPreferences::create();
        const SortDescriptor descriptor = DocumentOrdering::applySortDescriptor(*preferences);
        QCOMPARE(descriptor.key, QStringLiteral("fileDate"));
        QVERIFY(!descriptor.ascending);
        const QList<DocumentPtr> documents = { documentWith(QuillarcDocument::FileDate, Value::date(100), "old"),
            documentWith(QuillarcDocument::FileDate, Value::date(300), "new"),
            documentWith(QuillarcDocument::FileDate, Value(), "undated") };
        QCOMPARE(fieldTexts(DocumentOrdering::sorted(documents, descriptor), QuillarcDocument::Title),
            QStringList({ "new", "old", "undated" }));
    }

    void comparisons_data()
    {
        QTest::addColumn<qint64>("sortOrder");
        QTest::addColumn<bool>("ascending");
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("slip numbers by value")
            << qint64(4) << true << QStringList { "100", "2", "10" } << QStringList { "2", "10", "100" };
        QTest::newRow("slip numbers descending")
            << qint64(4) << false << QStringList { "100", "2", "10" } << QStringList { "100", "10", "2" };
        QTest::newRow("numbers inside slip text") << qint64(4) << true << QStringList { "RE-10", "re-9", "RE-100" }
                                                  << QStringList { "re-9", "RE-10", "RE-100" };
        QTest::newRow("titles ignore case") << qint64(5) << true << QStringList { "banana", "Apple", "cherry" }
                                            << QStringList { "Apple", "banana", "cherry" };
        QTest::newRow("nil title first") << qint64(5) << true << QStringList { "b", "nil", "a" }
                                         << QStringList { "nil", "a", "b" };
        QTest::newRow("umlaut by locale") << qint64(5) << true << QStringList { "Zahl", "Äpfel", "Birne" }
                                          << QStringList { "Äpfel", "Birne", "Zahl" };
        QTest::newRow("kind plain") << qint64(7) << true << QStringList { "b", "B", "a", "10", "2" }
                                    << QStringList { "10", "2", "B", "a", "b" };
    }
    void comparisons()
    {
        QFETCH(qint64, sortOrder);
        QFETCH(bool, ascending);
        QFETCH(QStringList, values);
        QFETCH(QStringList, expected);
        const SortDescriptor descriptor = DocumentOrdering::sortDescriptorFor(sortOrder, ascending);
        const int field = descriptor.key == QLatin1String("slipNumber") ? QuillarcDocument::SlipNumber
            : descriptor.key == QLatin1String("title")                  ? QuillarcDocument::Title
                                                                        : QuillarcDocument::FileKind;
        QCOMPARE(fieldTexts(DocumentOrdering::sorted(withTexts(field, values), descriptor), field), expected);
    }

    void numbersByValueUnderTheCLocale()
    {
        QLocale::setDefault(QLocale::c());
        const QList<DocumentPtr> sorted = DocumentOrdering::sorted(
            withTexts(QuillarcDocument::SlipNumber, { "100", "2", "10" }), DocumentOrdering::sortDescriptorFor(4, 1));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(fieldTexts(sorted, QuillarcDocument::SlipNumber), QStringList({ "2", "10", "100" }));
    }

    void tagsSortByPlainComparison()
    {
        QList<DocumentPtr> documents;
        for (const char* tag : { "b", "B", "10", "2" }) {
            documents.append(documentWith(QuillarcDocument::Tags,
                Value::array({ Value::string(QString::fromUtf8(tag)) }), QString::fromUtf8(tag)));
        }
        QCOMPARE(fieldTexts(DocumentOrdering::sorted(documents, DocumentOrdering::sortDescriptorFor(6, 1)),
                     QuillarcDocument::Title),
            QStringList({ "10", "2", "B", "b" }));
    }

    void sizesByValueAcrossWidths()
    {
        const QList<DocumentPtr> documents = { documentWith(QuillarcDocument::FileSize, Value::real(10.5), "10.5"),
            documentWith(QuillarcDocument::FileSize, Value::integer(9), "9"),
            documentWith(QuillarcDocument::FileSize, Value::real(100, true), "100") };
        QCOMPARE(fieldTexts(DocumentOrdering::sorted(documents, DocumentOrdering::sortDescriptorFor(8, 1)),
                     QuillarcDocument::Title),
            QStringList({ "9", "10.5", "100" }));
    }

    void equalKeysKeepTheirOrder()
    {
        QList<DocumentPtr> documents;
        for (const char* title : { "first", "second", "third" })
            documents.append(documentWith(QuillarcDocument::FileDate, Value::date(5), QString::fromUtf8(title)));
        QCOMPARE(fieldTexts(DocumentOrdering::sorted(documents, DocumentOrdering::sortDescriptorFor(0, 0)),
                     QuillarcDocument::Title),
            QStringList({ "first", "second", "third" }));
    }

    void searchListsHitsInTheSortOrder()
    {
        const QList<DocumentPtr> documents = withTexts(QuillarcDocument::SlipNumber, { "10", "2", "100", "7" });
        for (const DocumentPtr& document : documents)
            document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Invoice")));
        documents[3]->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Letter")));
        DocumentSearch search;
        search.resetArrayAndFilter(documents, {});
        search.setSortDescriptor(DocumentOrdering::sortDescriptorFor(4, 1));
        search.setSearchText(QStringLiteral("invoice"));
        search.searchDocuments();
        QCOMPARE(fieldTexts(search.arrangedObjects(), QuillarcDocument::SlipNumber), QStringList({ "2", "10", "100" }));
        search.setSortDescriptor(DocumentOrdering::sortDescriptorFor(4, 0));
        QCOMPARE(fieldTexts(search.arrangedObjects(), QuillarcDocument::SlipNumber), QStringList({ "100", "10", "2" }));
    }

    void rowMoves_data()
    {
        QTest::addColumn<QList<qsizetype>>("indexes");
        QTest::addColumn<qsizetype>("dropRow");
        QTest::addColumn<QList<int>>("result");
        QTest::addColumn<QList<qsizetype>>("destination");
        QTest::newRow("rows 1 and 2 to row 4")
            << QList<qsizetype> { 1, 2 } << qsizetype(4) << QList<int> { 0, 3, 1, 2, 4 } << QList<qsizetype> { 2, 3 };
        QTest::newRow("up to the top") << QList<qsizetype> { 3 } << qsizetype(0) << QList<int> { 3, 0, 1, 2, 4 }
                                       << QList<qsizetype> { 0 };
        QTest::newRow("to the end") << QList<qsizetype> { 0 } << qsizetype(5) << QList<int> { 1, 2, 3, 4, 0 }
                                    << QList<qsizetype> { 4 };
        QTest::newRow("from both sides") << QList<qsizetype> { 4, 0 } << qsizetype(2) << QList<int> { 1, 0, 4, 2, 3 }
                                         << QList<qsizetype> { 1, 2 };
        QTest::newRow("onto itself") << QList<qsizetype> { 2 } << qsizetype(2) << QList<int> { 0, 1, 2, 3, 4 }
                                     << QList<qsizetype> { 2 };
    }
    void rowMoves()
    {
        QFETCH(QList<qsizetype>, indexes);
        QFETCH(qsizetype, dropRow);
        QFETCH(QList<int>, result);
        QFETCH(QList<qsizetype>, destination);
        QList<int> rows = { 0, 1, 2, 3, 4 };
        QCOMPARE(DocumentOrdering::moveObjectsInArrangedObjectsFromIndexes(rows, indexes, dropRow), destination);
        QCOMPARE(rows, result);
    }
};

QTEST_GUILESS_MAIN(TestOrdering)
#include "tst_ordering.moc"
