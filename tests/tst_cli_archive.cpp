#include "ArchiveFixture.h"
#include "CraftedArchives.h"
#include "DamagedArchives.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/CanonicalDump.h"
#include "store/KeyedUnarchiver.h"
#include "text/KVLocalizationDictionary.h"

#include <QTest>

class TestCliArchive : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

private Q_SLOTS:
    void everyCommandExplainsItself_data()
    {
        QTest::addColumn<QString>("command");
        for (const char* command :
            { "new", "info", "dump", "validate", "log", "extract", "preview", "export", "log-report", "group", "scan",
                "scanners", "scan-folders" })
            QTest::newRow(command) << QString::fromLatin1(command);
    }
    void everyCommandExplainsItself()
    {
        QFETCH(QString, command);
        const CliRun run = runCli({ command, "--help" });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.startsWith(QByteArray("Usage: quillarc-cli " + command.toUtf8())));
    }

    void unknownCommandsAndMissingArgumentsFail()
    {
        QCOMPARE(runCli({ "frobnicate" }).exitCode, 2);
        QCOMPARE(runCli({}).exitCode, 2);
        const CliRun run = runCli({ "info" });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.err.startsWith("quillarc-cli info: "));
    }

    void newCreatesAnArchiveAsTheFirstStartLeavesIt()
    {
        const QString path = m_home.path() + QStringLiteral("/Belege 2026");
        QCOMPARE(runCli({ "new", path, "--title", "Belege 2026" }).exitCode, 0);
        const auto archive = ArchiveFixture::reopen(path + QStringLiteral(".quillarc"));
        QVERIFY(archive);
        QCOMPARE(archive->container()->containerTitle(), QStringLiteral("Belege 2026"));
        QVERIFY(archive->preferences()->isSetupDone());
        QVERIFY(archive->preferences()->isFirstSaveDone());
        QVERIFY(archive->isInitialDataCreated());
        QVERIFY(!archive->isAlreadyOpen());
        QCOMPARE(runCli({ "new", path }).exitCode, 2); // never overwrites an archive
    }

    void readingCommandsNeverWrite()
    {
        const QString path = m_home.path() + QStringLiteral("/read.quillarc");
        ArchiveFixture fixture(path);
        const auto document = fixture.addDocument(fixture.addGroup("Rechnungen"), "Beleg", "bytes");
        fixture.archive().createLogObjectForDocument(document, 0);
        fixture.save();
        const QString database = path + QStringLiteral("/Quillarc.qldb");
        const QByteArray before = readFile(database);

        CliRun run = runCli({ "info", path });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains("Rechnungen"));
        QVERIFY(run.out.contains("Documents:  1"));
        run = runCli({ "log", path });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains(QByteArray("kind 0  " + document->uniqueID().toUtf8())));

        run = runCli({ "dump", path });
        QCOMPARE(run.out, CanonicalDump::dumpDatabase(KeyedUnarchiver::unarchiveObjectWithData(before), false));
        QVERIFY(run.out.startsWith("{\n  \"class\": \"NSDictionary\",\n  \"entries\": {\n    \"companyData\": {\n"
                                   "      \"NSData\": {\"length\": "));
        QVERIFY(run.out.endsWith("}\n"));
        run = runCli({ "dump", database, "--semantic" });
        QVERIFY(run.out.startsWith("{\n  \"class\": \"NSDictionary\",\n  \"entries\": {\n    \"companyData\": {\n"
                                   "      \"keyedArchive\": {\n"));
        QVERIFY(run.out.contains("\"db_version\": {\"real32\": 2},\n"));
        QVERIFY(run.out.contains("\"validationPosssible\": false,\n"));
        run = runCli({ "dump", "--member", path + QLatin1Char('/') + document->path() });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains("\"data\": {\"NSData\": {\"length\": 5, \"md5\": \"4b3a6218bb3e3a7303e8a171a60fcf92\"}}"));
        QVERIFY(writeFile(m_home.path() + QStringLiteral("/junk"), "not an archive"));
        QCOMPARE(runCli({ "dump", "--member", m_home.path() + QStringLiteral("/junk") }).exitCode, 2);

        run = runCli({ "validate", path });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(QString::fromUtf8(run.out), text("INTEGRITY_STRING_DATABASE_VALID") + QLatin1Char('\n'));
        QCOMPARE(readFile(database), before);

        // A missing member: the validation lists it and exits 1; an archive that cannot be opened exits 2.
        QVERIFY(QFile::remove(path + QLatin1Char('/') + document->path()));
        run = runCli({ "validate", path });
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(QString::fromUtf8(run.out), text("INTEGRITY_STRING_DATABASE_CORRUPT") + QLatin1Char('\n')
                + QStringLiteral("%1  %2\n\n").arg(text("INTEGRITY_LOG_MISSING_FAIL"), document->path()));
        QCOMPARE(runCli({ "validate", m_home.path() + QStringLiteral("/nothing.quillarc") }).exitCode, 2);
    }

    void infoOpensCraftedDatabasesOrNamesTheDamage_data()
    {
        QTest::addColumn<QByteArray>("database");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("expected"); // in the output, or in the error text
        auto nesting = [](int levels) {
            return CraftedArchives::database(QStringLiteral("Shared %1").arg(levels),
                [levels](RawKeyedArchive& archive) { return CraftedArchives::addSharedNesting(archive, levels); });
        };
        QTest::newRow("records sharing lists 24 deep") << nesting(24) << 0 << "Title:      Shared 24\nGroups:     1\nDocuments:  1\n";
        QTest::newRow("records sharing lists 64 deep") << nesting(64) << 0 << "Title:      Shared 64\n";
        QTest::newRow("records nested too deeply")
            << CraftedArchives::database(QStringLiteral("Deep"), [](RawKeyedArchive& archive) { return CraftedArchives::addDeepNesting(archive, 300); })
            << 2 << "The archive's records are damaged: objects nested more than 256 levels deep";
        QTest::newRow("group listed twice") << CraftedArchives::database(QStringLiteral("Twice"), {}, 2) << 2
                                            << "The archive's records are damaged: the group 6A000000-0000-4000-8000-000000000001 is listed more than once";
        QTest::newRow("database containing itself") << DamagedArchives::cycles().first().bytes << 2
                                                    << "Quillarc.qldb is damaged: an object contains itself";
    }
    void infoOpensCraftedDatabasesOrNamesTheDamage()
    {
        QFETCH(QByteArray, database);
        QFETCH(int, exitCode);
        QFETCH(QString, expected);
        const QString path = m_home.freshPath(QStringLiteral("crafted")) + QStringLiteral(".quillarc");
        QVERIFY(writeFile(path + QStringLiteral("/Quillarc.qldb"), database));
        const CliRun run = runCli({ "info", path });
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY2((exitCode == 0 ? run.out : run.err).contains(expected.toUtf8()), QByteArray(run.out + run.err).constData());
    }
};

QTEST_GUILESS_MAIN(TestCliArchive)
#include "tst_cli_archive.moc"
