#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>
#include <ctime>

class TestSearchCli : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QString m_archive;

    static Value document(
        const QString& slip, const QString& title, const QString& content, const QDateTime& date, const QString& kind)
    {
        DocumentPtr document = QuillarcDocument::create();
        document->setField(QuillarcDocument::UniqueID, Value::string(QStringLiteral("ID-") + slip));
        document->setField(QuillarcDocument::SlipNumber, Value::string(slip));
        document->setField(QuillarcDocument::Title, Value::string(title));
        document->setField(QuillarcDocument::Name, Value::string(title.toLower()));
        document->setField(QuillarcDocument::ContentString, Value::string(content));
        document->setField(QuillarcDocument::FileDate, Value::date(Clock::fromDateTime(date)));
        document->setField(QuillarcDocument::FileKind, Value::string(kind));
        return Value::object(document);
    }

    QStringList slipColumn(const QByteArray& out)
    {
        QStringList slips;
        for (const QString& line : QString::fromUtf8(out).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            slips.append(line.split(QLatin1Char('\t')).value(3));
        return slips;
    }

private Q_SLOTS:
    void initTestCase()
    {
        Document archive;
        archive.setUpAfterReading();
        auto receipts = QuillarcGroup::create();
        receipts->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Belege")));
        const QDateTime march(QDate(2024, 3, 10), QTime(12, 0));
        receipts->setField(QuillarcGroup::Documents,
            Value::array({ document("10", "Rechnung Müller", "Betrag 12,50 EUR", march, "PDF document"),
                document("2", "Quittung", "Müller GmbH, bezahlt", march.addDays(-40), "PNG image"),
                document("100", "Vertrag", "Mietvertrag Straße", march.addDays(1), "PDF document") }));
        archive.container()->setField(QuillarcContainer::Groups, Value::array({ Value::object(receipts) }));
        archive.preferences()->setField(QuillarcPreferences::SortOrder, Value::integer(4));
        archive.preferences()->setField(QuillarcPreferences::SortKind, Value::integer(1));
        archive.setParents();
        m_archive = m_home.path() + QStringLiteral("/Records.quillarc");
        QString error;
        QVERIFY2(archive.saveToPath(m_archive, &error), qPrintable(error));
    }

    void filtersAndSortOptions_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<QString>("slips");
        // clang-format off
        QTest::newRow("everything")         << ""                                       << "2 10 100";
        QTest::newRow("folded word")        << "MULLER"                                 << "2 10";
        QTest::newRow("descending by slip") << "--sort 4"                               << "100 10 2";
        QTest::newRow("by date ascending")  << "--sort 0 --ascending"                   << "2 10 100";
        QTest::newRow("two words")          << "rechnung müller"                        << "10";
        QTest::newRow("one day")            << "--from 2024-03-10 --to 2024-03-10"      << "10";
        QTest::newRow("from only")          << "--from 2024-03-11"                      << "100";
        QTest::newRow("kind")               << "--kind PDF*"                            << "10 100";
        QTest::newRow("sharp s")            << "strasse"                                << "100";
        // clang-format on
    }
    void filtersAndSortOptions()
    {
        QFETCH(QString, options);
        QFETCH(QString, slips);
        const CliRun run = runCli(QStringList { "search", m_archive } + options.split(' ', Qt::SkipEmptyParts));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(slipColumn(run.out).join(' '), slips);
    }

    void listingJsonAndTimingsLeaveTheArchiveUntouched()
    {
        const QString database = m_archive + QStringLiteral("/Quillarc.qldb");
        const QByteArray before = readFile(database);
        CliRun run = runCli({ "search", m_archive, "MULLER" });
        QCOMPARE(QString::fromUtf8(run.out).section(QLatin1Char('\n'), 0, 0),
            QStringLiteral("ID-2\tBelege\t2024-01-30 12:00\t2\tQuittung"));

        run = runCli({ "search", m_archive, "vertrag", "--json", "--time", "--repeat", "3" });
        QCOMPARE(run.exitCode, 0);
        const QJsonArray hits = QJsonDocument::fromJson(run.out).array();
        QCOMPARE(hits.size(), 1);
        const QJsonObject hit = hits.first().toObject();
        for (const auto& [key, value] : std::initializer_list<std::pair<const char*, const char*>> {
                 { "uniqueID", "ID-100" }, { "name", "vertrag" }, { "title", "Vertrag" }, { "group", "Belege" },
                 { "fileDate", "2024-03-11T12:00:00+01:00" }, { "slipNumber", "100" } })
            QCOMPARE(hit.value(QLatin1String(key)).toString(), QString::fromUtf8(value));
        const QString err = QString::fromUtf8(run.err);
        for (const char* line : { "^time: load [0-9.]+ ms, index [0-9.]+ ms, search [0-9.]+ ms$",
                 "^search: median [0-9.]+ ms, worst [0-9.]+ ms over 3 runs$" }) {
            const QRegularExpression pattern(QLatin1String(line), QRegularExpression::MultilineOption);
            QVERIFY2(pattern.match(err).hasMatch(), qPrintable(err));
        }
        QCOMPARE(readFile(database), before);
    }

    void refusesBadArguments_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("no archive") << QStringList { "search" };
        QTest::newRow("bad date") << QStringList { "search", "ARCHIVE", "--from", "10.03.2024" };
        QTest::newRow("bad repeat") << QStringList { "search", "ARCHIVE", "--repeat", "0" };
        QTest::newRow("unknown option") << QStringList { "search", "ARCHIVE", "--fuzzy" };
        QTest::newRow("missing archive") << QStringList { "search", "/nonexistent/None.quillarc" };
    }
    void refusesBadArguments()
    {
        QFETCH(QStringList, arguments);
        arguments.replaceInStrings(QStringLiteral("ARCHIVE"), m_archive);
        const CliRun run = runCli(arguments);
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.err.startsWith("quillarc-cli search:"));
    }
};

int main(int argc, char** argv)
{
    // The listing shows local dates; the child process inherits the zone.
    qputenv("TZ", "Europe/Berlin");
    tzset();
    TestSearchCli test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_searchcli.moc"
