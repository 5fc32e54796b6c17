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
        auto tagged = [](const QStringList& tags) {
            DocumentPtr document = QuillarcDocument::create();
            ValueList values;
            for (const QString& tag : tags)
                values.append(Value::string(tag));
            document->setField(QuillarcDocument::Tags, Value::array(values));
            return Value::object(document);
        };
        auto first = QuillarcGroup::create();
        auto second = QuillarcGroup::create();
        first->setField(QuillarcGroup::Documents, Value::array({ tagged({ "Tax", "invoice" }), tagged({ "Tax" }) }));
        second->setField(QuillarcGroup::Documents, Value::array({ tagged({ "tax", "Invoice", "Ärger", "zoll" }) }));
        QCOMPARE(CompletionAids::allTags({ first, second }),
            QStringList({ "Invoice", "invoice", "Tax", "tax", "zoll", "Ärger" }));
    }

    void completions_data()
    {
        QTest::addColumn<QString>("aid");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("offered");
        // clang-format off
        QTest::newRow("case-sensitive prefix")  << "tags"  << "In"       << QStringList { "Inbox", "Invoice" };
        QTest::newRow("lower case")             << "tags"  << "in"       << QStringList { "invoice" };
        QTest::newRow("typed tag left out")     << "tags"  << "Invoice"  << QStringList {};
        QTest::newRow("no tag")                 << "tags"  << "X"        << QStringList {};
        QTest::newRow("any case, shortest 1st") << "items" << "rech"     << QStringList { "rechnung", "Rechnung 2024" };
        QTest::newRow("diacritics kept")        << "items" << "ar"       << QStringList {};
        QTest::newRow("umlaut case")            << "items" << "ÄR"       << QStringList { "Ärger" };
        QTest::newRow("empty gives all")        << "items" << ""
                                                << QStringList { "Rechnung 2024", "rechnung", "Reise", "Ärger" };
        QTest::newRow("shortest")               << "text"  << "ecl"      << QStringList { "Éclair" };
        QTest::newRow("accent typed")           << "text"  << "ÉCLAIR A" << QStringList { "Éclair au chocolat" };
        QTest::newRow("none")                   << "text"  << "x"        << QStringList {};
        QTest::newRow("null")                   << "text"  << QString()  << QStringList {};
        // clang-format on
    }
    void completions()
    {
        QFETCH(QString, aid);
        QFETCH(QString, typed);
        QFETCH(QStringList, offered);
        if (aid == QLatin1String("tags")) {
            QCOMPARE(
                CompletionAids::tokenFieldCompletions({ "In", "Inbox", "Invoice", "invoice", "Tax" }, typed), offered);
        } else if (aid == QLatin1String("items")) {
            QCOMPARE(CompletionAids::filteredItems({ "Rechnung 2024", "rechnung", "Reise", "Ärger" }, typed), offered);
        } else {
            // The second value is stored decomposed; the completion comes back composed, or null when none fits.
            const QString completed
                = CompletionAids::completedString({ "Éclair au chocolat", "E\u0301clair", "Ecke rund" }, typed);
            QCOMPARE(completed, offered.value(0));
            QCOMPARE(completed.isNull(), offered.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(TestSearchCompletion)
#include "tst_searchcompletion.moc"
