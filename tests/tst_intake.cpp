#include "ArchiveFixture.h"
#include "TestSupport.h"

#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/SourceFile.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ExtendedAttributes.h"
#include "store/IntegrityValidator.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class TestIntake : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void voucherRule_data();
    void voucherRule();
    void fileNames_data();
    void fileNames();
    void memberOfFileWithoutExtension();
    void fileDateByKind_data();
    void fileDateByKind();
    void tagsAppendedWithDuplicates();
    void commentArrivesOneTurnLater();
    void nameClashStoresNothing();
    void unsavedArchiveIsRefused();
    void singleIntakeConfirmAndCancel();
    void scanIntakeLogsTwice();
    void batchNumberingAndSharedValues_data();
    void batchNumberingAndSharedValues();
    void batchSkipsFoldersAndPackages();
    void batchCancelQueuesMembers();
    void stoppedBatchLeavesArchiveAsItWas();
    void membersValidate();
    void unfinishedMembersAreRemoved();
    void badInput_data();
    void badInput();
    void cliAddAndPrefs();
    void cliAddTakesNamesThatAreNotUtf8();

private:
    QString sourcePath(const QString& name) const { return m_sources.filePath(name); }
    QString writeSource(const QString& name, const QByteArray& bytes);
    QStringList memberFolders() const;

    TemporaryHome m_home;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ArchiveFixture> m_fixture;
    GroupPtr m_group;
    QDir m_sources;
    QList<QByteArray> m_nativeLeftovers; ///< files QTemporaryDir cannot remove by their text name
};

void TestIntake::init()
{
    qRegisterMetaType<QuillarcGroup*>();
    m_dir = std::make_unique<QTemporaryDir>();
    m_fixture = std::make_unique<ArchiveFixture>(m_dir->filePath(QStringLiteral("Test.quillarc")));
    m_group = m_fixture->addGroup(QStringLiteral("Receipts"));
    QDir(m_dir->path()).mkdir(QStringLiteral("sources"));
    m_sources = QDir(m_dir->filePath(QStringLiteral("sources")));
    Document& archive = m_fixture->archive();
    archive.preferences()->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(false));
}

void TestIntake::cleanup()
{
    for (const QByteArray& native : std::as_const(m_nativeLeftovers))
        ::unlink(native.constData());
    m_nativeLeftovers.clear();
    m_group.reset();
    m_fixture.reset();
    m_dir.reset();
}

QString TestIntake::writeSource(const QString& name, const QByteArray& bytes)
{
    const QString path = sourcePath(name);
    writeFile(path, bytes);
    return path;
}

QStringList TestIntake::memberFolders() const
{
    return QDir(m_fixture->archive().filesPath()).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
}

void TestIntake::voucherRule_data()
{
    QTest::addColumn<bool>("numbering");
    QTest::addColumn<Value>("prefix");
    QTest::addColumn<Value>("number");
    QTest::addColumn<Value>("suffix");
    QTest::addColumn<QString>("slip");
    QTest::addColumn<qint64>("next");

    const Value nil;
    QTest::newRow("prefix and suffix") << true << Value::string("RE-") << Value::integer(41) << Value::string("/24") << "RE-41/24" << qint64(42);
    QTest::newRow("nil prefix and suffix") << true << nil << Value::integer(7) << nil << "7" << qint64(8);
    QTest::newRow("nil number") << true << Value::string("A") << nil << Value::string("Z") << "AZ" << qint64(1);
    QTest::newRow("zero") << true << Value::string("") << Value::integer(0) << Value::string("") << "0" << qint64(1);
    QTest::newRow("numbering off") << false << Value::string("RE-") << Value::integer(41) << nil << "" << qint64(41);
}

void TestIntake::voucherRule()
{
    QFETCH(bool, numbering);
    QFETCH(Value, prefix);
    QFETCH(Value, number);
    QFETCH(Value, suffix);
    QFETCH(QString, slip);
    QFETCH(qint64, next);

    Document& archive = m_fixture->archive();
    const PreferencesPtr preferences = archive.preferences();
    preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(numbering));
    preferences->setField(QuillarcPreferences::VoucherPrefix, prefix);
    preferences->setField(QuillarcPreferences::VoucherNumber, number);
    preferences->setField(QuillarcPreferences::VoucherSuffix, suffix);
    DocumentIntake intake(archive);
    const DocumentPtr record = QuillarcDocument::create();
    intake.applyVoucherNumbering(record);
    QCOMPARE(record->slipNumber(), slip);
    QCOMPARE(preferences->voucherNumber(), next);
}

void TestIntake::fileNames_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");

    QTest::newRow("two dots") << "a.b.pdf" << "a.b" << "pdf";
    QTest::newRow("no extension") << "README" << "README" << "";
    QTest::newRow("case kept") << "Scan.PDF" << "Scan" << "PDF";
    QTest::newRow("hidden, no extension") << ".profile" << ".profile" << "";
    QTest::newRow("hidden with extension") << ".notes.txt" << ".notes" << "txt";
    QTest::newRow("trailing dot") << "draft." << "draft." << "";
    QTest::newRow("blank inside") << "Invoice 2024.txt" << "Invoice 2024" << "txt";
    QTest::newRow("newline and quotes") << "a\"b'\nc.txt" << "a\"b'\nc" << "txt";
}

void TestIntake::fileNames()
{
    QFETCH(QString, fileName);
    QFETCH(QString, name);
    QFETCH(QString, extension);

    QString gotName;
    QString gotExtension;
    DocumentIntake::splitFileName(fileName, &gotName, &gotExtension);
    QCOMPARE(gotName, name);
    QCOMPARE(gotExtension, extension);

    // The same names survive a real intake, member file names included.
    DocumentIntake intake(m_fixture->archive());
    const DocumentPtr record = intake.quillarcDocumentForURL(writeSource(fileName, "text\n"), m_group);
    QVERIFY2(record, qPrintable(intake.errorString()));
    QCOMPARE(record->name(), name);
    QCOMPARE(record->title(), name);
    QCOMPARE(record->extension(), extension);
    QCOMPARE(record->path(), QStringLiteral("Files/%1/%2").arg(record->uniqueID(), name));
    QVERIFY(QFileInfo(record->fileURL()).isFile());
}

void TestIntake::memberOfFileWithoutExtension()
{
    DocumentIntake intake(m_fixture->archive());
    const DocumentPtr record = intake.quillarcDocumentForURL(writeSource(QStringLiteral("LICENSE"), "MIT\n"), m_group);
    QVERIFY(record);
    const QDir member(QDir(m_fixture->archive().packagePath()).filePath(QStringLiteral("Files/") + record->uniqueID()));
    QCOMPARE(member.entryList(QDir::Files, QDir::Name), QStringList({ "LICENSE", "LICENSE.png" }));
    QCOMPARE(record->iconPath(), record->path() + QStringLiteral(".png"));
    QCOMPARE(record->extension(), QString());
}

void TestIntake::fileDateByKind_data()
{
    QTest::addColumn<qint64>("kind");
    QTest::newRow("0 creation") << qint64(0);
    QTest::newRow("1 modification") << qint64(1);
    QTest::newRow("2 added") << qint64(2);
    QTest::newRow("9 added") << qint64(9);
}

void TestIntake::fileDateByKind()
{
    QFETCH(qint64, kind);
    const QString path = writeSource(QStringLiteral("old.txt"), "old\n");
    const QDateTime modified(QDate(2019, 3, 1), QTime(12, 0), Qt::UTC);
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(modified, QFileDevice::FileModificationTime));
    }
    m_fixture->archive().preferences()->setField(QuillarcPreferences::FolderImportDateUsageKind, Value::integer(kind));
    DocumentIntake intake(m_fixture->archive());
    const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
    QVERIFY(record);
    QCOMPARE(Clock::toDateTime(record->field(QuillarcDocument::ModificationDate).toDate()), modified);
    const int expected = kind == 0 ? QuillarcDocument::CreationDate
        : kind == 1                ? QuillarcDocument::ModificationDate
                                   : QuillarcDocument::DateAdded;
    QCOMPARE(record->field(QuillarcDocument::FileDate), record->field(expected));
    // Birth time where the file system keeps one: never before the modification time we set.
    QVERIFY(record->field(QuillarcDocument::CreationDate).toDate() >= Clock::fromDateTime(modified));
}

void TestIntake::tagsAppendedWithDuplicates()
{
    const QString path = writeSource(QStringLiteral("tagged.txt"), "t\n");
    if (!ExtendedAttributes::writeTags(path, { "tax", "2024", "tax" }))
        QSKIP("the temporary folder's file system keeps no extended attributes");
    DocumentIntake intake(m_fixture->archive());
    const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
    QCOMPARE(record->tags(), QStringList({ "tax", "2024", "tax" }));

    m_fixture->archive().preferences()->setField(QuillarcPreferences::ReadFinderTags, Value::boolean(false));
    QVERIFY(intake.quillarcDocumentForURL(path, m_group)->tags().isEmpty());
}

void TestIntake::commentArrivesOneTurnLater()
{
    const QString path = writeSource(QStringLiteral("commented.txt"), "c\n");
    if (!ExtendedAttributes::writeComment(path, QStringLiteral("paid in cash")))
        QSKIP("the temporary folder's file system keeps no extended attributes");
    DocumentIntake intake(m_fixture->archive());
    const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
    QCOMPARE(record->comment(), QString());
    QTRY_COMPARE(record->comment(), QStringLiteral("paid in cash"));

    // A record dropped before the loop turns gets nothing and nothing breaks.
    std::weak_ptr<QuillarcDocument> dropped = intake.quillarcDocumentForURL(path, m_group);
    QVERIFY(dropped.expired());
    QCoreApplication::processEvents();
}

void TestIntake::nameClashStoresNothing()
{
    Document& archive = m_fixture->archive();
    QVERIFY(QDir(archive.filesPath()).mkdir(QStringLiteral("taken")));
    const QStringList before = memberFolders();
    DocumentIntake intake(archive);
    const DocumentPtr record = intake.quillarcDocumentForURL(writeSource(QStringLiteral("taken.pdf"), "x"), m_group);
    QVERIFY(record);
    QCOMPARE(record->path(), QString());
    QCOMPARE(record->iconPath(), QString());
    QCOMPARE(record->string(), QString());
    QCOMPARE(memberFolders(), before);
}

void TestIntake::unsavedArchiveIsRefused()
{
    Document unsaved;
    unsaved.setUpAfterReading();
    DocumentIntake intake(unsaved);
    QVERIFY(!intake.quillarcDocumentForURL(writeSource(QStringLiteral("a.txt"), "a"), nullptr));
    QCOMPARE(intake.errorString(), localizedString(QStringLiteral("You need to name and save the current Quillarc document first.")));
}

void TestIntake::singleIntakeConfirmAndCancel()
{
    Document& archive = m_fixture->archive();
    const PreferencesPtr preferences = archive.preferences();
    preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(5));
    preferences->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(true));
    DocumentIntake intake(archive);
    QSignalSpy changed(&intake, &DocumentIntake::documentCountChanged);

    const DocumentPtr kept = intake.addDocument(writeSource(QStringLiteral("kept.txt"), "k"), m_group);
    QVERIFY(kept);
    QCOMPARE(kept->slipNumber(), QStringLiteral("5"));
    QVERIFY(kept->isLocked());
    QCOMPARE(m_group->documents(), QList<DocumentPtr>({ kept }));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(archive.container()->logs().size(), 0);
    intake.closeAddDocumentSheet(kept);
    QCOMPARE(archive.container()->logs().size(), 1);
    QCOMPARE(archive.container()->logs().first()->field(QuillarcLogObject::LogKind).toInteger(), 0);

    const DocumentPtr dropped = intake.addDocument(writeSource(QStringLiteral("dropped.txt"), "d"), m_group);
    QCOMPARE(dropped->slipNumber(), QStringLiteral("6"));
    QCOMPARE(preferences->voucherNumber(), qint64(7));
    intake.cancelAddDocumentSheet(dropped);
    QCOMPARE(m_group->documents(), QList<DocumentPtr>({ kept }));
    QCOMPARE(preferences->voucherNumber(), qint64(6));
    QCOMPARE(archive.container()->logs().size(), 1);
    QVERIFY(archive.deleteIDSArray().contains(dropped->uniqueID()));
    QVERIFY(m_fixture->save());
    QVERIFY(!memberFolders().contains(dropped->uniqueID()));
    QVERIFY(memberFolders().contains(kept->uniqueID()));
    // The number given back goes to the next file.
    QCOMPARE(intake.addDocument(writeSource(QStringLiteral("next.txt"), "n"), m_group)->slipNumber(), QStringLiteral("6"));
}

void TestIntake::scanIntakeLogsTwice()
{
    const QString path = sourcePath(QStringLiteral("Scan.pdf"));
    {
        QPdfWriter writer(path);
        QPainter painter(&writer);
        painter.drawText(QPointF(100, 100), QStringLiteral("Scanned invoice 4711"));
    }
    Document& archive = m_fixture->archive();
    DocumentIntake intake(archive);
    const DocumentPtr record = intake.addScanDocumentWithURL(path, m_group);
    QVERIFY(record);
    QVERIFY(record->contentString().contains(QStringLiteral("4711")));
    QCOMPARE(record->field(QuillarcDocument::FileType).toString(), QStringLiteral("application/pdf"));
    QCOMPARE(archive.container()->logs().size(), 1);
    intake.closeAddDocumentSheet(record);
    QCOMPARE(archive.container()->logs().size(), 2);
    for (const LogObjectPtr& entry : archive.container()->logs())
        QCOMPARE(entry->field(QuillarcLogObject::ObjectUniqueID).toString(), record->uniqueID());
}

void TestIntake::batchNumberingAndSharedValues_data()
{
    QTest::addColumn<bool>("numbering");
    QTest::addColumn<QStringList>("slips");
    QTest::newRow("numbered from the edited start") << true << QStringList({ "B-50/x", "B-51/x", "B-52/x" });
    QTest::newRow("not numbered") << false << QStringList({ "", "", "" });
}

void TestIntake::batchNumberingAndSharedValues()
{
    QFETCH(bool, numbering);
    QFETCH(QStringList, slips);
    Document& archive = m_fixture->archive();
    const PreferencesPtr preferences = archive.preferences();
    preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(numbering));
    preferences->setField(QuillarcPreferences::VoucherPrefix, Value::string("B-"));
    preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(10));
    preferences->setField(QuillarcPreferences::VoucherSuffix, Value::string("/x"));
    const QString tagged = writeSource(QStringLiteral("2.txt"), "2");
    const bool xattrs = ExtendedAttributes::writeTags(tagged, { "own" });

    DocumentIntake intake(archive);
    BatchIntake batch(archive, intake);
    QVERIFY(batch.start({ writeSource(QStringLiteral("1.txt"), "1"), tagged, writeSource(QStringLiteral("3.txt"), "3") }, m_group));
    QCOMPARE(batch.batchArrayCount(), 3);
    QVERIFY(m_group->documents().isEmpty());
    QCOMPARE(batch.values().voucherNumberingBatchDocuments, numbering);
    if (numbering)
        QCOMPARE(batch.values().voucherNumberBatchDocuments.toInteger(), qint64(10));
    QCOMPARE(batch.values().colorTagBatchDocuments.toInteger(), qint64(7));
    batch.values().voucherNumberBatchDocuments = Value::integer(50);
    batch.values().colorTagBatchDocuments = Value::integer(3);
    batch.values().commentBatchDocuments = QStringLiteral("shared");
    batch.values().tagsBatchDocuments = QStringList({ "batch", "q1" });
    batch.values().lockBatchDocuments = true;
    batch.closeAddBatchDocumentsSheet();

    const QList<DocumentPtr> records = m_group->documents();
    QCOMPARE(records.size(), 3);
    for (qsizetype i = 0; i < records.size(); ++i) {
        QCOMPARE(records[i]->slipNumber(), slips[i]);
        QCOMPARE(records[i]->field(QuillarcDocument::DocumentColorTag).toInteger(), qint64(3));
        QCOMPARE(records[i]->comment(), QStringLiteral("shared"));
        QVERIFY(records[i]->isLocked());
    }
    QCOMPARE(records[0]->tags(), QStringList({ "batch", "q1" }));
    if (xattrs)
        QCOMPARE(records[1]->tags(), QStringList({ "own", "batch", "q1" }));
    // Counted from the stored value, not the edited start, numbered or not.
    QCOMPARE(preferences->voucherNumber(), qint64(13));
    QCOMPARE(archive.container()->logs().size(), 3);
    QCOMPARE(archive.container()->logs()[2]->field(QuillarcLogObject::ObjectUniqueID).toString(), records[2]->uniqueID());
}

void TestIntake::batchSkipsFoldersAndPackages()
{
    QVERIFY(m_sources.mkdir(QStringLiteral("folder")));
    QVERIFY(m_sources.mkdir(QStringLiteral("Old.quillarc")));
    DocumentIntake intake(m_fixture->archive());
    BatchIntake batch(m_fixture->archive(), intake);
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression("SKIP FILE: .*folder"));
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression("SKIP FILE: .*Old.quillarc: "));
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression("SKIP FILE: .*missing.txt"));
    QVERIFY(batch.start({ sourcePath("folder"), writeSource("a.txt", "a"), sourcePath("Old.quillarc"), sourcePath("missing.txt") },
        m_group));
    QCOMPARE(batch.batchArrayCount(), 1);
    QCOMPARE(batch.skipped().size(), 3);
    QCOMPARE(batch.batchSheetTitle(), QStringLiteral("1 ") + localizedString(QStringLiteral("NEW_BATCH_LABEL")));
}

void TestIntake::batchCancelQueuesMembers()
{
    Document& archive = m_fixture->archive();
    archive.preferences()->setField(QuillarcPreferences::VoucherNumber, Value::integer(4));
    DocumentIntake intake(archive);
    BatchIntake batch(archive, intake);
    QVERIFY(batch.start({ writeSource("a.txt", "a"), writeSource("b.txt", "b") }, m_group));
    batch.cancelAddBatchDocumentsSheet();
    QCOMPARE(archive.deleteIDSArray().size(), 2);
    QVERIFY(m_group->documents().isEmpty());
    QCOMPARE(archive.preferences()->voucherNumber(), qint64(4));
    QCOMPARE(archive.container()->logs().size(), 0);
    QVERIFY(m_fixture->save());
    QVERIFY(memberFolders().isEmpty());
}

void TestIntake::stoppedBatchLeavesArchiveAsItWas()
{
    Document& archive = m_fixture->archive();
    DocumentIntake intake(archive);
    BatchIntake batch(archive, intake);
    const QStringList paths { writeSource("a.txt", "a"), writeSource("b.txt", "b"), writeSource("c.txt", "c") };
    QVERIFY(!batch.start(paths, m_group, [](int done, int) { return done < 2; }));
    QCOMPARE(batch.batchArrayCount(), 0);
    QVERIFY(memberFolders().isEmpty());
    QVERIFY(m_group->documents().isEmpty());
}

void TestIntake::membersValidate()
{
    Document& archive = m_fixture->archive();
    QByteArray bytes;
    for (int i = 0; i < 300000; ++i)
        bytes.append(char(i * 7));
    DocumentIntake intake(archive);
    const DocumentPtr record = intake.addDocument(writeSource(QStringLiteral("blob.bin"), bytes), m_group);
    QVERIFY(record);
    QCOMPARE(record->field(QuillarcDocument::FileSize), Value::real(300000.0));
    QVERIFY(!record->isFileCorrupted());
    QCOMPARE(IntegrityValidator::checkMember(archive.packagePath(), record->path(), record->string(), archive.string()),
        IntegrityValidator::MemberState::Intact);
    const PackageMember::Contents contents = PackageMember::read(record->fileURL());
    QCOMPARE(contents.status, PackageMember::Status::Ok);
    QVERIFY(contents.data == bytes);
    QCOMPARE(readFile(record->imageURL()), contents.quickLook);
    QVERIFY(!contents.fileIcon.isEmpty());

    // Saved and reopened, the record still proves its member.
    QVERIFY(m_fixture->save());
    const auto reopened = ArchiveFixture::reopen(archive.packagePath());
    QVERIFY(reopened);
    const DocumentPtr again = reopened->itemForID(record->uniqueID());
    QVERIFY(again);
    QVERIFY(!again->isFileCorrupted());
}

void TestIntake::unfinishedMembersAreRemoved()
{
    const QDir files(m_fixture->archive().filesPath());
    QVERIFY(files.mkpath(QStringLiteral(".intake-ABC/sub")));
    QVERIFY(files.mkdir(QStringLiteral("KEEP")));
    QCOMPARE(DocumentIntake::removeUnfinishedMembers(files.path()), 1);
    QCOMPARE(memberFolders(), QStringList({ "KEEP" }));
}

void TestIntake::badInput_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("taken");
    QTest::addColumn<QByteArray>("stored");

    QTest::newRow("vanished") << "vanished" << true << QByteArray();
    QTest::newRow("0 bytes") << "empty" << true << QByteArray();
    QTest::newRow("newline and quotes in name") << "oddname" << true << QByteArray("odd");
    QTest::newRow("symlink") << "symlink" << true << QByteArray("target bytes");
    QTest::newRow("symlink loop") << "loop" << false << QByteArray();
    QTest::newRow("fifo") << "fifo" << false << QByteArray();
    QTest::newRow("/dev/zero") << "devzero" << false << QByteArray();
    QTest::newRow("folder") << "folder" << false << QByteArray();
    QTest::newRow("package") << "package" << false << QByteArray();
    QTest::newRow("4 GiB") << "huge" << false << QByteArray();
    QTest::newRow("read error") << "readerror" << true << QByteArray();
    QTest::newRow("not UTF-8") << "notutf8" << false << QByteArray();
}

void TestIntake::badInput()
{
    QFETCH(QString, kind);
    QFETCH(bool, taken);
    QFETCH(QByteArray, stored);

    QString path;
    if (kind == QLatin1String("vanished")) {
        path = sourcePath(QStringLiteral("gone.pdf"));
    } else if (kind == QLatin1String("empty")) {
        path = writeSource(QStringLiteral("empty.txt"), QByteArray());
    } else if (kind == QLatin1String("oddname")) {
        path = writeSource(QStringLiteral("line\nbreak \"quoted\" 'single'.txt"), "odd");
    } else if (kind == QLatin1String("symlink")) {
        const QString target = writeSource(QStringLiteral("target.txt"), "target bytes");
        path = sourcePath(QStringLiteral("link.txt"));
        QVERIFY(QFile::link(target, path));
    } else if (kind == QLatin1String("loop")) {
        path = sourcePath(QStringLiteral("loop1"));
        QVERIFY(::symlink("loop2", QFile::encodeName(path).constData()) == 0);
        QVERIFY(::symlink("loop1", QFile::encodeName(sourcePath("loop2")).constData()) == 0);
    } else if (kind == QLatin1String("fifo")) {
        path = sourcePath(QStringLiteral("pipe.txt"));
        QVERIFY(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
    } else if (kind == QLatin1String("devzero")) {
        path = QStringLiteral("/dev/zero");
    } else if (kind == QLatin1String("folder")) {
        path = sourcePath(QStringLiteral("folder"));
        QVERIFY(m_sources.mkdir(QStringLiteral("folder")));
    } else if (kind == QLatin1String("package")) {
        path = sourcePath(QStringLiteral("Letter.pages"));
        QVERIFY(m_sources.mkdir(QStringLiteral("Letter.pages")));
    } else if (kind == QLatin1String("huge")) {
        // Sparse: no 4 GiB are written, but the size says so.
        path = sourcePath(QStringLiteral("huge.bin"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(qint64(4) << 30));
    } else if (kind == QLatin1String("readerror")) {
        // Tests run as root, where permissions do not stop reading; this
        // regular file exists but fails at the first read.
        path = QStringLiteral("/proc/self/mem");
    } else if (kind == QLatin1String("notutf8")) {
        const QByteArray native = QFile::encodeName(m_sources.path()) + "/bad\xff\xfe.txt";
        const int fd = ::open(native.constData(), O_CREAT | O_WRONLY, 0600);
        QVERIFY(fd >= 0);
        ::close(fd);
        path = QFile::decodeName(native);
        m_nativeLeftovers.append(native);
    }

    const QStringList before = memberFolders();
    DocumentIntake intake(m_fixture->archive());
    QElapsedTimer timer;
    timer.start();
    const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
    QVERIFY2(timer.elapsed() < 20000, "intake must never wait on a file");
    QCOMPARE(bool(record), taken);
    if (!taken) {
        QVERIFY(!intake.errorString().isEmpty());
        QCOMPARE(memberFolders(), before);
        if (kind == QLatin1String("package"))
            QVERIFY(intake.errorString().contains(localizedString(QStringLiteral("File format not supported."))));
        return;
    }
    // Whatever came in has a complete member holding exactly what was read.
    const PackageMember::Contents contents = PackageMember::read(record->fileURL());
    QCOMPARE(contents.status, PackageMember::Status::Ok);
    QCOMPARE(contents.data, stored);
    QVERIFY(!record->isFileCorrupted());
    QVERIFY(QFileInfo(record->imageURL()).isFile());
    QCOMPARE(memberFolders().size(), before.size() + 1);
    if (kind == QLatin1String("vanished")) {
        QCOMPARE(record->fileID(), QStringLiteral("0"));
        QVERIFY(record->field(QuillarcDocument::FileSize).isNil());
        QVERIFY(record->field(QuillarcDocument::FileKind).isNil());
        QVERIFY(record->field(QuillarcDocument::ModificationDate).isNil());
    } else {
        QVERIFY(record->fileID().toULongLong() > 0);
    }
    if (kind == QLatin1String("symlink"))
        QCOMPARE(record->name(), QStringLiteral("link"));
}

void TestIntake::cliAddAndPrefs()
{
    const QString archivePath = m_dir->filePath(QStringLiteral("Cli.quillarc"));
    QCOMPARE(runCli({ "new", archivePath }).exitCode, 0);
    QCOMPARE(runCli({ "prefs", archivePath, "autoVoucherNumbering", "yes" }).exitCode, 0);
    QCOMPARE(runCli({ "prefs", archivePath, "voucherPrefix", "RE-" }).exitCode, 0);
    QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber", "41" }).exitCode, 0);
    QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber", "many" }).exitCode, 1);
    QCOMPARE(runCli({ "prefs", archivePath, "noSuchKey" }).exitCode, 2);
    QCOMPARE(runCli({ "prefs", archivePath, "voucherPrefix" }).out, QByteArray("RE-\n"));

    const CliRun single = runCli({ "add", archivePath, writeSource("one.txt", "1"), "--group", "Receipts", "--tags", "a,b",
        "--comment", "hello", "--color", "2" });
    QVERIFY2(single.exitCode == 0, single.err.constData());
    QVERIFY(single.out.contains("[RE-41]"));
    QVERIFY(single.out.contains("Created group \"Receipts\""));

    const CliRun batch = runCli({ "add", archivePath, writeSource("two.txt", "2"), writeSource("three.txt", "3"),
        "--group", "Receipts", "--start-number", "100", "--unlock" });
    QVERIFY2(batch.exitCode == 0, batch.err.constData());
    QVERIFY(batch.out.contains("[RE-100]"));
    QVERIFY(batch.out.contains("[RE-101]"));
    QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber" }).out, QByteArray("44\n"));

    const CliRun refused = runCli({ "add", archivePath, "/dev/zero" });
    QCOMPARE(refused.exitCode, 1);

    const auto reopened = ArchiveFixture::reopen(archivePath);
    QVERIFY(reopened);
    QCOMPARE(reopened->allGroups().size(), 1);
    const QList<DocumentPtr> documents = reopened->allDocuments();
    QCOMPARE(documents.size(), 3);
    QCOMPARE(documents[0]->tags(), QStringList({ "a", "b" }));
    QCOMPARE(documents[0]->comment(), QStringLiteral("hello"));
    QVERIFY(!documents[1]->isLocked());
    QCOMPARE(reopened->container()->logs().size(), 3);
    for (const DocumentPtr& document : documents)
        QVERIFY(!document->isFileCorrupted());
    QVERIFY(!reopened->isAlreadyOpen());
}

void TestIntake::cliAddTakesNamesThatAreNotUtf8()
{
    const QString archivePath = m_dir->filePath(QStringLiteral("Bytes.quillarc"));
    QCOMPARE(runCli({ "new", archivePath }).exitCode, 0);
    const QByteArray native = QFile::encodeName(m_sources.path()) + "/bad\xff.txt";
    const int fd = ::open(native.constData(), O_CREAT | O_WRONLY, 0600);
    QVERIFY(fd >= 0);
    QCOMPARE(::write(fd, "latin", 5), ssize_t(5));
    ::close(fd);
    m_nativeLeftovers.append(native);
    // Only a shell can hand the raw name over; QProcess arguments are text.
    QProcess shell;
    shell.setWorkingDirectory(m_sources.path());
    shell.start(QStringLiteral("sh"), { "-c", "\"$QUILLARC_CLI\" add \"$1\" \"$(printf 'bad\\377.txt')\"", "sh", archivePath });
    QVERIFY(shell.waitForFinished(120000));
    QVERIFY2(shell.exitCode() == 0, shell.readAllStandardError().constData());

    const auto reopened = ArchiveFixture::reopen(archivePath);
    QVERIFY(reopened);
    const QList<DocumentPtr> documents = reopened->allDocuments();
    QCOMPARE(documents.size(), 1);
    QCOMPARE(documents[0]->name(), QStringLiteral("bad\uFFFD"));
    QCOMPARE(documents[0]->fileData(), QByteArray("latin"));
    QVERIFY(!documents[0]->isFileCorrupted());
}

QTEST_MAIN(TestIntake)
#include "tst_intake.moc"
