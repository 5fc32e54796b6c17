#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/DeletionRules.h"
#include "model/QuillarcContainer.h"
#include "store/ArchivedFile.h"
#include "store/AtomicFile.h"
#include "store/ArchiveSnapshot.h"
#include "store/DatabaseWriter.h"
#include "store/Fingerprint.h"
#include "store/KeyedArchiver.h"
#include "store/IntegrityValidator.h"
#include "store/KeyedUnarchiver.h"

#include <QDirIterator>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <csignal>
#include <cstring>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
QString databasePath(const QString& package)
{
    return package + QStringLiteral("/Quillarc.qldb");
}

QString storedTitle(const QString& package)
{
    const auto archive = ArchiveFixture::reopen(package);
    return archive ? archive->container()->containerTitle() : QStringLiteral("(does not open)");
}

/// Names in a folder that a save may leave behind only while it runs.
QStringList temporaryFiles(const QString& folder)
{
    return QDir(folder).entryList({ QStringLiteral(".*.tmp-*") }, QDir::Files | QDir::Hidden);
}

/// True when every document the saved archive lists has an intact member.
bool everyMemberValidates(const QString& package)
{
    const auto archive = ArchiveFixture::reopen(package);
    if (!archive)
        return false;
    archive->setUpAfterReading();
    for (const DocumentPtr& document : archive->allDocuments()) {
        if (ArchivedFile::isFileCorrupted(*document))
            return false;
    }
    return true;
}

/// A small file system of its own, so the disk can really run full; the
/// tests that need one are skipped where mounting is not allowed.
class SmallFileSystem
{
public:
    SmallFileSystem(const QString& path, const QString& size)
        : m_path(path)
    {
        QDir().mkpath(path);
        m_mounted = QProcess::execute(QStringLiteral("mount"),
                        { QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"), QStringLiteral("size=") + size,
                            QStringLiteral("tmpfs"), path })
            == 0;
    }
    ~SmallFileSystem()
    {
        if (m_mounted)
            QProcess::execute(QStringLiteral("umount"), { QStringLiteral("-l"), m_path });
    }
    bool isMounted() const { return m_mounted; }
    qint64 freeBytes() const
    {
        struct statvfs info {};
        return ::statvfs(QFile::encodeName(m_path).constData(), &info) == 0 ? qint64(info.f_bavail) * qint64(info.f_frsize) : -1;
    }
    /// Fills the file system until only about @p bytes stay free.
    void leaveFree(qint64 bytes)
    {
        QFile filler(m_path + QStringLiteral("/filler"));
        filler.open(QIODevice::Append);
        const QByteArray block(4096, 'f');
        while (freeBytes() > bytes && filler.write(block) == block.size())
            filler.flush();
    }

private:
    QString m_path;
    bool m_mounted = false;
};
} // namespace

/// Saving never loses a record: the database reaches its name only complete
/// and on disk, the files of deleted documents go only after it, and the
/// window's saves run in the background from a snapshot.
class TestSaving : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

private Q_SLOTS:
    void cleanup() { AtomicFile::clearFault(); }

    void atomicFileKeepsTheOldBytesWhenAWriteFails_data()
    {
        QTest::addColumn<AtomicFile::Stage>("stage");
        QTest::addColumn<qint64>("afterBytes");
        QTest::addColumn<int>("errorNumber");
        QTest::newRow("disk full at once") << AtomicFile::Stage::Write << qint64(0) << ENOSPC;
        QTest::newRow("disk full midway") << AtomicFile::Stage::Write << qint64(40000) << ENOSPC;
        QTest::newRow("device fails at sync") << AtomicFile::Stage::Sync << qint64(0) << EIO;
        QTest::newRow("folder read-only") << AtomicFile::Stage::Rename << qint64(0) << EROFS;
    }

    void atomicFileKeepsTheOldBytesWhenAWriteFails()
    {
        QFETCH(AtomicFile::Stage, stage);
        QFETCH(qint64, afterBytes);
        QFETCH(int, errorNumber);
        const QString folder = m_home.freshPath(QStringLiteral("atomic"));
        QDir().mkpath(folder);
        const QString path = folder + QStringLiteral("/file.pdf");
        QVERIFY(writeFile(path, "old bytes"));

        AtomicFile::injectFault(stage, errorNumber, afterBytes);
        QString error;
        QVERIFY(!AtomicFile::writeFile(path, QByteArray(100000, 'n'), &error));
        QVERIFY2(error.contains(QString::fromLocal8Bit(std::strerror(errorNumber))), qPrintable(error));
        QVERIFY2(error.contains(path), qPrintable(error));
        QCOMPARE(readFile(path), QByteArray("old bytes"));
        QCOMPARE(temporaryFiles(folder), QStringList());

        AtomicFile::clearFault();
        QVERIFY(AtomicFile::writeFile(path, "new bytes", &error));
        QCOMPARE(readFile(path), QByteArray("new bytes"));
        QCOMPARE(temporaryFiles(folder), QStringList());
    }

    void aFailedSaveAfterADeletionKeepsTheDocument_data()
    {
        QTest::addColumn<AtomicFile::Stage>("stage");
        QTest::addColumn<qint64>("afterBytes");
        QTest::addColumn<int>("errorNumber");
        QTest::newRow("disk full") << AtomicFile::Stage::Write << qint64(100) << ENOSPC;
        QTest::newRow("device error at sync") << AtomicFile::Stage::Sync << qint64(0) << EIO;
        QTest::newRow("read-only folder") << AtomicFile::Stage::Rename << qint64(0) << EROFS;
    }

    void aFailedSaveAfterADeletionKeepsTheDocument()
    {
        QFETCH(AtomicFile::Stage, stage);
        QFETCH(qint64, afterBytes);
        QFETCH(int, errorNumber);
        const QString path = m_home.freshPath(QStringLiteral("deleting")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        const auto doomed = fixture.addDocument(group, QStringLiteral("doomed"), "delete me");
        fixture.addDocument(group, QStringLiteral("kept"), "keep me");
        QVERIFY(fixture.save());
        const QByteArray saved = readFile(databasePath(path));

        QVERIFY(DeletionRules(fixture.archive()).deleteDocument(doomed, group));
        AtomicFile::injectFault(stage, errorNumber, afterBytes);
        QString error;
        QVERIFY(!fixture.archive().save(&error));
        QVERIFY2(error.contains(QString::fromLocal8Bit(std::strerror(errorNumber))), qPrintable(error));
        AtomicFile::clearFault();

        // The old database still lists the document, and its file is there.
        QCOMPARE(readFile(databasePath(path)), saved);
        QVERIFY(QFileInfo::exists(path + QLatin1Char('/') + doomed->path()));
        QCOMPARE(ArchiveFixture::reopen(path)->allDocuments().size(), 2);
        QVERIFY(everyMemberValidates(path));

        // The next save that succeeds takes the document and its folder away.
        QVERIFY(fixture.save());
        QVERIFY(!QFileInfo::exists(path + QStringLiteral("/Files/") + doomed->uniqueID()));
        QCOMPARE(ArchiveFixture::reopen(path)->allDocuments().size(), 1);
        QVERIFY(everyMemberValidates(path));
        QVERIFY(!QFileInfo::exists(path + QLatin1Char('/') + QLatin1String(DatabaseWriter::pendingDeletionsName)));
    }

    void folderListedForRemovalGoesOnlyWhenNothingRefersToIt()
    {
        // The state a save cut off between writing the database and removing
        // folders leaves: a list of folders to remove, one of them an orphan.
        const QString path = m_home.freshPath(QStringLiteral("orphans")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        const auto listed = fixture.addDocument(group, QStringLiteral("listed"), "still listed");
        QVERIFY(fixture.save());
        const QString orphan = path + QStringLiteral("/Files/ORPHAN-ID");
        QVERIFY(writeFile(orphan + QStringLiteral("/orphan"), "nobody refers to me"));
        QVERIFY(writeFile(path + QLatin1Char('/') + QLatin1String(DatabaseWriter::pendingDeletionsName),
            (QStringLiteral("ORPHAN-ID\n") + listed->uniqueID()).toUtf8()));

        auto reopened = ArchiveFixture::reopen(path, Document::OpenMode::ReadWrite);
        reopened->setUpAfterReading();
        QVERIFY(reopened->save());
        QVERIFY(!QFileInfo::exists(orphan));
        QVERIFY(QFileInfo::exists(path + QLatin1Char('/') + listed->path()));
        QVERIFY(!QFileInfo::exists(path + QLatin1Char('/') + QLatin1String(DatabaseWriter::pendingDeletionsName)));
        QVERIFY(everyMemberValidates(path));
    }

    void aFullFileSystemNeverTruncatesTheDatabase()
    {
        const QString mountPoint = m_home.freshPath(QStringLiteral("tmpfs"));
        SmallFileSystem disk(mountPoint, QStringLiteral("4m"));
        if (!disk.isMounted())
            QSKIP("a small file system cannot be mounted here");
        const QString path = mountPoint + QStringLiteral("/Full.quillarc");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        for (int i = 0; i < 40; ++i)
            fixture.addDocument(group, QStringLiteral("d%1").arg(i), "member")
                ->setField(QuillarcDocument::ContentString, Value::string(QString(2000, QLatin1Char('t'))));
        QVERIFY(fixture.save());
        disk.leaveFree(256 * 1024);

        // Lower the free space a little at a time: each save either lands
        // whole or fails with the system's reason and leaves the old database.
        int failures = 0;
        for (int round = 0; round < 80 && disk.freeBytes() > 0; ++round) {
            const QByteArray before = readFile(databasePath(path));
            const QString title = QStringLiteral("round %1").arg(round);
            fixture.archive().container()->setField(QuillarcContainer::ContainerTitle, Value::string(title));
            QString error;
            if (fixture.archive().save(&error)) {
                QCOMPARE(storedTitle(path), title);
            } else {
                ++failures;
                QVERIFY2(error.contains(QString::fromLocal8Bit(std::strerror(ENOSPC))), qPrintable(error));
                QCOMPARE(readFile(databasePath(path)), before);
            }
            QCOMPARE(temporaryFiles(path), QStringList());
            writeFile(mountPoint + QStringLiteral("/eat-%1").arg(round), QByteArray(4096, 'e'));
        }
        QVERIFY(failures > 0);
        QVERIFY(ArchiveFixture::reopen(path));
    }

    void editsMadeDuringASaveLandInTheNextOne()
    {
        const QString path = m_home.freshPath(QStringLiteral("snapshot")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        Document& archive = fixture.archive();
        const auto group = fixture.addGroup(QStringLiteral("G"));
        for (int i = 0; i < 200; ++i)
            fixture.addDocument(group, QStringLiteral("d%1").arg(i), "x");
        archive.setParents();
        archive.container()->setValue(QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("first")));
        QTRY_VERIFY(archive.isDocumentEdited());

        QStringList answers;
        archive.saveToURL(path, [&answers](const QString& error) { answers.append(error); });
        QVERIFY(archive.isSaving());
        // Changed while the save is on its way: not in this save, in the next.
        archive.container()->setValue(QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("second")));
        fixture.addDocument(group, QStringLiteral("late"), "late");
        QTRY_COMPARE(answers, QStringList { QString() });
        QCOMPARE(storedTitle(path), QStringLiteral("first"));
        QCOMPARE(ArchiveFixture::reopen(path)->allDocuments().size(), 200);
        QTRY_VERIFY(archive.isDocumentEdited());

        archive.saveToURL(path, [&answers](const QString& error) { answers.append(error); });
        archive.waitForSaves();
        QCOMPARE(answers.size(), 2);
        QCOMPARE(storedTitle(path), QStringLiteral("second"));
        QCOMPARE(ArchiveFixture::reopen(path)->allDocuments().size(), 201);
        QVERIFY(!archive.isDocumentEdited());
    }

    void savesFollowOneAnotherAndReportFailures()
    {
        const QString path = m_home.freshPath(QStringLiteral("queue")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        Document& archive = fixture.archive();
        const auto group = fixture.addGroup(QStringLiteral("G"));
        QList<DocumentPtr> doomed;
        for (int i = 0; i < 5; ++i)
            doomed.append(fixture.addDocument(group, QStringLiteral("doomed %1").arg(i), "delete me"));
        fixture.addDocument(group, QStringLiteral("kept"), "keep me");
        QVERIFY(fixture.save());
        // Saves asked for before the one ahead of them begins are joined: the
        // newest state is written, with every deletion, and everyone is answered in turn.
        QStringList answers;
        for (int i = 0; i < 5; ++i) {
            archive.container()->setField(QuillarcContainer::ContainerTitle, Value::string(QString::number(i)));
            QVERIFY(DeletionRules(archive).deleteDocument(doomed[i], group));
            archive.saveToURL(path, [&answers, i](const QString& error) { answers.append(QString::number(i) + error); });
        }
        QTRY_COMPARE(answers, QStringList({ "0", "1", "2", "3", "4" }));
        QCOMPARE(storedTitle(path), QStringLiteral("4"));
        QCOMPARE(ArchiveFixture::reopen(path)->allDocuments().size(), 1);
        for (const DocumentPtr& gone : doomed)
            QVERIFY(!QFileInfo::exists(path + QStringLiteral("/Files/") + gone->uniqueID()));
        QVERIFY(everyMemberValidates(path));

        const QByteArray saved = readFile(databasePath(path));
        archive.container()->setValue(QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("lost?")));
        QTRY_VERIFY(archive.isDocumentEdited());
        AtomicFile::injectFault(AtomicFile::Stage::Write, ENOSPC, 0);
        QString failure;
        archive.saveToURL(path, [&failure](const QString& error) { failure = error; });
        QTRY_VERIFY(!failure.isEmpty());
        QVERIFY(failure.contains(QString::fromLocal8Bit(std::strerror(ENOSPC))));
        QVERIFY(archive.isDocumentEdited()); // nothing was saved: the archive stays edited
        QCOMPARE(readFile(databasePath(path)), saved);
    }

    void bothSelectionKeysAreAlwaysStored_data()
    {
        QTest::addColumn<bool>("hasProvider");
        QTest::addColumn<qint64>("groups");
        QTest::addColumn<qint64>("documents");
        QTest::newRow("no window") << false << Document::notFound << Document::notFound;
        QTest::newRow("nothing selected") << true << Document::notFound << Document::notFound;
        QTest::newRow("rows selected") << true << qint64(2) << qint64(5);
    }

    void bothSelectionKeysAreAlwaysStored()
    {
        QFETCH(bool, hasProvider);
        QFETCH(qint64, groups);
        QFETCH(qint64, documents);
        const QString path = m_home.freshPath(QStringLiteral("selection")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        if (hasProvider) {
            fixture.archive().setSelectionProvider([&] {
                return std::pair(groups == Document::notFound ? -1 : groups, documents == Document::notFound ? -1 : documents);
            });
        }
        QVERIFY(fixture.save());
        const ValueMap stored = ArchiveFixture::reopen(path)->indexDictionary().toDictionary();
        QCOMPARE(stored.value(QStringLiteral("groupsSelection")).toInteger(), groups);
        QCOMPARE(stored.value(QStringLiteral("documentsSelection")).toInteger(), documents);
    }

    void aNewArchiveFromTheCommandLineStoresBothSelectionKeys()
    {
        const QString path = m_home.freshPath(QStringLiteral("cli-new")) + QStringLiteral(".quillarc");
        QCOMPARE(runCli({ QStringLiteral("new"), path }).exitCode, 0);
        const ValueMap stored = ArchiveFixture::reopen(path)->indexDictionary().toDictionary();
        QCOMPARE(stored.value(QStringLiteral("groupsSelection")).toInteger(), Document::notFound);
        QCOMPARE(stored.value(QStringLiteral("documentsSelection")).toInteger(), Document::notFound);
    }

    void commandsWritingIntoAFullOutputFail_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("dump") << QStringList { "dump", "ARCHIVE" };
        QTest::newRow("log") << QStringList { "log", "ARCHIVE" };
        QTest::newRow("info") << QStringList { "info", "ARCHIVE" };
        QTest::newRow("prefs") << QStringList { "prefs", "ARCHIVE" };
        QTest::newRow("extract") << QStringList { "extract", "FILE" };
        QTest::newRow("search --json") << QStringList { "search", "ARCHIVE", "member", "--json" };
        QTest::newRow("help") << QStringList { "--help" };
    }

    void commandsWritingIntoAFullOutputFail()
    {
        QFETCH(QStringList, arguments);
        const QString path = m_home.freshPath(QStringLiteral("full-output")) + QStringLiteral(".quillarc");
        {
            ArchiveFixture fixture(path);
            auto document = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("member"), "x");
            fixture.archive().createLogObjectForDocument(document, 0);
            QVERIFY(fixture.save());
        }
        const QString file = m_home.path() + QStringLiteral("/text.txt");
        QVERIFY(writeFile(file, "some text to extract"));
        arguments.replaceInStrings(QStringLiteral("ARCHIVE"), path);
        arguments.replaceInStrings(QStringLiteral("FILE"), file);

        const CliRun run = runCli(arguments, {}, QStringLiteral("/dev/full"));
        QVERIFY2(run.exitCode != 0 && run.exitCode != -1, qPrintable(QString::number(run.exitCode)));
        QVERIFY2(run.err.contains(std::strerror(ENOSPC)), run.err.constData());
    }

    void anExportIntoAFullDiskFailsWithoutShortCopies()
    {
        const QString mountPoint = m_home.freshPath(QStringLiteral("tmpfs"));
        SmallFileSystem disk(mountPoint, QStringLiteral("1m"));
        if (!disk.isMounted())
            QSKIP("a small file system cannot be mounted here");
        const QString path = m_home.freshPath(QStringLiteral("export")) + QStringLiteral(".quillarc");
        {
            ArchiveFixture fixture(path);
            const auto group = fixture.addGroup(QStringLiteral("G"));
            for (int i = 0; i < 8; ++i)
                fixture.addDocument(group, QStringLiteral("big%1").arg(i), QByteArray(300 * 1024, char('a' + i)));
            QVERIFY(fixture.save());
        }
        const QString folder = mountPoint + QStringLiteral("/Export");
        const CliRun run = runCli({ QStringLiteral("export"), path, folder });
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.contains(std::strerror(ENOSPC)), run.err.constData());
        // What was written is whole; nothing short sits under a final name.
        const QFileInfoList written = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden);
        QVERIFY(!written.isEmpty());
        for (const QFileInfo& copy : written)
            QCOMPARE(copy.size(), qint64(300 * 1024));
    }

    void theStreamedDatabaseIsTheArchiveOfItsDictionary()
    {
        // Written in one pass with the records' bytes and fingerprint filled
        // in on the way, the file is exactly what encoding it whole gives.
        const QString path = m_home.freshPath(QStringLiteral("streamed")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("Gruppe ä"));
        for (int i = 0; i < 300; ++i)
            fixture.addDocument(group, QStringLiteral("d%1").arg(i), "x")
                ->setField(QuillarcDocument::ContentString, Value::string(QString(300 + i, QChar(0x00e4 + i % 3))));
        ArchiveSnapshot snapshot = fixture.archive().fileWrapperOfType();
        snapshot.prepareLookups();
        const QString file = m_home.path() + QStringLiteral("/streamed.qldb");
        QString error;
        QVERIFY2(DatabaseWriter::writeDatabase(snapshot, file, &error), qPrintable(error));

        ValueMap company;
        company.insert(QStringLiteral("container"), snapshot.container);
        const QByteArray records = KeyedArchiver::archivedDataWithRootObject(Value::dictionary(company, false), &snapshot);
        const Value whole = DatabaseWriter::databaseDictionary(
            snapshot, Value::data(records), Fingerprint::saltedFingerprint(records, Fingerprint::salt()));
        QCOMPARE(readFile(file), KeyedArchiver::archivedDataWithRootObject(whole, &snapshot));
    }

    void sharedListsAreSavedOnce()
    {
        // Each level holds the level below twice: written out in full that
        // is 2^40 lists; stored once per level it is a few kilobytes.
        Value shared = Value::array({ Value::string(QStringLiteral("leaf")) });
        for (int level = 0; level < 40; ++level)
            shared = Value::array({ shared, shared });
        const QString path = m_home.freshPath(QStringLiteral("shared")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        ValueMap properties;
        properties.insert(QStringLiteral("nested"), shared);
        group->setField(QuillarcGroup::Properties, Value::dictionary(properties));
        QVERIFY(fixture.save());
        QVERIFY(QFileInfo(databasePath(path)).size() < 64 * 1024);

        const auto reopened = ArchiveFixture::reopen(path);
        QVERIFY(reopened);
        Value level = reopened->allGroups().first()->field(QuillarcGroup::Properties).toDictionary().value(QStringLiteral("nested"));
        for (int i = 0; i < 40; ++i) {
            QCOMPARE(level.toArray().size(), 2);
            // Lists of texts are written at each place; lists that lead further once.
            if (i < 39)
                QCOMPARE(level.toArray().at(0).containerIdentity(), level.toArray().at(1).containerIdentity());
            level = level.toArray().at(0);
        }
        QCOMPARE(level.toArray().first().toString(), QStringLiteral("leaf"));
    }

    void aKilledSaveWithDeletionsLeavesAnArchiveThatValidates()
    {
        const QString path = m_home.freshPath(QStringLiteral("killed")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        for (int i = 0; i < 60; ++i)
            fixture.addDocument(group, QStringLiteral("d%1").arg(i), QByteArray(64, char('a' + i % 26)))
                ->setField(QuillarcDocument::ContentString, Value::string(QString(2000, QLatin1Char('t'))));
        QVERIFY(fixture.save());

        for (int round = 0; round < 200; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                // Open the archive as it is now, then delete and add documents
                // and save, over and over, until killed.
                ArchiveFixture opened(ArchiveFixture::reopen(path, Document::OpenMode::ReadWrite));
                const GroupPtr current = opened.archive().allGroups().first();
                DeletionRules rules(opened.archive());
                for (int i = 0;; ++i) {
                    const QList<DocumentPtr> documents = current->documents();
                    if (i % 2 == 0 && !documents.isEmpty())
                        rules.deleteDocument(documents.at(i % documents.size()), current);
                    else
                        opened.addDocument(current, QStringLiteral("n%1").arg(i), "new member");
                    opened.archive().save();
                }
            }
            QTest::qSleep(2 + QRandomGenerator::global()->bounded(30));
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            QVERIFY2(everyMemberValidates(path), qPrintable(QStringLiteral("round %1").arg(round)));
        }
    }
};

QTEST_GUILESS_MAIN(TestSaving)
#include "tst_saving.moc"
