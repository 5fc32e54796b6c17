#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/MonitoredFolders.h"
#include "intake/StartupFolderImport.h"
#include "model/Logging.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
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
    struct stat info
    {
    };
    ::stat(QFile::encodeName(packagePath + QStringLiteral("/Quillarc.qldb")).constData(), &info);
    return info.st_ino;
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

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init() { g_logLines.clear(); }
    void listingSkipsHiddenSubfoldersAndPackages();
    void importFilePathsSkipsKnownFileIDs();
    void startupImportNumbersAcrossGroups();
    void startupImportLockValue_data();
    void startupImportLockValue();
    void nothingWithoutVoucherNumbering();
    void secondScanImportsNothing();
    void folderGroupFromFolder();
    void cancelledFolderGroupGoesAgain();
    void folderGroupNeedsSavedArchive();
    void switchingMonitoring();
    void cliMonitorAndScan();

private:
    QString makeFolder(const QString& name, const QStringList& files);
    QString packagePath(const QString& name) const
    {
        return m_home.path() + QStringLiteral("/") + name + QStringLiteral(".quillarc");
    }
    GroupPtr monitoredGroup(ArchiveFixture& fixture, const QString& title, const QString& folder);
    bool runScan(StartupFolderImport& scan, QList<int>* importedCount = nullptr);

    TemporaryHome m_home;
};

void TestFolders::initTestCase()
{
    g_previousHandler = qInstallMessageHandler(collectLog);
}

void TestFolders::cleanupTestCase()
{
    qInstallMessageHandler(g_previousHandler);
}

QString TestFolders::makeFolder(const QString& name, const QStringList& files)
{
    const QString folder = m_home.path() + QStringLiteral("/folders/") + name;
    QDir().mkpath(folder);
    for (const QString& file : files)
        writeFile(folder + QLatin1Char('/') + file, file.toUtf8());
    return folder;
}

GroupPtr TestFolders::monitoredGroup(ArchiveFixture& fixture, const QString& title, const QString& folder)
{
    const GroupPtr group = fixture.addGroup(title);
    group->setField(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
    group->setField(QuillarcGroup::FolderPath, Value::string(folder));
    return group;
}

bool TestFolders::runScan(StartupFolderImport& scan, QList<int>* importedCount)
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

void TestFolders::listingSkipsHiddenSubfoldersAndPackages()
{
    const QString folder = makeFolder(QStringLiteral("listing"),
        { QStringLiteral("a.pdf"), QStringLiteral(".hidden.pdf"), QStringLiteral("sub/inner.pdf"),
            QStringLiteral("Report.pages/index.xml"), QStringLiteral("b"),
            QStringLiteral("Old.quillarc/Quillarc.qldb") });
    QVERIFY(QFile::link(folder + QStringLiteral("/a.pdf"), folder + QStringLiteral("/link-to-a.pdf")));
    QVERIFY(QFile::link(folder + QStringLiteral("/nowhere"), folder + QStringLiteral("/dangling.pdf")));

    QStringList names;
    for (const QString& path : MonitoredFolders::folderEntries(folder))
        names.append(QFileInfo(path).fileName());
    names.sort();
    QCOMPARE(names, QStringList({ QStringLiteral("a.pdf"), QStringLiteral("b"), QStringLiteral("link-to-a.pdf") }));
    QVERIFY(MonitoredFolders::folderEntries(folder + QStringLiteral("/gone")).isEmpty());
    QVERIFY(DocumentIntake::isFilePackage(folder + QStringLiteral("/Report.pages")));
    QVERIFY(!DocumentIntake::isFilePackage(folder + QStringLiteral("/sub")));
}

void TestFolders::importFilePathsSkipsKnownFileIDs()
{
    const QString folder
        = makeFolder(QStringLiteral("known"), { QStringLiteral("old.pdf"), QStringLiteral("new.pdf") });
    ArchiveFixture fixture(packagePath(QStringLiteral("known")));
    const GroupPtr group = monitoredGroup(fixture, QStringLiteral("Inbox"), folder);
    // Renamed since it was taken in: the file number, not the name, recognises it.
    QVERIFY(QFile::rename(folder + QStringLiteral("/old.pdf"), folder + QStringLiteral("/renamed.pdf")));
    const DocumentPtr old = fixture.addDocument(group, QStringLiteral("old"), "old.pdf");
    old->setField(QuillarcDocument::FileID,
        Value::string(MonitoredFolders::fileIDForPath(folder + QStringLiteral("/renamed.pdf"))));

    const QStringList paths = MonitoredFolders::importFilePathsForGroup(*group);
    QCOMPARE(paths, QStringList({ folder + QStringLiteral("/new.pdf") }));
    QVERIFY(g_logLines.contains(QStringLiteral("SKIP FILE: %1/renamed.pdf").arg(folder)));
    QVERIFY(g_logLines.contains(QStringLiteral("IMPORT FILE: %1/new.pdf").arg(folder)));
    QVERIFY(g_logLines.contains(QStringLiteral("existingIDsinGroupE: (\n    %1\n)").arg(old->fileID())));
}

void TestFolders::startupImportNumbersAcrossGroups()
{
    const QString first = makeFolder(QStringLiteral("first"), { QStringLiteral("f1.pdf"), QStringLiteral("f2.pdf") });
    const QString second = makeFolder(
        QStringLiteral("second"), { QStringLiteral("s1.txt"), QStringLiteral("s2.txt"), QStringLiteral("s3.txt") });
    const QString path = packagePath(QStringLiteral("numbers"));
    ArchiveFixture fixture(path);
    Document& archive = fixture.archive();
    const PreferencesPtr preferences = archive.preferences();
    preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(100));
    preferences->setField(QuillarcPreferences::VoucherPrefix, Value::string(QStringLiteral("RE-")));
    const GroupPtr groupA = monitoredGroup(fixture, QStringLiteral("A"), first);
    const GroupPtr plain = fixture.addGroup(QStringLiteral("Plain"));
    const GroupPtr groupB = monitoredGroup(fixture, QStringLiteral("B"), second);
    QVERIFY(fixture.save());
    const ino_t before = databaseInode(path);

    StartupFolderImport scan(archive, standInRecord);
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
    QVERIFY(databaseInode(path) != before);

    QStringList slipsA = slipNumbers(groupA);
    QStringList slipsB = slipNumbers(groupB);
    QCOMPARE(slipsA.size() + slipsB.size(), 5);
    QCOMPARE(slipsA.size(), 2);
    // Numbers follow the groups' order; within a group, the folder's listing order.
    QStringList all = slipsA + slipsB;
    QCOMPARE(all,
        QStringList({ QStringLiteral("RE-100"), QStringLiteral("RE-101"), QStringLiteral("RE-102"),
            QStringLiteral("RE-103"), QStringLiteral("RE-104") }));
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
}

void TestFolders::startupImportLockValue_data()
{
    QTest::addColumn<bool>("groupLocked");
    QTest::addColumn<bool>("autoLock");
    QTest::addColumn<bool>("recordLocked");
    QTest::newRow("open group, no auto lock") << false << false << false;
    QTest::newRow("open group, auto lock") << false << true << true;
    QTest::newRow("locked group, no auto lock") << true << false << true;
}

void TestFolders::startupImportLockValue()
{
    QFETCH(bool, groupLocked);
    QFETCH(bool, autoLock);
    QFETCH(bool, recordLocked);
    const QString folder
        = makeFolder(QStringLiteral("lock-%1-%2").arg(groupLocked).arg(autoLock), { QStringLiteral("x.pdf") });
    ArchiveFixture fixture(packagePath(QStringLiteral("lock-%1-%2").arg(groupLocked).arg(autoLock)));
    fixture.archive().preferences()->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    fixture.archive().preferences()->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(autoLock));
    const GroupPtr group = monitoredGroup(fixture, QStringLiteral("G"), folder);
    group->setField(QuillarcGroup::IsLocked, Value::boolean(groupLocked));
    StartupFolderImport scan(fixture.archive(), standInRecord);
    QVERIFY(runScan(scan));
    QCOMPARE(group->documentCount(), qint64(1));
    QCOMPARE(group->documents().first()->isLocked(), recordLocked);
}

void TestFolders::nothingWithoutVoucherNumbering()
{
    const QString folder = makeFolder(QStringLiteral("unnumbered"), { QStringLiteral("a.pdf") });
    const QString path = packagePath(QStringLiteral("unnumbered"));
    ArchiveFixture fixture(path);
    const GroupPtr group = monitoredGroup(fixture, QStringLiteral("G"), folder);
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

void TestFolders::secondScanImportsNothing()
{
    const QString folder = makeFolder(QStringLiteral("twice"), { QStringLiteral("a.pdf"), QStringLiteral("b.pdf") });
    ArchiveFixture fixture(packagePath(QStringLiteral("twice")));
    fixture.archive().preferences()->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    const GroupPtr group = monitoredGroup(fixture, QStringLiteral("G"), folder);
    {
        StartupFolderImport scan(fixture.archive(), standInRecord);
        QVERIFY(runScan(scan));
    }
    QCOMPARE(group->documentCount(), qint64(2));
    g_logLines.clear();
    StartupFolderImport again(fixture.archive(), standInRecord);
    QList<int> counts;
    QVERIFY(runScan(again, &counts));
    QCOMPARE(counts, QList<int>({ 0 }));
    QCOMPARE(group->documentCount(), qint64(2));
    QCOMPARE(fixture.archive().preferences()->voucherNumber(), qint64(2));
    QVERIFY(g_logLines.contains(QStringLiteral("SKIP FILE: %1/a.pdf").arg(folder)));
    QVERIFY(g_logLines.contains(QStringLiteral("SKIP FILE: %1/b.pdf").arg(folder)));
    QVERIFY(!g_logLines.join(QLatin1Char('\n')).contains(QStringLiteral("IMPORT FILE")));
}

void TestFolders::folderGroupFromFolder()
{
    const QString folder = makeFolder(QStringLiteral("Bank Statements"),
        { QStringLiteral("jan.txt"), QStringLiteral("feb.txt"), QStringLiteral(".DS_Store"),
            QStringLiteral("old/dec.txt") });
    ArchiveFixture fixture(packagePath(QStringLiteral("foldergroup")));
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

void TestFolders::cancelledFolderGroupGoesAgain()
{
    const QString folder = makeFolder(QStringLiteral("Cancelled"), { QStringLiteral("a.txt") });
    ArchiveFixture fixture(packagePath(QStringLiteral("cancelled")));
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

void TestFolders::folderGroupNeedsSavedArchive()
{
    Document archive;
    archive.setUpAfterReading();
    DocumentIntake intake(archive);
    BatchIntake batch(archive, intake);
    QString refusal;
    const GroupPtr group = MonitoredFolders(archive).createFolderGroupFromFolderPath(
        makeFolder(QStringLiteral("unsaved"), { QStringLiteral("a") }), batch, &refusal);
    QVERIFY(!group);
    QCOMPARE(refusal, QStringLiteral("You need to name and save the current Quillarc document first."));
    QVERIFY(archive.allGroups().isEmpty());
}

void TestFolders::switchingMonitoring()
{
    const QString folder = makeFolder(QStringLiteral("watched"), { QStringLiteral("a.pdf") });
    const QString path = packagePath(QStringLiteral("switching"));
    ArchiveFixture fixture(path);
    const GroupPtr group = fixture.addGroup(QStringLiteral("G"));
    MonitoredFolders folders(fixture.archive());

    group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
    QVERIFY(folders.selectFolderPath(group, folder));
    QCOMPARE(group->folderPath(), folder);
    QVERIFY(group->documents().isEmpty()); // scanned at the next opening, not now
    QCOMPARE(ArchiveFixture::reopen(path)->container()->folderGroupsArray().size(), qsizetype(1));

    group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(false));
    QVERIFY(folders.selectFolderPath(group, QString()));
    QCOMPARE(group->folderPath(), QString(""));
    QVERIFY(ArchiveFixture::reopen(path)->container()->folderGroupsArray().isEmpty());

    // Cancelling the folder panel switches monitoring off again.
    group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
    QVERIFY(!folders.selectFolderPath(group, QString()));
    QVERIFY(!group->hasMonitoredFolder());
}

void TestFolders::cliMonitorAndScan()
{
    const QString folder = makeFolder(QStringLiteral("Scans"),
        { QStringLiteral("a.txt"), QStringLiteral("b.txt"), QStringLiteral(".hidden.txt"),
            QStringLiteral("sub/c.txt") });
    const QString path = packagePath(QStringLiteral("climonitor"));
    {
        ArchiveFixture fixture(path);
        fixture.archive().preferences()->setValue(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
        fixture.archive().preferences()->setValue(QuillarcPreferences::VoucherNumber, Value::integer(10));
        QVERIFY(fixture.save());
    }
    CliRun run = runCli({ QStringLiteral("monitor"), path, QStringLiteral("--group"), QStringLiteral("Inbox"),
        QStringLiteral("--folder"), folder });
    QVERIFY2(run.exitCode == 0, run.err.constData());
    auto reopened = ArchiveFixture::reopen(path);
    QCOMPARE(reopened->container()->folderGroupsArray().size(), qsizetype(1));
    GroupPtr inbox = reopened->container()->folderGroupsArray().first();
    QCOMPARE(inbox->groupTitle(), QStringLiteral("Inbox"));
    QCOMPARE(inbox->folderPath(), folder);
    QCOMPARE(inbox->documentCount(), qint64(2));
    QCOMPARE(reopened->preferences()->voucherNumber(), qint64(12));

    writeFile(folder + QStringLiteral("/new.txt"), "new");
    run = runCli({ QStringLiteral("scan-folders"), path });
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QVERIFY2(run.out.contains(QStringLiteral("12\tnew\t%1/new.txt\n").arg(folder).toUtf8()), run.out.constData());
    QVERIFY(run.out.contains("1 document(s) taken in; next voucher number 13"));
    reopened = ArchiveFixture::reopen(path);
    inbox = reopened->container()->folderGroupsArray().first();
    QCOMPARE(inbox->documentCount(), qint64(3));
    QCOMPARE(inbox->documents().last()->slipNumber(), QStringLiteral("12"));
    QCOMPARE(reopened->container()->logs().size(), qsizetype(3));
    QVERIFY(!reopened->isAlreadyOpen());

    run = runCli({ QStringLiteral("scan-folders"), path });
    QVERIFY(run.out.contains("0 document(s) taken in"));

    run = runCli({ QStringLiteral("monitor"), path, QStringLiteral("--group"), QStringLiteral("Inbox"),
        QStringLiteral("--off") });
    QCOMPARE(run.exitCode, 0);
    reopened = ArchiveFixture::reopen(path);
    QVERIFY(reopened->container()->folderGroupsArray().isEmpty());
    QCOMPARE(reopened->allGroups().first()->folderPath(), QString(""));
    QCOMPARE(runCli({ QStringLiteral("scan-folders"), QStringLiteral("--help") }).exitCode, 0);
    QCOMPARE(runCli({ QStringLiteral("monitor"), path, QStringLiteral("--group"), QStringLiteral("X") }).exitCode, 2);
}

QTEST_MAIN(TestFolders)
#include "tst_folders.moc"
