#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/DeletionRules.h"
#include "intake/FileCopy.h"
#include "intake/GroupEditing.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchivedFile.h"
#include "store/ExtendedAttributes.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

namespace {
QByteArray someBytes(int seed, int size = 5000)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 31 + seed * 17) & 0xff);
    return bytes;
}
} // namespace

class TestGroups : public QObject
{
    Q_OBJECT

private:
    QString packagePath(const char* name)
    {
        return m_home.path() + QStringLiteral("/%1%2.quillarc").arg(QLatin1String(name)).arg(++m_counter);
    }
    QString folder(const char* name) const
    {
        const QString path = m_home.path() + QLatin1Char('/') + QLatin1String(name);
        QDir().mkpath(path);
        return path;
    }

    TemporaryHome m_home;
    int m_counter = 0;

private Q_SLOTS:
    void newGroupFollowsAutoLockAndCanBeCancelled_data()
    {
        QTest::addColumn<bool>("autoLock");
        QTest::newRow("auto lock on") << true;
        QTest::newRow("auto lock off") << false;
    }

    void newGroupFollowsAutoLockAndCanBeCancelled()
    {
        QFETCH(bool, autoLock);
        ArchiveFixture fixture(packagePath("newgroup"));
        Document& archive = fixture.archive();
        const GroupPtr first = fixture.addGroup(QStringLiteral("First"));
        archive.preferences()->setValue(QuillarcPreferences::AutoLockDocuments, Value::boolean(autoLock));
        archive.clearChangeCount();

        GroupEditing editing(archive);
        const GroupPtr group = editing.addGroup();
        QVERIFY(group);
        QCOMPARE(group->isLocked(), autoLock);
        QCOMPARE(archive.allGroups(), QList<GroupPtr>({ first, group })); // appended after the existing ones
        QCOMPARE(group->parent(), static_cast<ChangeNode*>(archive.container().get()));
        QVERIFY(archive.isDocumentEdited());

        editing.editGroup(group, { QStringLiteral("Invoices 2024"), QStringLiteral("paid"), 3, std::nullopt });
        QCOMPARE(group->groupTitle(), QStringLiteral("Invoices 2024"));
        QCOMPARE(group->groupDescription(), QStringLiteral("paid"));
        QCOMPARE(group->groupColorTag().toInteger(), qint64(3));
        QCOMPARE(editing.groupWithTitle(QStringLiteral("Invoices 2024")), group);
        QVERIFY(editing.cancelAddGroup(group));
        QCOMPARE(archive.allGroups(), QList<GroupPtr>({ first }));
        QVERIFY(!editing.cancelAddGroup(group)); // already gone
    }

    void lockRules_data()
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

    void lockRules()
    {
        QFETCH(bool, documentLocked);
        QFETCH(bool, groupLocked);
        QFETCH(bool, neighbourLocked);
        QFETCH(bool, documentDeleted);
        QFETCH(bool, groupDeleted);

        ArchiveFixture fixture(packagePath("locks"));
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

    void alerts()
    {
        struct Expected
        {
            DeletionAlert alert;
            const char* title;
            const char* text;
            const char* cancel; // empty when the alert only informs
            bool critical;
        };
        for (const Expected& expected : { Expected { DeletionRules::deleteDocumentRefusal(), "ERROR!",
                                              "DELETE_DOCUMENT_IMPOSSIBLE_ALERT", "", true },
                 Expected { DeletionRules::deleteGroupRefusal(), "ERROR!", "DELETE_GROUP_IMPOSSIBLE_ALERT", "", true },
                 Expected { DeletionRules::deleteDocumentConfirmation(), "Delete Document", "DELETE_DOCUMENT_ALERT",
                     "Cancel", false },
                 Expected {
                     DeletionRules::deleteGroupConfirmation(), "Delete Group", "DELETE_GROUP_ALERT", "", false } }) {
            QCOMPARE(expected.alert.title, QString::fromUtf8(expected.title));
            QCOMPARE(expected.alert.text, QString::fromUtf8(expected.text));
            QCOMPARE(expected.alert.defaultButton, QStringLiteral("OK"));
            QCOMPARE(expected.alert.cancelButton, QString::fromUtf8(expected.cancel));
            QCOMPARE(expected.alert.critical, expected.critical);
            // Every key has a text of its own in the shipped table.
            QVERIFY2(localizedString(expected.alert.text) != expected.alert.text, expected.text);
        }
    }

    void deletingGroupLogsEveryDocumentInOrder()
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

    void deletedDocumentFolderGoesAtSave()
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
    }

    void fileCopyIsByteIdenticalWithAttributesLater()
    {
        ArchiveFixture fixture(packagePath("copy"));
        fixture.archive().preferences()->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(true));
        const QByteArray bytes = someBytes(7, 70000);
        const DocumentPtr record = fixture.addDocument(fixture.addGroup(QStringLiteral("Invoices")), "invoice", bytes);
        record->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("RE-1/24")));
        record->setField(QuillarcDocument::Tags, Value::array({ Value::string("paid"), Value::string("2024") }));
        record->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("Büro, März")));

        const QString target = folder("copies");
        FileCopy copy;
        QSignalSpy written(&copy, &FileCopy::attributesWritten);
        QCOMPARE(copy.createFileCopy(record, target), FileCopy::Result::Written);
        const QString expectedName = QStringLiteral("(%1) RE-124_invoice.pdf").arg(localizedString("FILE_COPY_LABEL"));
        QCOMPARE(record->fileCopyName(), expectedName);
        QCOMPARE(copy.filePath(), QDir(target).filePath(expectedName));
        QCOMPARE(readFile(copy.filePath()), bytes);
        QVERIFY(copy.isWritingAttributes());
        QVERIFY(ExtendedAttributes::readComment(copy.filePath()).isNull()); // not yet

        QVERIFY(written.wait(5000));
        if (!supportsExtendedAttributes(target))
            QSKIP("the test folder's file system keeps no user attributes");
        QCOMPARE(written.first().at(1).toBool(), true);
        QCOMPARE(ExtendedAttributes::readTags(copy.filePath()), QStringList({ "paid", "2024" }));
        QCOMPARE(ExtendedAttributes::readComment(copy.filePath()), QStringLiteral("Büro, März"));
    }

    void fileCopyWithoutCommentWritesNullText()
    {
        const QString target = folder("copies-null");
        if (!supportsExtendedAttributes(target))
            QSKIP("the test folder's file system keeps no user attributes");
        ArchiveFixture fixture(packagePath("copynull"));
        const PreferencesPtr preferences = fixture.archive().preferences();
        preferences->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(true));
        const DocumentPtr record = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), "note", "abc", QString());
        record->setField(QuillarcDocument::Comment, Value()); // no comment at all, not an empty one
        FileCopy copy;
        QSignalSpy written(&copy, &FileCopy::attributesWritten);
        QCOMPARE(copy.createFileCopy(record, target), FileCopy::Result::Written);
        QVERIFY(copy.filePath().endsWith(QStringLiteral(") note"))); // no extension, no dot
        QVERIFY(written.wait(5000));
        QCOMPARE(ExtendedAttributes::readComment(copy.filePath()), QStringLiteral("(null)"));

        // With tag writing off the copy carries no attributes at all.
        preferences->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(false));
        QFile::remove(copy.filePath());
        QCOMPARE(copy.createFileCopy(record, target), FileCopy::Result::Written);
        QVERIFY(!copy.isWritingAttributes());
        QTest::qWait(250);
        QVERIFY(ExtendedAttributes::readComment(copy.filePath()).isNull());
    }

    void fileCopyRefusesMissingAndCorrupted_data()
    {
        QTest::addColumn<QByteArray>("member");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("text");
        const int corrupted = int(FileCopy::Result::Corrupted);
        // A well-formed member whose bytes no longer match the fingerprint, and one that is no member at all.
        const QByteArray replaced = PackageMember::encode(someBytes(6), "png", "icon");
        QTest::newRow("member folder removed") << QByteArray() << int(FileCopy::Result::NoFile) << "File not found.";
        QTest::newRow("bytes replaced") << replaced << corrupted << "File appears to be corrupted.";
        QTest::newRow("member garbled") << QByteArray("not an archive at all") << corrupted
                                        << "File appears to be corrupted.";
    }

    void fileCopyRefusesMissingAndCorrupted()
    {
        QFETCH(QByteArray, member);
        QFETCH(int, result);
        QFETCH(QString, text);
        ArchiveFixture fixture(packagePath("copydamage"));
        const DocumentPtr record = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), "scan", someBytes(5));
        const QString path = ArchivedFile::fileURL(*record);
        if (member.isEmpty())
            QVERIFY(QDir(QFileInfo(path).absolutePath()).removeRecursively());
        else
            QVERIFY(writeFile(path, member));

        const QString target = folder("refused");
        FileCopy copy;
        QCOMPARE(int(copy.createFileCopy(record, target)), result);
        QCOMPARE(copy.errorString(), text);
        QVERIFY(QDir(target).isEmpty());
    }

    void cliGroupsAndDeletion()
    {
        const QString path = packagePath("cligroups");
        QString lockedID;
        QString freeID;
        {
            ArchiveFixture fixture(path);
            fixture.archive().preferences()->setValue(QuillarcPreferences::AutoLockDocuments, Value::boolean(true));
            const GroupPtr held = fixture.addGroup(QStringLiteral("Held"));
            const DocumentPtr locked = fixture.addDocument(held, "keep", "k");
            locked->setField(QuillarcDocument::IsLocked, Value::boolean(true));
            lockedID = locked->uniqueID();
            freeID = fixture.addDocument(held, "free", "f")->uniqueID();
            QVERIFY(fixture.save());
        }
        CliRun run = runCli({ "group", path, "add", "Taxes" });
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.out.contains("Added group \"Taxes\" (locked)"), run.out.constData());
        QCOMPARE(runCli({ "group", path, "edit", "Taxes", "--title", "Taxes 2024", "--description", "filed", "--color",
                            "2", "--unlocked" })
                     .exitCode,
            0);
        auto reopened = ArchiveFixture::reopen(path);
        QVERIFY(reopened);
        QCOMPARE(reopened->allGroups().size(), qsizetype(2));
        const GroupPtr taxes = reopened->allGroups().last();
        QCOMPARE(taxes->groupTitle(), QStringLiteral("Taxes 2024"));
        QCOMPARE(taxes->groupDescription(), QStringLiteral("filed"));
        QCOMPARE(taxes->groupColorTag().toInteger(), qint64(2));
        QVERIFY(!taxes->isLocked());
        QVERIFY(!reopened->isAlreadyOpen()); // the command closed the archive again

        // A locked document stays, and so does the group holding it.
        run = runCli({ "delete", path, "--document", lockedID });
        QCOMPARE(run.exitCode, 1);
        QVERIFY(QString::fromUtf8(run.err).contains(localizedString("DELETE_DOCUMENT_IMPOSSIBLE_ALERT")));
        run = runCli({ "group", path, "delete", "Held" });
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(
            QString::fromUtf8(run.err).contains(localizedString("DELETE_GROUP_IMPOSSIBLE_ALERT")), run.err.constData());
        QCOMPARE(runCli({ "delete", path, "--document", freeID }).exitCode, 0);
        QVERIFY(!QFileInfo::exists(path + "/Files/" + freeID));
        QCOMPARE(runCli({ "group", path, "delete", "Taxes 2024" }).exitCode, 0);
        QCOMPARE(runCli({ "group", path, "delete", "Nowhere" }).exitCode, 2);
        reopened = ArchiveFixture::reopen(path);
        QCOMPARE(reopened->allGroups().size(), qsizetype(1));
        QCOMPARE(reopened->allGroups().first()->groupTitle(), QStringLiteral("Held"));
        QVERIFY(!reopened->itemForID(freeID));
        QVERIFY(reopened->itemForID(lockedID));
        QCOMPARE(reopened->container()->logs().size(), qsizetype(1));
        QCOMPARE(reopened->container()->logs().first()->logKind(), qint64(1));
    }

    void cliCopy()
    {
        const QString path = packagePath("clicopy");
        const QByteArray bytes = someBytes(11, 12345);
        QString id;
        {
            ArchiveFixture fixture(path);
            fixture.archive().preferences()->setValue(QuillarcPreferences::WriteFinderTags, Value::boolean(true));
            const DocumentPtr record = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), "contract", bytes);
            record->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("signed")));
            id = record->uniqueID();
            QVERIFY(fixture.save());
        }
        const QString target = folder("clicopies");
        const CliRun run = runCli({ "copy", path, id, target });
        QCOMPARE(run.exitCode, 0);
        const QString expected = target + QStringLiteral("/(%1) contract.pdf").arg(localizedString("FILE_COPY_LABEL"));
        QVERIFY2(run.out.contains(expected.toUtf8()), run.out.constData());
        QCOMPARE(readFile(expected), bytes);
        if (supportsExtendedAttributes(target))
            QCOMPARE(ExtendedAttributes::readComment(expected), QStringLiteral("signed"));

        QVERIFY(QDir(path + "/Files/" + id).removeRecursively());
        const CliRun missing = runCli({ "copy", path, id, target });
        QCOMPARE(missing.exitCode, 1);
        QVERIFY(QString::fromUtf8(missing.err).contains(localizedString("File not found.")));
    }
};

QTEST_GUILESS_MAIN(TestGroups)
#include "tst_groups.moc"
