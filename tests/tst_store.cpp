#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/DeletionRules.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchivedFile.h"
#include "store/CanonicalDump.h"
#include "store/ExtendedAttributes.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"
#include "text/KVLocalizationDictionary.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {
class ScriptedQuestion : public OpenElsewhereQuestion
{
public:
    explicit ScriptedQuestion(Answer answer)
        : m_answer(answer)
    {
    }
    Answer askOpenElsewhere(const QString&, const QString& message, const QString&, const QString&) override
    {
        ++asked;
        lastMessage = message;
        return m_answer;
    }
    int asked = 0;
    QString lastMessage;

private:
    Answer m_answer;
};

QString databasePath(const QString& package)
{
    return package + QStringLiteral("/Quillarc.qldb");
}

/// Rewrites one entry of a saved database, as an edit from outside would.
void patchDatabase(const QString& package, const QString& key, const Value& value)
{
    Value database = KeyedUnarchiver::unarchiveObjectWithData(readFile(databasePath(package)));
    if (value.isNil())
        database.mutableDictionary().remove(key);
    else
        database.mutableDictionary().insert(key, value);
    writeFile(databasePath(package), KeyedArchiver::archivedDataWithRootObject(database));
}

/// Digest over every file of a package, to prove a failed open wrote nothing.
QByteArray packageDigest(const QString& package)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QDirIterator it(package, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    QStringList files;
    while (it.hasNext())
        files.append(it.next());
    files.sort();
    for (const QString& file : files) {
        hash.addData(file.toUtf8());
        hash.addData(readFile(file));
    }
    return hash.result();
}
} // namespace

class TestStore : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QString package(const char* name) const { return m_home.path() + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".quillarc"); }

private Q_SLOTS:
    void saveThenLoadKeepsEveryFieldBitForBit()
    {
        const QString path = package("roundtrip");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("Rechnungen"));
        const auto document = fixture.addDocument(group, QStringLiteral("Beleg"), "bytes");
        document->setField(QuillarcDocument::FileSize, Value::real(668.0));
        document->setField(QuillarcDocument::FileDate, Value::date(589000000.123456789));
        document->setField(QuillarcDocument::Title, Value());
        document->setField(QuillarcDocument::Comment, Value::string(QString("")));
        document->setField(QuillarcDocument::Tags, Value::array({ Value::string(QStringLiteral("a")), Value::string(QStringLiteral("a")) }));
        document->setField(QuillarcDocument::Properties,
            Value::dictionary({ { QStringLiteral("any"), Value::array({ Value::real(1.5, true), Value::data("x"), Value::boolean(false) }) } }));
        fixture.archive().preferences()->setField(QuillarcPreferences::VoucherNumber, Value::integer(-42));
        QVERIFY(fixture.save());

        const auto reopened = ArchiveFixture::reopen(path);
        QVERIFY(reopened);
        QCOMPARE(CanonicalDump::dump(Value::object(reopened->container())), CanonicalDump::dump(Value::object(fixture.archive().container())));
        QVERIFY(reopened->preferences()->field(QuillarcPreferences::VoucherNumber) == Value::integer(-42));

        const QByteArray dump = CanonicalDump::dumpDatabase(KeyedUnarchiver::unarchiveObjectWithData(readFile(databasePath(path))), true);
        QVERIFY(dump.contains("\"db_version\": {\"real32\": 2}"));
        QVERIFY(dump.contains("\"fileSize\": {\"real64\": 668}"));
        QVERIFY(dump.contains("\"fileDate\": {\"NSDate\": 589000000.12345684}"));
        QVERIFY(dump.contains("\"title\": null"));
        QVERIFY(dump.contains("\"comment\": \"\""));
    }

    void versionGate_data()
    {
        QTest::addColumn<double>("version");
        QTest::addColumn<bool>("opens");
        QTest::newRow("2.0") << 2.0 << true;
        QTest::newRow("1.0") << 1.0 << true;
        QTest::newRow("2.01") << 2.01 << false;
        QTest::newRow("3") << 3.0 << false;
    }
    void versionGate()
    {
        QFETCH(double, version);
        QFETCH(bool, opens);
        const QString path = package("version");
        QDir(path).removeRecursively();
        ArchiveFixture fixture(path);
        patchDatabase(path, QStringLiteral("db_version"), Value::real(version, true));
        const QByteArray before = packageDigest(path);

        Document archive;
        DocumentError error;
        const auto result = archive.readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error);
        QCOMPARE(result == Document::ReadResult::Success, opens);
        if (!opens) {
            QCOMPARE(error.domain, QStringLiteral("NSVarrowDomain"));
            QCOMPARE(error.code, -57);
            QCOMPARE(error.localizedDescription, localizedString(QStringLiteral("DOCUMENT_OPEN_ERROR.")));
            QCOMPARE(error.localizedFailureReason, localizedString(QStringLiteral("APP_VERSION_TOO_OLD_ALERT")));
            QCOMPARE(error.localizedRecoverySuggestion, localizedString(QStringLiteral("PLEASE_UPDATE_TO_LATEST_HINT")));
            QCOMPARE(packageDigest(path), before);
        }
    }

    void wrongTypeIsRefusedWithoutAnError()
    {
        Document archive;
        DocumentError error;
        QCOMPARE(archive.readFromFileWrapper(package("any"), QStringLiteral("Plain Folder"), &error), Document::ReadResult::WrongType);
        QVERIFY(error.isNull());
    }

    void openMark_data()
    {
        QTest::addColumn<bool>("markedOpen");
        QTest::addColumn<QString>("storedHost");
        QTest::addColumn<qint64>("dbKind");
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("expectedQuestions");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<bool>("hostReplaced");
        const QString me = Document::currentHostText();
        const QString other = QStringLiteral("Buchhaltung-PC (Erika Mustermann)");
        QTest::newRow("not marked") << false << QString("") << 0LL << int(OpenElsewhereQuestion::Quit) << 0 << true << true;
        QTest::newRow("marked by me") << true << me << 0LL << int(OpenElsewhereQuestion::Quit) << 0 << true << false;
        QTest::newRow("marked by another, quit") << true << other << 0LL << int(OpenElsewhereQuestion::Quit) << 1 << false << false;
        QTest::newRow("marked by another, continue") << true << other << 0LL << int(OpenElsewhereQuestion::Continue) << 1 << true << true;
        QTest::newRow("exempt kind 3") << true << other << 3LL << int(OpenElsewhereQuestion::Quit) << 0 << true << false;
        QTest::newRow("other kind 5 is checked") << true << other << 5LL << int(OpenElsewhereQuestion::Quit) << 1 << false << false;
    }
    void openMark()
    {
        QFETCH(bool, markedOpen);
        QFETCH(QString, storedHost);
        QFETCH(qint64, dbKind);
        QFETCH(int, answer);
        QFETCH(int, expectedQuestions);
        QFETCH(bool, opens);
        QFETCH(bool, hostReplaced);
        const QString path = package("openmark");
        QDir(path).removeRecursively();
        { ArchiveFixture fixture(path); }
        patchDatabase(path, QStringLiteral("isAlreadyOpen"), Value::boolean(markedOpen));
        patchDatabase(path, QStringLiteral("host"), Value::string(storedHost));
        patchDatabase(path, QStringLiteral("db_kind"), Value::integer(dbKind));

        Document archive;
        ScriptedQuestion question { OpenElsewhereQuestion::Answer(answer) };
        archive.setOpenElsewhereQuestion(&question);
        DocumentError error;
        const auto result = archive.readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error);
        QCOMPARE(question.asked, expectedQuestions);
        QCOMPARE(result == Document::ReadResult::Success, opens);
        if (expectedQuestions)
            QCOMPARE(question.lastMessage, localizedString(QStringLiteral("DOCUMENT_OPEN_CHECK_ALERT_PART_1")) + QLatin1Char('"') + storedHost
                    + QStringLiteral("\"\n\n") + localizedString(QStringLiteral("DOCUMENT_OPEN_CHECK_ALERT_PART_2")));
        if (!opens) {
            QCOMPARE(result, Document::ReadResult::QuitRequested);
            QCOMPARE(error.code, -57);
            return;
        }
        QCOMPARE(archive.host(), hostReplaced ? Document::currentHostText() : storedHost);
        QCOMPARE(archive.isDocumentEdited(), hostReplaced);
        archive.setUpAfterReading();
        QVERIFY(!archive.isDocumentEdited()); // the mark reaches the disk with the next save
        QVERIFY(archive.preferences()->validationPosssible());
    }

    void readOnlyOpeningLeavesThePackageAloneAndClosingClearsTheMark()
    {
        const QString path = package("marks");
        { ArchiveFixture fixture(path); }
        const QByteArray before = packageDigest(path);
        const auto readOnly = ArchiveFixture::reopen(path, Document::OpenMode::ReadOnly);
        QVERIFY(readOnly && !readOnly->isAlreadyOpen());
        QCOMPARE(packageDigest(path), before);

        auto archive = ArchiveFixture::reopen(path, Document::OpenMode::ReadWrite);
        QVERIFY(archive->isAlreadyOpen());
        QVERIFY(archive->close());
        const Value database = KeyedUnarchiver::unarchiveObjectWithData(readFile(databasePath(path)));
        QCOMPARE(database.toDictionary().value(QStringLiteral("isAlreadyOpen")).toBool(), false);
        QCOMPARE(database.toDictionary().value(QStringLiteral("host")).toString(), QString());
        QVERIFY(database.toDictionary().value(QStringLiteral("preferences")).toObjectOf<QuillarcPreferences>()->validationPosssible());
    }

    void damagedInputIsRefusedUntouched_data()
    {
        QTest::addColumn<QByteArray>("database");
        QTest::addColumn<bool>("createDatabase");
        QTest::newRow("no database") << QByteArray() << false;
        QTest::newRow("empty database") << QByteArray() << true;
        QTest::newRow("garbage") << QByteArray(4096, '\x17') << true;
        QTest::newRow("truncated") << KeyedArchiver::archivedDataWithRootObject(Value::dictionary()).left(40) << true;
        QTest::newRow("array at the root") << KeyedArchiver::archivedDataWithRootObject(Value::array()) << true;
        QTest::newRow("companyData undecodable") << KeyedArchiver::archivedDataWithRootObject(
            Value::dictionary({ { QStringLiteral("companyData"), Value::data(QByteArray(64, 'x')) } }, false)) << true;
    }
    void damagedInputIsRefusedUntouched()
    {
        QFETCH(QByteArray, database);
        QFETCH(bool, createDatabase);
        const QString path = package("damaged");
        QDir(path).removeRecursively();
        QDir().mkpath(path + QStringLiteral("/Files"));
        if (createDatabase)
            writeFile(databasePath(path), database);
        const QByteArray before = packageDigest(path);
        Document archive;
        DocumentError error;
        QCOMPARE(archive.readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error), Document::ReadResult::Failed);
        QVERIFY(!error.text().isEmpty());
        QCOMPARE(packageDigest(path), before);
    }

    void fieldsOfTheWrongTypeReadAsNothing()
    {
        const QString path = package("wrongtypes");
        { ArchiveFixture fixture(path); }
        patchDatabase(path, QStringLiteral("host"), Value::integer(7));
        patchDatabase(path, QStringLiteral("companyData"), Value::string(QStringLiteral("not data")));
        patchDatabase(path, QStringLiteral("preferences"), Value::string(QStringLiteral("not an object")));
        const auto archive = ArchiveFixture::reopen(path);
        QVERIFY(archive);
        QVERIFY(archive->container());   // a fresh one: there were no records to read
        QVERIFY(archive->preferences());
        QCOMPARE(archive->allDocuments().size(), 0);
    }

    void deletedDocumentsLoseTheirFolderAtTheNextSave()
    {
        const QString path = package("deleting");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        const auto document = fixture.addDocument(group, QStringLiteral("same"), "1");
        const auto twin = fixture.addDocument(group, QStringLiteral("same"), "2");
        QVERIFY(document->path() != twin->path());
        QVERIFY(DeletionRules(fixture.archive()).deleteDocument(document, group));
        fixture.archive().addToDeleteIDSArray(QStringLiteral("../../escape"));
        const QString outside = m_home.path() + QStringLiteral("/outside");
        QDir().mkpath(outside);
        writeFile(outside + QStringLiteral("/keep"), "not the archive's");
        QFile::link(outside, path + QStringLiteral("/Files/linked"));
        fixture.archive().addToDeleteIDSArray(QStringLiteral("linked"));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("/Files/") + document->uniqueID()));
        QVERIFY(fixture.save());
        QVERIFY(!QFileInfo::exists(path + QStringLiteral("/Files/") + document->uniqueID()));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("/") + twin->path()));
        QVERIFY(QFileInfo::exists(outside + QStringLiteral("/keep")));
        QVERIFY(!QFileInfo(path + QStringLiteral("/Files/linked")).isSymLink());
        QVERIFY(fixture.save()); // the name is tried again and simply not found
    }

    void savingNeverRewritesMembers()
    {
        const QString path = package("members");
        ArchiveFixture fixture(path);
        const auto document = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("m"), "member bytes");
        const QString member = path + QLatin1Char('/') + document->path();
        const QDateTime written = QFileInfo(member).lastModified();
        const QByteArray bytes = readFile(member);
        QTest::qWait(20);
        QVERIFY(fixture.save());
        QVERIFY(fixture.save());
        QCOMPARE(readFile(member), bytes);
        QCOMPARE(QFileInfo(member).lastModified(), written);
    }

    void aKilledSaveLeavesTheOldOrTheNewDatabase()
    {
        const QString path = package("killed");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        for (int i = 0; i < 300; ++i)
            fixture.addDocument(group, QStringLiteral("d%1").arg(i), QByteArray(100, char('a' + i % 26)))
                ->setField(QuillarcDocument::ContentString, Value::string(QString(4000, QLatin1Char('t'))));
        QVERIFY(fixture.save());

        for (int round = 0; round < 12; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                // Save over and over, with a different title each time, until killed.
                for (int i = 0;; ++i) {
                    fixture.archive().container()->setField(QuillarcContainer::ContainerTitle, Value::string(QString::number(i)));
                    fixture.archive().save();
                }
            }
            QTest::qSleep(20 + QRandomGenerator::global()->bounded(80));
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            const auto reopened = ArchiveFixture::reopen(path);
            QVERIFY2(reopened, "database damaged by a killed save");
            QCOMPARE(reopened->allDocuments().size(), 300);
        }
    }

    void changesReachTheArchiveOncePerLevel()
    {
        const QString path = package("changes");
        ArchiveFixture fixture(path);
        const auto document = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("d"), "x");
        fixture.archive().setParents();
        fixture.archive().clearChangeCount();
        for (int i = 0; i < 10; ++i)
            document->setValue(QStringLiteral("note"), Value::string(QString::number(i)));
        QCOMPARE(fixture.archive().changeCount(), 0); // nothing before the next loop turn
        QTRY_COMPARE(fixture.archive().changeCount(), 1);
        QTest::qWait(20);
        QCOMPARE(fixture.archive().changeCount(), 1);
        QCOMPARE(document->note(), QStringLiteral("9"));
    }

    void plainCopiesForOtherApplications()
    {
        const QString path = package("copies");
        ArchiveFixture fixture(path);
        const auto document = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("Vertrag"), "original", QStringLiteral("txt"));
        document->setField(QuillarcDocument::Tags, Value::array({ Value::string(QStringLiteral("Steuer")), Value::string(QStringLiteral("2026")) }));
        document->setField(QuillarcDocument::FileKind, Value::string(QStringLiteral("Text")));
        fixture.archive().setParents();

        const QString copy = ArchivedFile::fileRepresentationPath(*document);
        QCOMPARE(copy, ArchivedFile::applicationSupportDirectory() + QStringLiteral("/Vertrag.txt"));
        QCOMPARE(readFile(copy), QByteArray("original"));
        if (supportsExtendedAttributes(QFileInfo(copy).path())) {
            QVERIFY(ExtendedAttributes::readTags(copy).isEmpty()); // tags follow 0.18 s later
            QTRY_COMPARE(ExtendedAttributes::readTags(copy), (QStringList { QStringLiteral("Steuer"), QStringLiteral("2026") }));
        }
        writeFile(copy, "changed by another application");
        QCOMPARE(readFile(ArchivedFile::fileRepresentationPath(*document)), QByteArray("changed by another application")); // reused
        QCOMPARE(readFile(ArchivedFile::previewItemURL(*document)), QByteArray("original"));                             // always fresh

        QCOMPARE(fixture.archive().allFileKinds().size(), 1);
        QCOMPARE(fixture.archive().allFileKinds().first().value(QStringLiteral("fileKind")).toString(), QStringLiteral("Text"));
    }

    void colorTagImages_data()
    {
        QTest::addColumn<Value>("tag");
        QTest::addColumn<QString>("image");
        QTest::newRow("0") << Value::integer(0) << "redDot";
        QTest::newRow("6") << Value::integer(6) << "grayDot";
        QTest::newRow("7") << Value::integer(7) << "noDot";
        QTest::newRow("99") << Value::integer(99) << "noDot";
        QTest::newRow("-1") << Value::integer(-1) << "noDot";
        QTest::newRow("nil") << Value() << "noDot";
        QTest::newRow("real 2.0") << Value::real(2.0) << "yellowDot";
    }
    void colorTagImages()
    {
        QFETCH(Value, tag);
        QFETCH(QString, image);
        QCOMPARE(colorTagImageName(tag), image);
    }

    void locksFolderIDsAndMemberPaths()
    {
        const QString path = package("derived");
        ArchiveFixture fixture(path);
        const auto group = fixture.addGroup(QStringLiteral("G"));
        const auto first = fixture.addDocument(group, QStringLiteral("a"), "1");
        const auto second = fixture.addDocument(group, QStringLiteral("b"), "2");
        first->setField(QuillarcDocument::FileID, Value::string(QStringLiteral("1234")));
        QCOMPARE(group->folderFileIDs(), QStringList { QStringLiteral("1234") });
        QVERIFY(!second->isFileLocked());
        group->setField(QuillarcGroup::IsLocked, Value::boolean(true));
        QVERIFY(second->isFileLocked());
        QCOMPARE(second->parentID(), group->databaseObjectUniqueID());
        QCOMPARE(fixture.archive().itemForID(second->uniqueID()), second);
        QCOMPARE(ArchivedFile::fileData(*second), QByteArray("2"));

        second->setField(QuillarcDocument::Path, Value::string(QStringLiteral("../../etc/passwd")));
        QCOMPARE(ArchivedFile::fileURL(*second), QString());
        second->setField(QuillarcDocument::Path, Value::string(QStringLiteral("/etc/passwd")));
        QCOMPARE(ArchivedFile::fileURL(*second), QString());
        QVERIFY(ArchivedFile::fileData(*second).isEmpty());
        QVERIFY(fixture.archive().container()->group() == nullptr);
    }
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
