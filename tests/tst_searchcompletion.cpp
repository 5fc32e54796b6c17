#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/CompletionAids.h"

#include <QTest>

class TestSearchCompletion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void allTagsDropsOnlyExactDuplicates()
    {
        auto first = QuillarcGroup::create();
        auto second = QuillarcGroup::create();
        auto tagged = [](std::initializer_list<const char*> tags) {
            DocumentPtr document = QuillarcDocument::create();
            ValueList values;
            for (const char* tag : tags)
                values.append(Value::string(QString::fromUtf8(tag)));
            document->setField(QuillarcDocument::Tags, Value::array(values));
            return Value::object(document);
        };
        first->setField(QuillarcGroup::Documents, Value::array({ tagged({ "Tax", "invoice" }), tagged({ "Tax" }) }));
        second->setField(QuillarcGroup::Documents, Value::array({ tagged({ "tax", "Invoice", "Ärger", "zoll" }) }));
        QCOMPARE(CompletionAids::allTags({ first, second }),
            QStringList({ "Invoice", "invoice", "Tax", "tax", "zoll", "Ärger" }));
    }

    void tokenCompletion_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("offered");
        QTest::newRow("case-sensitive prefix") << "In" << QStringList { "Inbox", "Invoice" };
        QTest::newRow("lower case") << "in" << QStringList { "invoice" };
        QTest::newRow("typed tag itself removed") << "Invoice" << QStringList {};
        QTest::newRow("nothing") << "X" << QStringList {};
    }
    void tokenCompletion()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, offered);
        const QStringList allTags = { "In", "Inbox", "Invoice", "invoice", "Tax" };
        QCOMPARE(CompletionAids::tokenFieldCompletions(allTags, typed), offered);
    }

    void comboBoxFiltering_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("items");
        QTest::newRow("ignores case, shortest first") << "rech" << QStringList { "rechnung", "Rechnung 2024" };
        QTest::newRow("keeps diacritics") << "ar" << QStringList {};
        QTest::newRow("umlaut case") << "ÄR" << QStringList { "Ärger" };
        QTest::newRow("empty gives all") << "" << QStringList { "Rechnung 2024", "rechnung", "Reise", "Ärger" };
    }
    void comboBoxFiltering()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, items);
        QCOMPARE(CompletionAids::filteredItems({ "Rechnung 2024", "rechnung", "Reise", "Ärger" }, typed), items);
    }

    void completedString_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("completion");
        QTest::newRow("shortest") << "ecl"
                                  << "Éclair";
        QTest::newRow("accent typed") << "ÉCLAIR A"
                                      << "Éclair au chocolat";
        QTest::newRow("none") << "x" << QString();
        QTest::newRow("null") << QString() << QString();
    }
    void completedString()
    {
        QFETCH(QString, typed);
        QFETCH(QString, completion);
        // The second value is stored decomposed; the completion comes back composed.
        const QStringList values = { "Éclair au chocolat", "E\u0301clair", "Ecke rund" };
        const QString completed = CompletionAids::completedString(values, typed);
        QCOMPARE(completed, completion);
        QCOMPARE(completed.isNull(), completion.isNull());
    }
};

QTEST_GUILESS_MAIN(TestSearchCompletion)
#include "tst_searchcompletion.moc"
