#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/DeletionRules.h"
#include "intake/FileCopy.h"
#include "intake/GroupEditing.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ExtendedAttributes.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <sys/xattr.h>

namespace {
QByteArray someBytes(int seed, int size = 5000)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 31 + seed * 17) & 0xff);
    return bytes;
}

QByteArray md5(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
}

bool folderSupportsUserAttributes(const QString& folder)
{
    const QByteArray probe = QFile::encodeName(folder + QStringLiteral("/.xattr-probe"));
    writeFile(QString::fromLocal8Bit(probe), "x");
    const bool ok = setxattr(probe.constData(), "user.probe", "1", 1, 0) == 0;
    QFile::remove(QString::fromLocal8Bit(probe));
    return ok;
}
} // namespace

class TestGroups : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newGroupFollowsAutoLock_data();
    void newGroupFollowsAutoLock();
    void editAndCancelGroup();
    void lockRules_data();
    void lockRules();
    void refusalAlerts();
    void deletingGroupLogsEveryDocumentInOrder();
    void deletedDocumentFolderGoesAtSave();
    void fileCopyIsByteIdenticalWithAttributesLater();
    void fileCopyWithoutCommentWritesNullText();
    void fileCopyRefusesMissingAndCorrupted_data();
    void fileCopyRefusesMissingAndCorrupted();
    void cliGroupAddEditDelete();
    void cliDeleteDocument();
    void cliCopy();

private:
    QString packagePath(const char* name) const
    {
        return m_home.path() + QStringLiteral("/%1.quillarc").arg(QLatin1String(name));
    }

    TemporaryHome m_home;
    int m_counter = 0;
};

void TestGroups::newGroupFollowsAutoLock_data()
{
    QTest::addColumn<bool>("autoLock");
    QTest::newRow("auto lock on") << true;
    QTest::newRow("auto lock off") << false;
}

void TestGroups::newGroupFollowsAutoLock()
{
    QFETCH(bool, autoLock);
    ArchiveFixture fixture(packagePath("newgroup") + QString::number(++m_counter));
    Document& archive = fixture.archive();
    fixture.addGroup(QStringLiteral("First"));
    archive.preferences()->setValue(QuillarcPreferences::AutoLockDocuments, Value::boolean(autoLock));
    archive.clearChangeCount();

    const GroupPtr group = GroupEditing(archive).addGroup();
    QVERIFY(group);
    QCOMPARE(group->isLocked(), autoLock);
    QCOMPARE(archive.allGroups().size(), qsizetype(2));
    QCOMPARE(archive.allGroups().last(), group); // appended after the existing ones
    QCOMPARE(group->parent(), static_cast<ChangeNode*>(archive.container().get()));
    QVERIFY(archive.isDocumentEdited());
}

void TestGroups::editAndCancelGroup()
{
    ArchiveFixture fixture(packagePath("editgroup"));
    Document& archive = fixture.archive();
    GroupEditing editing(archive);
    const GroupPtr group = editing.addGroup();
    editing.editGroup(group, { QStringLiteral("Invoices 2024"), QStringLiteral("paid"), 3, std::nullopt });
    QCOMPARE(group->groupTitle(), QStringLiteral("Invoices 2024"));
    QCOMPARE(group->groupDescription(), QStringLiteral("paid"));
    QCOMPARE(group->groupColorTag().toInteger(), qint64(3));
    QCOMPARE(editing.groupWithTitle(QStringLiteral("Invoices 2024")), group);

    QVERIFY(editing.cancelAddGroup(group));
    QVERIFY(archive.allGroups().isEmpty());
    QVERIFY(!editing.cancelAddGroup(group)); // already gone
}

void TestGroups::lockRules_data()
{
    QTest::addColumn<bool>("documentLocked");
    QTest::addColumn<bool>("groupLocked");
    QTest::addColumn<bool>("neighbourLocked");
    QTest::addColumn<bool>("documentDeleted");
    QTest::addColumn<bool>("groupDeleted");

    // clang-format off
    //                                      document  group   neighbour  -> document  group
    QTest::newRow("nothing locked")     << false   << false << false   << true      << true;
    QTest::newRow("document locked")    << true    << false << false   << false     << false;
    QTest::newRow("group locked")       << false   << true  << false   << false     << false;
    QTest::newRow("neighbour locked")   << false   << false << true    << true      << false;
    QTest::newRow("document and group") << true    << true  << false   << false     << false;
    // clang-format on
}

void TestGroups::lockRules()
{
    QFETCH(bool, documentLocked);
    QFETCH(bool, groupLocked);
    QFETCH(bool, neighbourLocked);
    QFETCH(bool, documentDeleted);
    QFETCH(bool, groupDeleted);

    ArchiveFixture fixture(packagePath("locks") + QString::number(++m_counter));
    Document& archive = fixture.archive();
    const GroupPtr group = fixture.addGroup(QStringLiteral("Receipts"));
    const DocumentPtr document = fixture.addDocument(group, QStringLiteral("target"), someBytes(1));
    const DocumentPtr neighbour = fixture.addDocument(group, QStringLiteral("neighbour"), someBytes(2));
    document->setField(QuillarcDocument::IsLocked, Value::boolean(documentLocked));
    neighbour->setField(QuillarcDocument::IsLocked, Value::boolean(neighbourLocked));
    group->setField(QuillarcGroup::IsLocked, Value::boolean(groupLocked));

    DeletionRules rules(archive);
    QCOMPARE(DeletionRules::canDeleteDocument(*document, group.get()), documentDeleted);
    QCOMPARE(rules.deleteDocument(document, group), documentDeleted);
    QCOMPARE(group->documents().contains(document), !documentDeleted);
    QCOMPARE(archive.deleteIDSArray().contains(document->uniqueID()), documentDeleted);
    QCOMPARE(archive.container()->logs().size(), qsizetype(documentDeleted ? 1 : 0));

    const qsizetype logsBefore = archive.container()->logs().size();
    const qsizetype documentsLeft = group->documentCount();
    QCOMPARE(DeletionRules::canDeleteGroup(*group), groupDeleted);
    QCOMPARE(rules.deleteGroup(group), groupDeleted);
    QCOMPARE(archive.allGroups().contains(group), !groupDeleted);
    QCOMPARE(archive.container()->logs().size(), logsBefore + (groupDeleted ? documentsLeft : 0));
    if (!groupDeleted)
        QCOMPARE(group->documentCount(), documentsLeft);
}

void TestGroups::refusalAlerts()
{
    const DeletionAlert document = DeletionRules::deleteDocumentRefusal();
    QCOMPARE(document.title, QStringLiteral("ERROR!"));
    QCOMPARE(document.text, QStringLiteral("DELETE_DOCUMENT_IMPOSSIBLE_ALERT"));
    QCOMPARE(document.defaultButton, QStringLiteral("OK"));
    QVERIFY(document.critical);
    const DeletionAlert group = DeletionRules::deleteGroupRefusal();
    QCOMPARE(group.text, QStringLiteral("DELETE_GROUP_IMPOSSIBLE_ALERT"));
    QVERIFY(group.critical);

    const DeletionAlert askDocument = DeletionRules::deleteDocumentConfirmation();
    QCOMPARE(askDocument.title, QStringLiteral("Delete Document"));
    QCOMPARE(askDocument.text, QStringLiteral("DELETE_DOCUMENT_ALERT"));
    QCOMPARE(askDocument.cancelButton, QStringLiteral("Cancel"));
    QVERIFY(!askDocument.critical);
    // The group alert informs; it offers no way out.
    const DeletionAlert askGroup = DeletionRules::deleteGroupConfirmation();
    QCOMPARE(askGroup.title, QStringLiteral("Delete Group"));
    QCOMPARE(askGroup.text, QStringLiteral("DELETE_GROUP_ALERT"));
    QVERIFY(askGroup.cancelButton.isEmpty());

    // Every key has a text of its own in the shipped table.
    for (const QString& key : { document.text, group.text, askDocument.text, askGroup.text })
        QVERIFY2(localizedString(key) != key, qPrintable(key));
}

void TestGroups::deletingGroupLogsEveryDocumentInOrder()
{
    Clock::setFixedTime(QDateTime(QDate(2024, 3, 1), QTime(10, 30)));
    ArchiveFixture fixture(packagePath("grouplog"));
    Document& archive = fixture.archive();
    const GroupPtr keep = fixture.addGroup(QStringLiteral("Keep"));
    fixture.addDocument(keep, QStringLiteral("kept"), someBytes(9));
    const GroupPtr group = fixture.addGroup(QStringLiteral("Old"));
    QList<DocumentPtr> documents;
    for (const char* name : { "charlie", "alpha", "bravo" })
        documents.append(fixture.addDocument(group, QString::fromLatin1(name), someBytes(documents.size())));

    QVERIFY(DeletionRules(archive).deleteGroup(group));
    Clock::resetToSystemTime();

    const QList<LogObjectPtr> logs = archive.container()->logs();
    QCOMPARE(logs.size(), qsizetype(3));
    const QString deleted = localizedString(QStringLiteral("LOG_ACTION_DELETED"));
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(logs[i]->logKind(), qint64(1));
        QCOMPARE(logs[i]->objectUniqueID(), documents[i]->uniqueID());
        const QString text = logs[i]->logText();
        QVERIFY2(text.contains(QStringLiteral(" (%1)\n").arg(deleted)), qPrintable(text));
        QVERIFY(text.contains(QStringLiteral("\tID: %1\n").arg(documents[i]->uniqueID())));
        QVERIFY(text.contains(QStringLiteral(": %1\n").arg(documents[i]->name())));
    }
    QCOMPARE(archive.deleteIDSArray(),
        QStringList({ documents[0]->uniqueID(), documents[1]->uniqueID(), documents[2]->uniqueID() }));
    QCOMPARE(archive.allGroups(), QList<GroupPtr>({ keep }));
}

void TestGroups::deletedDocumentFolderGoesAtSave()
{
    const QString path = packagePath("deletesave");
    ArchiveFixture fixture(path);
    Document& archive = fixture.archive();
    const GroupPtr group = fixture.addGroup(QStringLiteral("Letters"));
    const DocumentPtr gone = fixture.addDocument(group, QStringLiteral("gone"), someBytes(3));
    const DocumentPtr stays = fixture.addDocument(group, QStringLiteral("stays"), someBytes(4));
    QVERIFY(fixture.save());
    const QString goneFolder = QDir(archive.filesPath()).filePath(gone->uniqueID());
    QVERIFY(QFileInfo(goneFolder).isDir());

    QVERIFY(DeletionRules(archive).deleteDocument(gone, group));
    QVERIFY(QFileInfo(goneFolder).isDir()); // kept until the archive is saved
    QVERIFY(archive.save());
    QVERIFY(!QFileInfo(goneFolder).exists());
    QVERIFY(QFileInfo(QDir(archive.filesPath()).filePath(stays->uniqueID())).isDir());

    const auto reopened = ArchiveFixture::reopen(path);
    QVERIFY(reopened);
    QVERIFY(!reopened->itemForID(gone->uniqueID()));
    QVERIFY(reopened->itemForID(stays->uniqueID()));
    QCOMPARE(reopened->container()->logs().size(), qsizetype(1));
    QCOMPARE(reopened->container()->logs().first()->objectUniqueID(), gone->uniqueID());
}

void TestGroups::fileCopyIsByteIdenticalWithAttributesLater()
{
    ArchiveFixture fixture(packagePath("copy"));
    Document& archive = fixture.archive();
    archive.preferences()->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(true));
    const GroupPtr group = fixture.addGroup(QStringLiteral("Invoices"));
    const QByteArray bytes = someBytes(7, 70000);
    const DocumentPtr record = fixture.addDocument(group, QStringLiteral("invoice"), bytes);
    record->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("RE-1/24")));
    record->setField(QuillarcDocument::Tags,
        Value::array({ Value::string(QStringLiteral("paid")), Value::string(QStringLiteral("2024")) }));
    record->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("Büro, März")));

    const QString folder = m_home.path() + QStringLiteral("/copies");
    QDir().mkpath(folder);
    FileCopy copy;
    QSignalSpy written(&copy, &FileCopy::attributesWritten);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(copy.createFileCopy(record, folder), FileCopy::Result::Written);

    const QString expectedName
        = QStringLiteral("(%1) RE-124_invoice.pdf").arg(localizedString(QStringLiteral("FILE_COPY_LABEL")));
    QCOMPARE(record->fileCopyName(), expectedName);
    QCOMPARE(copy.filePath(), QDir(folder).filePath(expectedName));
    QCOMPARE(md5(readFile(copy.filePath())), md5(bytes));
    QVERIFY(copy.isWritingAttributes());
    QVERIFY(ExtendedAttributes::readComment(copy.filePath()).isNull()); // not yet

    QVERIFY(written.wait(5000));
    QVERIFY2(timer.elapsed() >= 170, qPrintable(QString::number(timer.elapsed())));
    if (!folderSupportsUserAttributes(folder))
        QSKIP("the test folder's file system keeps no user attributes");
    QCOMPARE(written.first().at(1).toBool(), true);
    QCOMPARE(
        ExtendedAttributes::readTags(copy.filePath()), QStringList({ QStringLiteral("paid"), QStringLiteral("2024") }));
    QCOMPARE(ExtendedAttributes::readComment(copy.filePath()), QStringLiteral("Büro, März"));
}

void TestGroups::fileCopyWithoutCommentWritesNullText()
{
    const QString folder = m_home.path() + QStringLiteral("/copies-null");
    QDir().mkpath(folder);
    if (!folderSupportsUserAttributes(folder))
        QSKIP("the test folder's file system keeps no user attributes");
    ArchiveFixture fixture(packagePath("copynull"));
    fixture.archive().preferences()->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(true));
    const DocumentPtr record
        = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("note"), "abc", QString());
    record->setField(QuillarcDocument::Comment, Value()); // no comment at all, not an empty one
    FileCopy copy;
    QSignalSpy written(&copy, &FileCopy::attributesWritten);
    QCOMPARE(copy.createFileCopy(record, folder), FileCopy::Result::Written);
    QVERIFY(copy.filePath().endsWith(QStringLiteral(") note"))); // no extension, no dot
    QVERIFY(written.wait(5000));
    QCOMPARE(ExtendedAttributes::readComment(copy.filePath()), QStringLiteral("(null)"));

    // With tag writing off the copy carries no attributes at all.
    fixture.archive().preferences()->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(false));
    QFile::remove(copy.filePath());
    QCOMPARE(copy.createFileCopy(record, folder), FileCopy::Result::Written);
    QVERIFY(!copy.isWritingAttributes());
    QTest::qWait(250);
    QVERIFY(ExtendedAttributes::readComment(copy.filePath()).isNull());
}

void TestGroups::fileCopyRefusesMissingAndCorrupted_data()
{
    QTest::addColumn<int>("damage");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("text");
    QTest::newRow("member folder removed") << 0 << int(FileCopy::Result::NoFile) << QStringLiteral("File not found.");
    QTest::newRow("bytes replaced") << 1 << int(FileCopy::Result::Corrupted)
                                    << QStringLiteral("File appears to be corrupted.");
    QTest::newRow("member garbled") << 2 << int(FileCopy::Result::Corrupted)
                                    << QStringLiteral("File appears to be corrupted.");
}

void TestGroups::fileCopyRefusesMissingAndCorrupted()
{
    QFETCH(int, damage);
    QFETCH(int, result);
    QFETCH(QString, text);
    ArchiveFixture fixture(packagePath("copydamage") + QString::number(++m_counter));
    const DocumentPtr record
        = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("scan"), someBytes(5));
    const QString member = record->fileURL();
    if (damage == 0)
        QVERIFY(QDir(QFileInfo(member).absolutePath()).removeRecursively());
    else if (damage == 1)
        QVERIFY(writeFile(member, PackageMember::encode(someBytes(6), "png", "icon")));
    else
        QVERIFY(writeFile(member, "not an archive at all"));

    const QString folder = m_home.path() + QStringLiteral("/refused");
    QDir().mkpath(folder);
    FileCopy copy;
    QCOMPARE(int(copy.createFileCopy(record, folder)), result);
    QCOMPARE(copy.errorString(), text);
    QVERIFY(QDir(folder).isEmpty());
}

void TestGroups::cliGroupAddEditDelete()
{
    const QString path = packagePath("cligroups");
    {
        ArchiveFixture fixture(path);
        fixture.archive().preferences()->setValue(QuillarcPreferences::AutoLockDocuments, Value::boolean(true));
        fixture.addDocument(fixture.addGroup(QStringLiteral("Held")), QStringLiteral("keep"), "k")
            ->setField(QuillarcDocument::IsLocked, Value::boolean(true));
        QVERIFY(fixture.save());
    }
    CliRun run = runCli({ QStringLiteral("group"), path, QStringLiteral("add"), QStringLiteral("Taxes") });
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.contains("Added group \"Taxes\" (locked)"), run.out.constData());

    run = runCli({ QStringLiteral("group"), path, QStringLiteral("edit"), QStringLiteral("Taxes"),
        QStringLiteral("--title"), QStringLiteral("Taxes 2024"), QStringLiteral("--description"),
        QStringLiteral("filed"), QStringLiteral("--color"), QStringLiteral("2"), QStringLiteral("--unlocked") });
    QCOMPARE(run.exitCode, 0);

    auto reopened = ArchiveFixture::reopen(path);
    QVERIFY(reopened);
    QCOMPARE(reopened->allGroups().size(), qsizetype(2));
    const GroupPtr taxes = reopened->allGroups().last();
    QCOMPARE(taxes->groupTitle(), QStringLiteral("Taxes 2024"));
    QCOMPARE(taxes->groupDescription(), QStringLiteral("filed"));
    QCOMPARE(taxes->groupColorTag().toInteger(), qint64(2));
    QVERIFY(!taxes->isLocked());
    QVERIFY(!reopened->isAlreadyOpen()); // the command closed the archive again

    // A group holding a locked document stays, and the archive is untouched.
    run = runCli({ QStringLiteral("group"), path, QStringLiteral("delete"), QStringLiteral("Held") });
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(QString::fromUtf8(run.err).contains(localizedString(QStringLiteral("DELETE_GROUP_IMPOSSIBLE_ALERT"))),
        run.err.constData());

    run = runCli({ QStringLiteral("group"), path, QStringLiteral("delete"), QStringLiteral("Taxes 2024") });
    QCOMPARE(run.exitCode, 0);
    reopened = ArchiveFixture::reopen(path);
    QCOMPARE(reopened->allGroups().size(), qsizetype(1));
    QCOMPARE(reopened->allGroups().first()->groupTitle(), QStringLiteral("Held"));

    run = runCli({ QStringLiteral("group"), path, QStringLiteral("delete"), QStringLiteral("Nowhere") });
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(runCli({ QStringLiteral("group"), QStringLiteral("--help") }).exitCode, 0);
}

void TestGroups::cliDeleteDocument()
{
    const QString path = packagePath("clidelete");
    QString lockedID;
    QString freeID;
    {
        ArchiveFixture fixture(path);
        const GroupPtr group = fixture.addGroup(QStringLiteral("Mixed"));
        const DocumentPtr locked = fixture.addDocument(group, QStringLiteral("locked"), "l");
        locked->setField(QuillarcDocument::IsLocked, Value::boolean(true));
        lockedID = locked->uniqueID();
        freeID = fixture.addDocument(group, QStringLiteral("free"), "f")->uniqueID();
        QVERIFY(fixture.save());
    }
    CliRun run = runCli({ QStringLiteral("delete"), path, QStringLiteral("--document"), lockedID });
    QCOMPARE(run.exitCode, 1);
    QVERIFY(QString::fromUtf8(run.err).contains(localizedString(QStringLiteral("DELETE_DOCUMENT_IMPOSSIBLE_ALERT"))));

    run = runCli({ QStringLiteral("delete"), path, QStringLiteral("--document"), freeID });
    QCOMPARE(run.exitCode, 0);
    QVERIFY(!QFileInfo::exists(path + QStringLiteral("/Files/") + freeID));
    const auto reopened = ArchiveFixture::reopen(path);
    QVERIFY(!reopened->itemForID(freeID));
    QVERIFY(reopened->itemForID(lockedID));
    QCOMPARE(reopened->container()->logs().size(), qsizetype(1));
    QCOMPARE(reopened->container()->logs().first()->logKind(), qint64(1));
}

void TestGroups::cliCopy()
{
    const QString path = packagePath("clicopy");
    const QByteArray bytes = someBytes(11, 12345);
    QString id;
    {
        ArchiveFixture fixture(path);
        fixture.archive().preferences()->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(true));
        const DocumentPtr record
            = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("contract"), bytes);
        record->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("signed")));
        id = record->uniqueID();
        QVERIFY(fixture.save());
    }
    const QString folder = m_home.path() + QStringLiteral("/clicopies");
    QDir().mkpath(folder);
    const CliRun run = runCli({ QStringLiteral("copy"), path, id, folder });
    QCOMPARE(run.exitCode, 0);
    const QString expected = QDir(folder).filePath(
        QStringLiteral("(%1) contract.pdf").arg(localizedString(QStringLiteral("FILE_COPY_LABEL"))));
    QVERIFY2(run.out.contains(expected.toUtf8()), run.out.constData());
    QCOMPARE(md5(readFile(expected)), md5(bytes));
    if (folderSupportsUserAttributes(folder))
        QCOMPARE(ExtendedAttributes::readComment(expected), QStringLiteral("signed"));

    QVERIFY(QDir(path + QStringLiteral("/Files/") + id).removeRecursively());
    const CliRun missing = runCli({ QStringLiteral("copy"), path, id, folder });
    QCOMPARE(missing.exitCode, 1);
    QVERIFY(QString::fromUtf8(missing.err).contains(localizedString(QStringLiteral("File not found."))));
}

QTEST_GUILESS_MAIN(TestGroups)
#include "tst_groups.moc"
