#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/CanonicalDump.h"
#include "store/KeyedUnarchiver.h"

#include <QCryptographicHash>
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
        for (const char* command : { "new", "info", "dump", "validate", "log", "extract", "preview" })
            QTest::newRow(command) << QString::fromLatin1(command);
    }
    void everyCommandExplainsItself()
    {
        QFETCH(QString, command);
        const CliRun run = runCli({ command, QStringLiteral("--help") });
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.startsWith(QByteArray(QByteArray("Usage: quillarc-cli ") + command.toUtf8())));
    }

    void unknownCommandsAndMissingArgumentsFail()
    {
        QCOMPARE(runCli({ QStringLiteral("frobnicate") }).exitCode, 2);
        QCOMPARE(runCli({}).exitCode, 2);
        const CliRun run = runCli({ QStringLiteral("info") });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.err.startsWith("quillarc-cli info: "));
    }

    void newCreatesAnArchiveAsTheFirstStartLeavesIt()
    {
        const QString path = m_home.path() + QStringLiteral("/Belege 2026");
        CliRun run = runCli({ QStringLiteral("new"), path, QStringLiteral("--title"), QStringLiteral("Belege 2026") });
        QCOMPARE(run.exitCode, 0);
        const auto archive = ArchiveFixture::reopen(path + QStringLiteral(".quillarc"));
        QVERIFY(archive);
        QCOMPARE(archive->container()->containerTitle(), QStringLiteral("Belege 2026"));
        QVERIFY(archive->preferences()->isSetupDone());
        QVERIFY(archive->preferences()->isFirstSaveDone());
        QVERIFY(archive->isInitialDataCreated());
        QVERIFY(!archive->isAlreadyOpen());

        run = runCli({ QStringLiteral("new"), path });
        QCOMPARE(run.exitCode, 2); // never overwrites an archive
    }

    void readingCommandsNeverWrite()
    {
        const QString path = m_home.path() + QStringLiteral("/read.quillarc");
        ArchiveFixture fixture(path);
        fixture.addDocument(fixture.addGroup(QStringLiteral("Rechnungen")), QStringLiteral("Beleg"), "bytes");
        fixture.archive().createLogObjectForDocument(fixture.archive().allDocuments().first(), 0);
        fixture.save();
        const QByteArray before = QCryptographicHash::hash(readFile(path + QStringLiteral("/Quillarc.qldb")), QCryptographicHash::Sha256);

        CliRun info = runCli({ QStringLiteral("info"), path });
        QCOMPARE(info.exitCode, 0);
        QVERIFY(info.out.contains("Rechnungen"));
        QVERIFY(info.out.contains("Documents:  1"));
        const CliRun log = runCli({ QStringLiteral("log"), path });
        QCOMPARE(log.exitCode, 0);
        QVERIFY(log.out.contains(QByteArray(QByteArray("kind 0  ") + fixture.archive().allDocuments().first()->uniqueID().toUtf8())));
        QCOMPARE(runCli({ QStringLiteral("validate"), path }).exitCode, 0);
        QCOMPARE(runCli({ QStringLiteral("dump"), path }).exitCode, 0);
        QCOMPARE(QCryptographicHash::hash(readFile(path + QStringLiteral("/Quillarc.qldb")), QCryptographicHash::Sha256), before);
    }

    void dumpPrintsTheCanonicalText()
    {
        const QString path = m_home.path() + QStringLiteral("/dump.quillarc");
        ArchiveFixture fixture(path);
        const auto document = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("Beleg"), "bytes");
        fixture.save();
        const Value database = KeyedUnarchiver::unarchiveObjectWithData(readFile(path + QStringLiteral("/Quillarc.qldb")));

        const CliRun full = runCli({ QStringLiteral("dump"), path });
        QCOMPARE(full.out, CanonicalDump::dumpDatabase(database, false));
        QVERIFY(full.out.startsWith("{\n  \"class\": \"NSDictionary\",\n  \"entries\": {\n    \"companyData\": {\n      \"NSData\": {\"length\": "));
        QVERIFY(full.out.endsWith("}\n"));
        const CliRun semantic = runCli({ QStringLiteral("dump"), path + QStringLiteral("/Quillarc.qldb"), QStringLiteral("--semantic") });
        QVERIFY(semantic.out.startsWith("{\n  \"class\": \"NSDictionary\",\n  \"entries\": {\n    \"companyData\": {\n      \"keyedArchive\": {\n"));
        QVERIFY(semantic.out.contains("\"db_version\": {\"real32\": 2},\n"));
        QVERIFY(semantic.out.contains("\"validationPosssible\": false,\n"));

        const CliRun member = runCli({ QStringLiteral("dump"), QStringLiteral("--member"), path + QLatin1Char('/') + document->path() });
        QCOMPARE(member.exitCode, 0);
        QVERIFY(member.out.contains("\"data\": {\"NSData\": {\"length\": 5, \"md5\": \"4b3a6218bb3e3a7303e8a171a60fcf92\"}}"));

        writeFile(m_home.path() + QStringLiteral("/junk"), "not an archive");
        QCOMPARE(runCli({ QStringLiteral("dump"), QStringLiteral("--member"), m_home.path() + QStringLiteral("/junk") }).exitCode, 2);
    }
};

QTEST_GUILESS_MAIN(TestCliArchive)
#include "tst_cli_archive.moc"
