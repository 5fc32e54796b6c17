#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/MonitoredFolders.h"
#include "intake/StartupFolderImport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <sys/stat.h>

namespace {
/// Lines the archive wrote to its own log while a test ran.
QStringList g_logLines;
QtMessageHandler g_previousHandler = nullptr;

void collectLog(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (context.category && qstrcmp(context.category, "quillarc") == 0)
        g_logLines.append(message);
    else
        g_previousHandler(type, context, message);
}

/// A light record builder: what the scan needs of a record (file number,
/// title, parent), without text extraction.
DocumentPtr standInRecord(const QString& filePath, const GroupPtr& group)
{
    auto record = QuillarcDocument::create();
    const QFileInfo info(filePath);
    record->setField(QuillarcDocument::Name, Value::string(info.completeBaseName()));
    record->setField(QuillarcDocument::Title, Value::string(info.completeBaseName()));
    record->setField(QuillarcDocument::Extension, Value::string(info.suffix()));
    record->setField(QuillarcDocument::FileID, Value::string(MonitoredFolders::fileIDForPath(filePath)));
    record->setParent(group.get());
    return record;
}

ino_t databaseInode(const QString& packagePath)
{
    struct stat info;
    const QByteArray database = QFile::encodeName(packagePath + QStringLiteral("/Quillarc.qldb"));
    return ::stat(database.constData(), &info) == 0 ? info.st_ino : 0;
}

QStringList slipNumbers(const GroupPtr& group)
{
    QStringList slips;
    for (const DocumentPtr& document : group->documents())
        slips.append(document->slipNumber());
    return slips;
}
} // namespace

class TestFolders : public QObject
{
    Q_OBJECT

private:
    QString packagePath(const QString& name) const
    {
        return m_home.path() + QStringLiteral("/") + name + QStringLiteral(".quillarc");
    }

    TemporaryHome m_home;

    QString makeFolder(const QString& name, const QStringList& files)
    {
        const QString folder = m_home.path() + QStringLiteral("/folders/") + name;
        QDir().mkpath(folder);
        for (const QString& file : files)
            writeFile(folder + QLatin1Char('/') + file, file.toUtf8());
        return folder;
    }

    GroupPtr monitoredGroup(ArchiveFixture& fixture, const QString& title, const QString& folder)
    {
        const GroupPtr group = fixture.addGroup(title);
        group->setField(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
        group->setField(QuillarcGroup::FolderPath, Value::string(folder));
        return group;
    }

    bool runScan(StartupFolderImport& scan, QList<int>* importedCount = nullptr)
    {
        QSignalSpy finished(&scan, &StartupFolderImport::folderImportFinished);
        if (!scan.doTheStartupFolderImport())
            return false;
        if (!finished.wait(10000))
            return false;
        if (importedCount)
            importedCount->append(finished.first().at(0).toInt());
        return finished.first().at(1).toBool();
    }

private Q_SLOTS:
    void init() { g_logLines.clear(); }

    void initTestCase() { g_previousHandler = qInstallMessageHandler(collectLog); }

    void cleanupTestCase() { qInstallMessageHandler(g_previousHandler); }

    void listingSkipsHiddenSubfoldersAndPackages()
    {
        const QString folder = makeFolder("listing",
            { "a.pdf", ".hidden.pdf", "sub/inner.pdf", "Report.pages/index.xml", "b", "Old.quillarc/Quillarc.qldb" });
        QVERIFY(QFile::link(folder + "/a.pdf", folder + "/link-to-a.pdf"));
        QVERIFY(QFile::link(folder + "/nowhere", folder + "/dangling.pdf"));

        QStringList names;
        for (const QString& path : MonitoredFolders::folderEntries(folder))
            names.append(QFileInfo(path).fileName());
        names.sort();
        QCOMPARE(names, QStringList({ "a.pdf", "b", "link-to-a.pdf" }));
        QVERIFY(MonitoredFolders::folderEntries(folder + "/gone").isEmpty());
        QVERIFY(DocumentIntake::isFilePackage(folder + "/Report.pages"));
        QVERIFY(!DocumentIntake::isFilePackage(folder + "/sub"));
    }

    void importFilePathsSkipsKnownFileIDs()
    {
        const QString folder = makeFolder("known", { "old.pdf", "new.pdf" });
        ArchiveFixture fixture(packagePath("known"));
        const GroupPtr group = monitoredGroup(fixture, "Inbox", folder);
        // Renamed since it was taken in: the file number, not the name, recognises it.
        QVERIFY(QFile::rename(folder + "/old.pdf", folder + "/renamed.pdf"));
        const DocumentPtr old = fixture.addDocument(group, QStringLiteral("old"), "old.pdf");
        old->setField(
            QuillarcDocument::FileID, Value::string(MonitoredFolders::fileIDForPath(folder + "/renamed.pdf")));

        const QStringList paths = MonitoredFolders::importFilePathsForGroup(*group);
        QCOMPARE(paths, QStringList({ folder + "/new.pdf" }));
        QVERIFY(g_logLines.contains(QStringLiteral("SKIP FILE: %1/renamed.pdf").arg(folder)));
        QVERIFY(g_logLines.contains(QStringLiteral("IMPORT FILE: %1/new.pdf").arg(folder)));
        QVERIFY(g_logLines.contains(QStringLiteral("existingIDsinGroupE: (\n    %1\n)").arg(old->fileID())));
    }

    void startupImportNumbersAcrossGroups_data()
    {
        QTest::addColumn<bool>("offMainThread");
        QTest::newRow("built on the main thread") << false;
        QTest::newRow("built on the scan's thread") << true;
    }

    void startupImportNumbersAcrossGroups()
    {
        QFETCH(bool, offMainThread);
        const QString first = makeFolder(offMainThread ? "first-off" : "first", { "f1.pdf", "f2.pdf" });
        const QString second = makeFolder(offMainThread ? "second-off" : "second", { "s1.txt", "s2.txt", "s3.txt" });
        const QString path = packagePath(offMainThread ? "numbers-off" : "numbers");
        ArchiveFixture fixture(path);
        Document& archive = fixture.archive();
        const PreferencesPtr preferences = archive.preferences();
        preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
        preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(100));
        preferences->setField(QuillarcPreferences::VoucherPrefix, Value::string(QStringLiteral("RE-")));
        const GroupPtr groupA = monitoredGroup(fixture, "A", first);
        const GroupPtr plain = fixture.addGroup("Plain");
        const GroupPtr groupB = monitoredGroup(fixture, "B", second);
        QVERIFY(fixture.save());
        const ino_t before = databaseInode(path);

        QSet<QThread*> builders;
        StartupFolderImport scan(archive, [&builders](const QString& filePath, const GroupPtr& group) {
            builders.insert(QThread::currentThread());
            return standInRecord(filePath, group);
        });
        scan.setBuildsRecordsOffMainThread(offMainThread);
        QStringList statusTexts;
        bool savedEarly = false;
        connect(&scan, &StartupFolderImport::folderImportStringChanged, this, [&](const QString& text) {
            statusTexts.append(text);
            savedEarly = savedEarly || databaseInode(path) != before;
        });
        QSignalSpy rearranged(&scan, &StartupFolderImport::documentsRearranged);
        QList<int> counts;
        QVERIFY(runScan(scan, &counts));
        QCOMPARE(counts, QList<int>({ 5 }));
        QVERIFY(!savedEarly);
        QCOMPARE(builders.contains(QThread::currentThread()), !offMainThread);
        QVERIFY(databaseInode(path) != before);

        // Numbers follow the groups' order; within a group, the folder's listing order.
        QCOMPARE(slipNumbers(groupA), QStringList({ "RE-100", "RE-101" }));
        QCOMPARE(slipNumbers(groupB), QStringList({ "RE-102", "RE-103", "RE-104" }));
        QCOMPARE(preferences->voucherNumber(), qint64(105));
        QVERIFY(plain->documents().isEmpty());

        QCOMPARE(statusTexts.first(), localizedString(QStringLiteral("MONITORED_FOLDER_IMPORT_START")));
        QCOMPARE(statusTexts.at(1), QStringLiteral("A"));
        QCOMPARE(statusTexts.at(4), QStringLiteral("B"));

        const QList<LogObjectPtr> logs = archive.container()->logs();
        QCOMPARE(logs.size(), qsizetype(5));
        const QList<DocumentPtr> imported = groupA->documents() + groupB->documents();
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(logs[i]->logKind(), qint64(0));
            QCOMPARE(logs[i]->objectUniqueID(), imported[i]->uniqueID());
        }

        const auto reopened = ArchiveFixture::reopen(path);
        QCOMPARE(reopened->preferences()->voucherNumber(), qint64(105));
        QCOMPARE(reopened->allDocuments().size(), qsizetype(5));
        QVERIFY(rearranged.wait(2000));

        // A second scan knows every file by its number and takes nothing in.
        g_logLines.clear();
        counts.clear();
        StartupFolderImport again(archive, standInRecord);
        QVERIFY(runScan(again, &counts));
        QCOMPARE(counts, QList<int>({ 0 }));
        QCOMPARE(archive.allDocuments().size(), qsizetype(5));
        QCOMPARE(preferences->voucherNumber(), qint64(105));
        QVERIFY(g_logLines.contains(QStringLiteral("SKIP FILE: %1/f1.pdf").arg(first)));
        QVERIFY(g_logLines.contains(QStringLiteral("SKIP FILE: %1/s3.txt").arg(second)));
        QVERIFY(!g_logLines.join(QLatin1Char('\n')).contains(QStringLiteral("IMPORT FILE")));
    }

    void startupImportLockValue_data()
    {
        QTest::addColumn<bool>("groupLocked");
        QTest::addColumn<bool>("autoLock");
        QTest::addColumn<bool>("recordLocked");
        // clang-format off
        QTest::newRow("open group, no auto lock")   << false << false << false;
        QTest::newRow("open group, auto lock")      << false << true  << true;
        QTest::newRow("locked group, no auto lock") << true  << false << true;
        // clang-format on
    }

    void startupImportLockValue()
    {
        QFETCH(bool, groupLocked);
        QFETCH(bool, autoLock);
        QFETCH(bool, recordLocked);
        const QString name = QStringLiteral("lock-%1-%2").arg(groupLocked).arg(autoLock);
        const QString folder = makeFolder(name, { "x.pdf" });
        ArchiveFixture fixture(packagePath(name));
        fixture.archive().preferences()->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
        fixture.archive().preferences()->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(autoLock));
        const GroupPtr group = monitoredGroup(fixture, "G", folder);
        group->setField(QuillarcGroup::IsLocked, Value::boolean(groupLocked));
        StartupFolderImport scan(fixture.archive(), standInRecord);
        QVERIFY(runScan(scan));
        QCOMPARE(group->documentCount(), qint64(1));
        QCOMPARE(group->documents().first()->isLocked(), recordLocked);
    }

    void nothingWithoutVoucherNumbering()
    {
        const QString folder = makeFolder("unnumbered", { "a.pdf" });
        const QString path = packagePath("unnumbered");
        ArchiveFixture fixture(path);
        const GroupPtr group = monitoredGroup(fixture, "G", folder);
        QVERIFY(fixture.save());
        const ino_t before = databaseInode(path);
        StartupFolderImport scan(fixture.archive(), standInRecord);
        QSignalSpy status(&scan, &StartupFolderImport::folderImportStringChanged);
        QVERIFY(!scan.doTheStartupFolderImport());
        QTest::qWait(50);
        QVERIFY(status.isEmpty());
        QVERIFY(group->documents().isEmpty());
        QCOMPARE(databaseInode(path), before);
        QVERIFY(g_logLines.isEmpty()); // the folder was not even listed
    }

    void folderGroupFromFolder()
    {
        const QString folder = makeFolder("Bank Statements", { "jan.txt", "feb.txt", ".DS_Store", "old/dec.txt" });
        ArchiveFixture fixture(packagePath("foldergroup"));
        Document& archive = fixture.archive();
        archive.preferences()->setValue(QuillarcPreferences::AutoLockDocuments, Value::boolean(true));
        archive.preferences()->setValue(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
        archive.preferences()->setValue(QuillarcPreferences::VoucherNumber, Value::integer(7));
        DocumentIntake intake(archive);
        BatchIntake batch(archive, intake);
        QString refusal;
        const GroupPtr group = MonitoredFolders(archive).createFolderGroupFromFolderPath(folder, batch, &refusal);
        QVERIFY2(group, qPrintable(refusal));
        QVERIFY(batch.values().isFolderGroupBatchAction);
        QCOMPARE(group->groupTitle(), QStringLiteral("Bank Statements"));
        QVERIFY(group->isLocked());
        QVERIFY(!group->hasMonitoredFolder());
        QCOMPARE(batch.batchArrayCount(), qsizetype(2));
        // The records wait for the batch sheet: built for the group, not yet in it.
        QVERIFY(group->documents().isEmpty());
        QCOMPARE(batch.batchDocuments().first()->group(), group.get());
        QVERIFY(!archive.isDocumentEdited()); // saved
        for (const DocumentPtr& record : batch.batchDocuments())
            QCOMPARE(record->fileID(),
                MonitoredFolders::fileIDForPath(folder + QLatin1Char('/') + record->name() + QStringLiteral(".txt")));

        batch.closeAddBatchDocumentsSheet();
        QCOMPARE(group->documentCount(), qint64(2));
        QCOMPARE(archive.container()->logs().size(), qsizetype(2));
        // Once monitored, the folder holds nothing new for the group.
        group->setValue(QuillarcGroup::FolderPath, Value::string(folder));
        QVERIFY(MonitoredFolders::importFilePathsForGroup(*group).isEmpty());
    }

    void cancelledFolderGroupGoesAgain()
    {
        const QString folder = makeFolder("Cancelled", { "a.txt" });
        ArchiveFixture fixture(packagePath("cancelled"));
        Document& archive = fixture.archive();
        DocumentIntake intake(archive);
        BatchIntake batch(archive, intake);
        const GroupPtr group = MonitoredFolders(archive).createFolderGroupFromFolderPath(folder, batch);
        QVERIFY(group);
        QCOMPARE(archive.allGroups().size(), qsizetype(1));
        batch.cancelAddBatchDocumentsSheet();
        QVERIFY(archive.allGroups().isEmpty());
        QVERIFY(archive.container()->logs().isEmpty());
        QCOMPARE(archive.deleteIDSArray().size(), qsizetype(1));
    }

    void folderGroupNeedsSavedArchive()
    {
        Document archive;
        archive.setUpAfterReading();
        DocumentIntake intake(archive);
        BatchIntake batch(archive, intake);
        QString refusal;
        const GroupPtr group = MonitoredFolders(archive).createFolderGroupFromFolderPath(
            makeFolder("unsaved", { "a" }), batch, &refusal);
        QVERIFY(!group);
        QCOMPARE(refusal, QStringLiteral("You need to name and save the current Quillarc document first."));
        QVERIFY(archive.allGroups().isEmpty());
    }

    void switchingMonitoring()
    {
        const QString folder = makeFolder("watched", { "a.pdf" });
        const QString path = packagePath("switching");
        ArchiveFixture fixture(path);
        const GroupPtr group = fixture.addGroup("G");
        MonitoredFolders folders(fixture.archive());

        group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
        QVERIFY(folders.selectFolderPath(group, folder));
        QCOMPARE(group->folderPath(), folder);
        QVERIFY(group->documents().isEmpty()); // scanned at the next opening, not now
        QCOMPARE(ArchiveFixture::reopen(path)->container()->folderGroupsArray().size(), qsizetype(1));

        // Cancelling the folder panel switches monitoring off again; switching it off on purpose is
        // checked through the command line's --off below.
        QVERIFY(!folders.selectFolderPath(group, QString()));
        QVERIFY(!group->hasMonitoredFolder());
    }

    void cliMonitorAndScan()
    {
        const QString folder = makeFolder("Scans", { "a.txt", "b.txt", ".hidden.txt", "sub/c.txt" });
        const QString path = packagePath("climonitor");
        {
            ArchiveFixture fixture(path);
            fixture.archive().preferences()->setValue(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
            fixture.archive().preferences()->setValue(QuillarcPreferences::VoucherNumber, Value::integer(10));
            QVERIFY(fixture.save());
        }
        CliRun run = runCli({ "monitor", path, "--group", "Inbox", "--folder", folder });
        QVERIFY2(run.exitCode == 0, run.err.constData());
        auto reopened = ArchiveFixture::reopen(path);
        QCOMPARE(reopened->container()->folderGroupsArray().size(), qsizetype(1));
        GroupPtr inbox = reopened->container()->folderGroupsArray().first();
        QCOMPARE(inbox->groupTitle(), "Inbox");
        QCOMPARE(inbox->folderPath(), folder);
        QCOMPARE(inbox->documentCount(), qint64(2));
        QCOMPARE(reopened->preferences()->voucherNumber(), qint64(12));

        writeFile(folder + "/new.txt", "new");
        run = runCli({ "scan-folders", path });
        QVERIFY2(run.exitCode == 0, run.err.constData());
        QVERIFY2(run.out.contains(QStringLiteral("12\tnew\t%1/new.txt\n").arg(folder).toUtf8()), run.out.constData());
        QVERIFY(run.out.contains("1 document(s) taken in; next voucher number 13"));
        reopened = ArchiveFixture::reopen(path);
        inbox = reopened->container()->folderGroupsArray().first();
        QCOMPARE(inbox->documentCount(), qint64(3));
        QCOMPARE(inbox->documents().last()->slipNumber(), QStringLiteral("12"));
        QCOMPARE(reopened->container()->logs().size(), qsizetype(3));
        QVERIFY(!reopened->isAlreadyOpen());

        run = runCli({ "scan-folders", path });
        QVERIFY(run.out.contains("0 document(s) taken in"));

        run = runCli({ "monitor", path, "--group", "Inbox", "--off" });
        QCOMPARE(run.exitCode, 0);
        reopened = ArchiveFixture::reopen(path);
        QVERIFY(reopened->container()->folderGroupsArray().isEmpty());
        QCOMPARE(reopened->allGroups().first()->folderPath(), QString(""));
        QCOMPARE(runCli({ "monitor", path, "--group", "X" }).exitCode, 2);
    }
};

QTEST_MAIN(TestFolders)
#include "tst_folders.moc"
