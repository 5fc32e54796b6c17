#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/SourceFile.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchivedFile.h"
#include "store/ExtendedAttributes.h"
#include "store/IntegrityValidator.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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

private:
    QString sourcePath(const QString& name) const { return m_sources.filePath(name); }

    TemporaryHome m_home;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ArchiveFixture> m_fixture;
    GroupPtr m_group;
    QDir m_sources;
    QList<QByteArray> m_nativeLeftovers; ///< files QTemporaryDir cannot remove by their text name

    QString writeSource(const QString& name, const QByteArray& bytes)
    {
        const QString path = sourcePath(name);
        writeFile(path, bytes);
        return path;
    }

    void setVouchers(bool numbering, const Value& number, const Value& prefix = {}, const Value& suffix = {})
    {
        const PreferencesPtr preferences = m_fixture->archive().preferences();
        preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(numbering));
        preferences->setField(QuillarcPreferences::VoucherNumber, number);
        preferences->setField(QuillarcPreferences::VoucherPrefix, prefix);
        preferences->setField(QuillarcPreferences::VoucherSuffix, suffix);
    }

    /// A source file under a name that is not UTF-8, made through the raw byte name.
    QString writeNativeSource(const QByteArray& name, const QByteArray& bytes)
    {
        const QByteArray native = QFile::encodeName(m_sources.path()) + '/' + name;
        m_nativeLeftovers.append(native);
        const int fd = ::open(native.constData(), O_CREAT | O_WRONLY, 0600);
        const bool written = fd >= 0 && ::write(fd, bytes.constData(), bytes.size()) == bytes.size();
        if (fd >= 0)
            ::close(fd);
        return written ? QFile::decodeName(native) : QString();
    }

    QStringList memberFolders() const
    {
        return QDir(m_fixture->archive().filesPath()).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private Q_SLOTS:
    void init()
    {
        qRegisterMetaType<QuillarcGroup*>();
        m_dir = std::make_unique<QTemporaryDir>();
        m_fixture = std::make_unique<ArchiveFixture>(m_dir->filePath(QStringLiteral("Test.quillarc")));
        m_group = m_fixture->addGroup("Receipts");
        QDir(m_dir->path()).mkdir("sources");
        m_sources = QDir(m_dir->filePath(QStringLiteral("sources")));
        m_fixture->archive().preferences()->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(false));
    }

    void cleanup()
    {
        for (const QByteArray& native : std::as_const(m_nativeLeftovers))
            ::unlink(native.constData());
        m_nativeLeftovers.clear();
        m_group.reset();
        m_fixture.reset();
        m_dir.reset();
    }

    void voucherRule_data()
    {
        QTest::addColumn<bool>("numbering");
        QTest::addColumn<Value>("prefix");
        QTest::addColumn<Value>("number");
        QTest::addColumn<Value>("suffix");
        QTest::addColumn<QString>("slip");
        QTest::addColumn<qint64>("next");

        const Value nil;
        auto str = [](const char* text) { return Value::string(QString::fromUtf8(text)); };
        auto num = [](qint64 number) { return Value::integer(number); };
        // clang-format off
        QTest::newRow("prefix and suffix") << true  << str("RE-") << num(41) << str("/24") << "RE-41/24" << qint64(42);
        QTest::newRow("nil around")        << true  << nil        << num(7)  << nil        << "7"        << qint64(8);
        QTest::newRow("nil number")        << true  << str("A")   << nil     << str("Z")   << "AZ"       << qint64(1);
        QTest::newRow("zero")              << true  << str("")    << num(0)  << str("")    << "0"        << qint64(1);
        QTest::newRow("numbering off")     << false << str("RE-") << num(41) << nil        << ""         << qint64(41);
        // clang-format on
    }

    void voucherRule()
    {
        QFETCH(bool, numbering);
        QFETCH(Value, prefix);
        QFETCH(Value, number);
        QFETCH(Value, suffix);
        QFETCH(QString, slip);
        QFETCH(qint64, next);

        setVouchers(numbering, number, prefix, suffix);
        const DocumentPtr record = QuillarcDocument::create();
        DocumentIntake(m_fixture->archive()).applyVoucherNumbering(record);
        QCOMPARE(record->slipNumber(), slip);
        QCOMPARE(m_fixture->archive().preferences()->voucherNumber(), next);
    }

    void fileNames_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("extension");

        // clang-format off
        QTest::newRow("two dots")               << "a.b.pdf"          << "a.b"          << "pdf";
        QTest::newRow("no extension")           << "README"           << "README"       << "";
        QTest::newRow("case kept")              << "Scan.PDF"         << "Scan"         << "PDF";
        QTest::newRow("hidden, no extension")   << ".profile"         << ".profile"     << "";
        QTest::newRow("hidden with extension")  << ".notes.txt"       << ".notes"       << "txt";
        QTest::newRow("trailing dot")           << "draft."           << "draft."       << "";
        QTest::newRow("blank inside")           << "Invoice 2024.txt" << "Invoice 2024" << "txt";
        QTest::newRow("newline and quotes")     << "a\"b'\nc.txt"     << "a\"b'\nc"      << "txt";
        // clang-format on
    }

    void fileNames()
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
        QCOMPARE(record->iconPath(), record->path() + QStringLiteral(".png"));
        const QDir member(QFileInfo(ArchivedFile::fileURL(*record)).absolutePath());
        QCOMPARE(member.entryList(QDir::Files | QDir::Hidden, QDir::Name), QStringList({ name, name + ".png" }));
    }

    void fileDateByKind_data()
    {
        QTest::addColumn<qint64>("kind");
        QTest::addColumn<int>("field");
        QTest::newRow("0 creation") << qint64(0) << int(QuillarcDocument::CreationDate);
        QTest::newRow("1 modification") << qint64(1) << int(QuillarcDocument::ModificationDate);
        QTest::newRow("2 added") << qint64(2) << int(QuillarcDocument::DateAdded);
        QTest::newRow("9 added") << qint64(9) << int(QuillarcDocument::DateAdded);
    }

    void fileDateByKind()
    {
        QFETCH(qint64, kind);
        QFETCH(int, field);
        const QString path = writeSource("old.txt", "old\n");
        const QDateTime modified(QDate(2019, 3, 1), QTime(12, 0), Qt::UTC);
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(modified, QFileDevice::FileModificationTime));
        }
        m_fixture->archive().preferences()->setField(
            QuillarcPreferences::FolderImportDateUsageKind, Value::integer(kind));
        DocumentIntake intake(m_fixture->archive());
        const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
        QVERIFY(record);
        QCOMPARE(Clock::toDateTime(record->field(QuillarcDocument::ModificationDate).toDate()), modified);
        QCOMPARE(record->field(QuillarcDocument::FileDate), record->field(field));
        // Birth time where the file system keeps one: never before the modification time we set.
        QVERIFY(record->field(QuillarcDocument::CreationDate).toDate() >= Clock::fromDateTime(modified));
    }

    void tagsAndComment()
    {
        const QString path = writeSource("tagged.txt", "t\n");
        if (!ExtendedAttributes::writeTags(path, { "tax", "2024", "tax" })
            || !ExtendedAttributes::writeComment(path, QStringLiteral("paid in cash")))
            QSKIP("the temporary folder's file system keeps no extended attributes");
        DocumentIntake intake(m_fixture->archive());
        const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
        QCOMPARE(record->tags(), QStringList({ "tax", "2024", "tax" }));
        // The comment arrives one turn of the event loop later.
        QCOMPARE(record->comment(), QString());
        QTRY_COMPARE(record->comment(), QStringLiteral("paid in cash"));

        // A record dropped before the loop turns gets nothing and nothing breaks.
        std::weak_ptr<QuillarcDocument> dropped = intake.quillarcDocumentForURL(path, m_group);
        QVERIFY(dropped.expired());
        QCoreApplication::processEvents();

        m_fixture->archive().preferences()->setField(QuillarcPreferences::ReadFinderTags, Value::boolean(false));
        QVERIFY(intake.quillarcDocumentForURL(path, m_group)->tags().isEmpty());
    }

    void nameClashStoresNothing()
    {
        Document& archive = m_fixture->archive();
        QVERIFY(QDir(archive.filesPath()).mkdir("taken"));
        const QStringList before = memberFolders();
        DocumentIntake intake(archive);
        const DocumentPtr record = intake.quillarcDocumentForURL(writeSource("taken.pdf", "x"), m_group);
        QVERIFY(record);
        QCOMPARE(record->path(), QString());
        QCOMPARE(record->iconPath(), QString());
        QCOMPARE(record->string(), QString());
        QCOMPARE(memberFolders(), before);
    }

    void unsavedArchiveIsRefused()
    {
        Document unsaved;
        unsaved.setUpAfterReading();
        DocumentIntake intake(unsaved);
        QVERIFY(!intake.quillarcDocumentForURL(writeSource("a.txt", "a"), nullptr));
        QCOMPARE(intake.errorString(),
            localizedString(QStringLiteral("You need to name and save the current Quillarc document first.")));
    }

    void singleIntakeConfirmAndCancel()
    {
        Document& archive = m_fixture->archive();
        const PreferencesPtr preferences = archive.preferences();
        setVouchers(true, Value::integer(5));
        preferences->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(true));
        DocumentIntake intake(archive);
        QSignalSpy changed(&intake, &DocumentIntake::documentCountChanged);

        const DocumentPtr kept = intake.addDocument(writeSource("kept.txt", "k"), m_group);
        QVERIFY(kept);
        QCOMPARE(kept->slipNumber(), QStringLiteral("5"));
        QVERIFY(kept->isLocked());
        QCOMPARE(m_group->documents(), QList<DocumentPtr>({ kept }));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(archive.container()->logs().size(), 0);
        intake.closeAddDocumentSheet(kept);
        QCOMPARE(archive.container()->logs().size(), 1);
        QCOMPARE(archive.container()->logs().first()->field(QuillarcLogObject::LogKind).toInteger(), 0);

        const DocumentPtr dropped = intake.addDocument(writeSource("dropped.txt", "d"), m_group);
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
        QCOMPARE(intake.addDocument(writeSource("next.txt", "n"), m_group)->slipNumber(), QStringLiteral("6"));
    }

    void scanIntakeLogsTwice()
    {
        const QString path = sourcePath("Scan.pdf");
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

    void batchNumberingAndSharedValues_data()
    {
        QTest::addColumn<bool>("numbering");
        QTest::addColumn<QStringList>("slips");
        QTest::newRow("numbered from the edited start") << true << QStringList({ "B-50/x", "B-51/x", "B-52/x" });
        QTest::newRow("not numbered") << false << QStringList({ "", "", "" });
    }

    void batchNumberingAndSharedValues()
    {
        QFETCH(bool, numbering);
        QFETCH(QStringList, slips);
        Document& archive = m_fixture->archive();
        setVouchers(numbering, Value::integer(10), Value::string("B-"), Value::string("/x"));
        const QString tagged = writeSource("2.txt", "2");
        const bool xattrs = ExtendedAttributes::writeTags(tagged, { "own" });

        DocumentIntake intake(archive);
        BatchIntake batch(archive, intake);
        QVERIFY(batch.start({ writeSource("1.txt", "1"), tagged, writeSource("3.txt", "3") }, m_group));
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
        QCOMPARE(archive.preferences()->voucherNumber(), qint64(13));
        QCOMPARE(archive.container()->logs().size(), 3);
        QCOMPARE(archive.container()->logs()[2]->field(QuillarcLogObject::ObjectUniqueID).toString(),
            records[2]->uniqueID());
    }

    void batchSkipsFoldersAndPackages()
    {
        QVERIFY(m_sources.mkdir("folder"));
        QVERIFY(m_sources.mkdir("Old.quillarc"));
        DocumentIntake intake(m_fixture->archive());
        BatchIntake batch(m_fixture->archive(), intake);
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression("SKIP FILE: .*folder"));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression("SKIP FILE: .*Old.quillarc: "));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression("SKIP FILE: .*missing.txt"));
        QVERIFY(batch.start(
            { sourcePath("folder"), writeSource("a.txt", "a"), sourcePath("Old.quillarc"), sourcePath("missing.txt") },
            m_group));
        QCOMPARE(batch.batchArrayCount(), 1);
        QCOMPARE(batch.skipped().size(), 3);
        QCOMPARE(batch.batchSheetTitle(), QStringLiteral("1 ") + localizedString(QStringLiteral("NEW_BATCH_LABEL")));
    }

    void stoppedAndCancelledBatchesLeaveNothing()
    {
        Document& archive = m_fixture->archive();
        archive.preferences()->setField(QuillarcPreferences::VoucherNumber, Value::integer(4));
        DocumentIntake intake(archive);
        BatchIntake batch(archive, intake);
        const QStringList paths { writeSource("a.txt", "a"), writeSource("b.txt", "b"), writeSource("c.txt", "c") };
        bool onlyTemporary = true;
        QVERIFY(!batch.start(paths, m_group, [&](int done, int) {
            // While the batch is read, no member stands under a document's name.
            for (const QString& folder : memberFolders())
                onlyTemporary = onlyTemporary && folder.startsWith(QLatin1String(".intake-"));
            return done < 2;
        }));
        QVERIFY(onlyTemporary);
        QCOMPARE(batch.batchArrayCount(), 0);
        QVERIFY(memberFolders().isEmpty());

        // Read in full and then cancelled: the members are queued for the next save.
        QVERIFY(batch.start(paths.mid(0, 2), m_group));
        batch.cancelAddBatchDocumentsSheet();
        QCOMPARE(archive.deleteIDSArray().size(), 2);
        QVERIFY(m_group->documents().isEmpty());
        QCOMPARE(archive.preferences()->voucherNumber(), qint64(4));
        QCOMPARE(archive.container()->logs().size(), 0);
        QVERIFY(m_fixture->save());
        QVERIFY(memberFolders().isEmpty());
    }

    void membersValidate()
    {
        Document& archive = m_fixture->archive();
        QByteArray bytes;
        for (int i = 0; i < 300000; ++i)
            bytes.append(char(i * 7));
        DocumentIntake intake(archive);
        const DocumentPtr record = intake.addDocument(writeSource("blob.bin", bytes), m_group);
        QVERIFY(record);
        QCOMPARE(record->field(QuillarcDocument::FileSize), Value::real(300000.0));
        QVERIFY(!ArchivedFile::isFileCorrupted(*record));
        QCOMPARE(
            IntegrityValidator::checkMember(archive.packagePath(), record->path(), record->string(), archive.string()),
            IntegrityValidator::MemberState::Intact);
        const PackageMember::Contents contents = PackageMember::read(ArchivedFile::fileURL(*record));
        QCOMPARE(contents.status, PackageMember::Status::Ok);
        QVERIFY(contents.data == bytes);
        QCOMPARE(readFile(ArchivedFile::imageURL(*record)), contents.quickLook);
        QVERIFY(!contents.fileIcon.isEmpty());
    }

    void unfinishedMembersAreRemoved()
    {
        const QDir files(m_fixture->archive().filesPath());
        QVERIFY(files.mkpath(QStringLiteral(".intake-ABC/sub")));
        QVERIFY(files.mkdir("KEEP"));
        QCOMPARE(DocumentIntake::removeUnfinishedMembers(files.path()), 1);
        QCOMPARE(memberFolders(), QStringList({ "KEEP" }));
    }

    void badInput_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("taken");
        QTest::addColumn<QByteArray>("stored");

        // The kind names the file too, where it has one of its own.
        // clang-format off
        QTest::newRow("vanished")                       << "gone.pdf"       << true  << QByteArray();
        QTest::newRow("0 bytes")                        << "empty.txt"      << true  << QByteArray();
        QTest::newRow("newline and quotes in name")     << "odd"            << true  << QByteArray("odd");
        QTest::newRow("symlink")                        << "link.txt"       << true  << QByteArray("target bytes");
        QTest::newRow("symlink loop")                   << "loop"           << false << QByteArray();
        QTest::newRow("fifo")                           << "fifo.txt"       << false << QByteArray();
        QTest::newRow("/dev/zero")                      << "/dev/zero"      << false << QByteArray();
        QTest::newRow("folder")                         << "folder"         << false << QByteArray();
        QTest::newRow("package")                        << "Letter.pages"   << false << QByteArray();
        QTest::newRow("4 GiB")                          << "huge.bin"       << false << QByteArray();
        QTest::newRow("read error")                     << "/proc/self/mem" << true  << QByteArray();
        QTest::newRow("not UTF-8")                      << "bad"            << false << QByteArray();
        QTest::newRow("no room for the preview's name") << "long"           << false << QByteArray();
        // clang-format on
    }

    void badInput()
    {
        QFETCH(QString, kind);
        QFETCH(bool, taken);
        QFETCH(QByteArray, stored);

        QString path = sourcePath(kind);
        const QByteArray native = QFile::encodeName(path);
        if (kind == "empty.txt") {
            writeSource(kind, QByteArray());
        } else if (kind == "odd") {
            path = writeSource(QStringLiteral("line\nbreak \"quoted\" 'single'.txt"), "odd");
        } else if (kind == "link.txt") {
            QVERIFY(QFile::link(writeSource("target.txt", "target bytes"), path));
        } else if (kind == "loop") {
            QVERIFY(::symlink("loop2", native.constData()) == 0);
            QVERIFY(::symlink("loop", QFile::encodeName(sourcePath("loop2")).constData()) == 0);
        } else if (kind == "fifo.txt") {
            QVERIFY(::mkfifo(native.constData(), 0600) == 0);
        } else if (kind == "/dev/zero" || kind == "/proc/self/mem") {
            // The second is a regular file that fails at the first read, even for root.
            path = kind;
        } else if (kind == "folder" || kind == "Letter.pages") {
            QVERIFY(m_sources.mkdir(kind));
        } else if (kind == "huge.bin") {
            // Sparse: no 4 GiB are written, but the size says so.
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(4) << 30));
        } else if (kind == "bad") {
            path = writeNativeSource("bad\xff\xfe.txt", QByteArray());
            QVERIFY(!path.isEmpty());
        } else if (kind == "long") {
            // 253 bytes fit a file name, 253 + ".png" do not: the member fails half way.
            path = writeSource(QString(253, QLatin1Char('n')), "long");
            QVERIFY(QFileInfo::exists(path));
        }

        const QStringList before = memberFolders();
        DocumentIntake intake(m_fixture->archive());
        // A FIFO or device must not block intake: a wait here hangs the test.
        const DocumentPtr record = intake.quillarcDocumentForURL(path, m_group);
        QCOMPARE(bool(record), taken);
        if (!taken) {
            QVERIFY(!intake.errorString().isEmpty());
            QCOMPARE(memberFolders(), before);
            if (kind == "Letter.pages")
                QVERIFY(intake.errorString().contains(localizedString(QStringLiteral("File format not supported."))));
            return;
        }
        // Whatever came in has a complete member holding exactly what was read.
        const PackageMember::Contents contents = PackageMember::read(ArchivedFile::fileURL(*record));
        QCOMPARE(contents.status, PackageMember::Status::Ok);
        QCOMPARE(contents.data, stored);
        QVERIFY(!ArchivedFile::isFileCorrupted(*record));
        QVERIFY(QFileInfo(ArchivedFile::imageURL(*record)).isFile());
        QCOMPARE(memberFolders().size(), before.size() + 1);
        if (kind == "gone.pdf") {
            QCOMPARE(record->fileID(), QStringLiteral("0"));
            QVERIFY(record->field(QuillarcDocument::FileSize).isNil());
            QVERIFY(record->field(QuillarcDocument::FileKind).isNil());
            QVERIFY(record->field(QuillarcDocument::ModificationDate).isNil());
        } else {
            QVERIFY(record->fileID().toULongLong() > 0);
        }
        if (kind == "link.txt")
            QCOMPARE(record->name(), QStringLiteral("link"));
    }

    void cliAddAndPrefs()
    {
        const QString archivePath = m_dir->filePath(QStringLiteral("Cli.quillarc"));
        const QString database = archivePath + "/Quillarc.qldb";
        QCOMPARE(runCli({ "new", archivePath }).exitCode, 0);
        for (const auto& [key, value] : std::initializer_list<std::pair<const char*, const char*>> {
                 { "autoVoucherNumbering", "yes" }, { "voucherPrefix", "RE-" }, { "voucherNumber", "41" } })
            QCOMPARE(runCli({ "prefs", archivePath, key, value }).exitCode, 0);
        QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber", "many" }).exitCode, 1);
        QCOMPARE(runCli({ "prefs", archivePath, "noSuchKey" }).exitCode, 2);
        QCOMPARE(runCli({ "prefs", archivePath, "voucherPrefix" }).out, QByteArray("RE-\n"));

        const CliRun single = runCli({ "add", archivePath, writeSource("one.txt", "1"), "--group", "Receipts", "--tags",
            "a,b", "--comment", "hello", "--color", "2" });
        QVERIFY2(single.exitCode == 0, single.err.constData());
        QVERIFY(single.out.contains("[RE-41]"));
        QVERIFY(single.out.contains("Created group \"Receipts\""));
        const CliRun batch = runCli({ "add", archivePath, writeSource("two.txt", "2"), writeSource("three.txt", "3"),
            "--group", "Receipts", "--start-number", "100", "--unlock" });
        QVERIFY2(batch.exitCode == 0, batch.err.constData());
        QVERIFY(batch.out.contains("[RE-100]") && batch.out.contains("[RE-101]"));
        QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber" }).out, QByteArray("44\n"));
        QCOMPARE(runCli({ "add", archivePath, "/dev/zero" }).exitCode, 1);

        // Marked open on another computer: refused without --force, nothing written.
        Value marked = KeyedUnarchiver::unarchiveObjectWithData(readFile(database));
        marked.mutableDictionary().insert(QStringLiteral("isAlreadyOpen"), Value::boolean(true));
        marked.mutableDictionary().insert(QStringLiteral("host"), Value::string(QStringLiteral("elsewhere (Someone)")));
        QVERIFY(writeFile(database, KeyedArchiver::archivedDataWithRootObject(marked)));
        const QByteArray markedBytes = readFile(database);
        QCOMPARE(runCli({ "add", archivePath, writeSource("four.txt", "4") }).exitCode, 1);
        QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber", "1" }).exitCode, 1);
        QCOMPARE(readFile(database), markedBytes);
        QCOMPARE(runCli({ "prefs", archivePath, "voucherNumber" }).out, QByteArray("44\n"));
        QCOMPARE(runCli({ "add", archivePath, sourcePath("four.txt"), "--force" }).exitCode, 0);

        const auto reopened = ArchiveFixture::reopen(archivePath);
        QVERIFY(reopened);
        QCOMPARE(reopened->allGroups().size(), 1);
        const QList<DocumentPtr> documents = reopened->allDocuments();
        QCOMPARE(documents.size(), 4);
        QCOMPARE(documents[0]->tags(), QStringList({ "a", "b" }));
        QCOMPARE(documents[0]->comment(), QStringLiteral("hello"));
        QVERIFY(!documents[1]->isLocked());
        QCOMPARE(reopened->container()->logs().size(), 4);
        for (const DocumentPtr& document : documents)
            QVERIFY(!ArchivedFile::isFileCorrupted(*document));
        QVERIFY(!reopened->isAlreadyOpen());
    }

    void cliAddTakesNamesThatAreNotUtf8()
    {
        const QString archivePath = m_dir->filePath(QStringLiteral("Bytes.quillarc"));
        QCOMPARE(runCli({ "new", archivePath }).exitCode, 0);
        QVERIFY(!writeNativeSource("bad\xff.txt", "latin").isEmpty());
        // Only a shell can hand the raw name over; QProcess arguments are text.
        QProcess shell;
        shell.setWorkingDirectory(m_sources.path());
        shell.start(QStringLiteral("sh"),
            { "-c", "\"$QUILLARC_CLI\" add \"$1\" \"$(printf 'bad\\377.txt')\"", "sh", archivePath });
        QVERIFY(shell.waitForFinished(120000));
        QVERIFY2(shell.exitCode() == 0, shell.readAllStandardError().constData());

        const auto reopened = ArchiveFixture::reopen(archivePath);
        QVERIFY(reopened);
        const QList<DocumentPtr> documents = reopened->allDocuments();
        QCOMPARE(documents.size(), 1);
        QCOMPARE(documents[0]->name(), QStringLiteral("bad\uFFFD"));
        QCOMPARE(ArchivedFile::fileData(*documents[0]), QByteArray("latin"));
        QVERIFY(!ArchivedFile::isFileCorrupted(*documents[0]));
    }
};

QTEST_MAIN(TestIntake)
#include "tst_intake.moc"
