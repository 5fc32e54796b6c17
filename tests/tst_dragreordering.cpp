#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/DocumentIntake.h"
#include "intake/GroupEditing.h"
#include "model/QuillarcContainer.h"
#include "output/DragReordering.h"
#include "store/ArchivedFile.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>

/// Dragging rows: groups reordered, a document moved onto another group by
/// way of its decoded copy, the row sets and documents that drags carry, and
/// the change announcements the lists follow.
class TestDragReordering : public QObject
{
    Q_OBJECT

private:
    static QStringList titles(const Document& archive)
    {
        QStringList result;
        for (const GroupPtr& group : archive.allGroups())
            result.append(group->groupTitle());
        return result;
    }

    TemporaryHome m_home;

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<QuillarcDatabaseObject*>(); }

    void movesGroupRows_data()
    {
        using Rows = QList<qsizetype>;
        QTest::addColumn<Rows>("rows");
        QTest::addColumn<qsizetype>("dropRow");
        QTest::addColumn<QString>("order");
        QTest::addColumn<Rows>("newRows");
        // clang-format off
        QTest::newRow("rows 1 and 2 to 4") << Rows { 1, 2 } << qsizetype(4)  << "A D B C E" << Rows { 2, 3 };
        QTest::newRow("last to the top")   << Rows { 4 }    << qsizetype(0)  << "E A B C D" << Rows { 0 };
        QTest::newRow("onto itself")       << Rows { 2 }    << qsizetype(2)  << "A B C D E" << Rows { 2 };
        QTest::newRow("negative row is 0") << Rows { 3 }    << qsizetype(-5) << "D A B C E" << Rows { 0 };
        QTest::newRow("past the end")      << Rows { 0 }    << qsizetype(99) << "B C D E A" << Rows { 4 };
        // clang-format on
    }

    void movesGroupRows()
    {
        QFETCH(QList<qsizetype>, rows);
        QFETCH(qsizetype, dropRow);
        ArchiveFixture fixture(m_home.freshPath(QStringLiteral("move")));
        for (const char* title : { "A", "B", "C", "D", "E" })
            fixture.addGroup(QString::fromLatin1(title));
        // The rows travel through the drag as a keyed archive.
        const QList<qsizetype> carried = DragReordering::rowsFromArchive(DragReordering::archivedRows(rows));
        QCOMPARE(carried, rows);
        QTEST(DragReordering(fixture.archive()).moveGroups(carried, dropRow), "newRows");
        QTEST(titles(fixture.archive()).join(QLatin1Char(' ')), "order");
    }

    void movesDocumentOntoAnotherGroupOnly()
    {
        ArchiveFixture fixture(m_home.freshPath(QStringLiteral("doc")));
        const GroupPtr source = fixture.addGroup(QStringLiteral("Source"));
        const GroupPtr target = fixture.addGroup(QStringLiteral("Target"));
        const DocumentPtr original = fixture.addDocument(source, QStringLiteral("invoice"), "bytes of the invoice");
        original->setField(QuillarcDocument::Tags, Value::array({ Value::string(QStringLiteral("tax")) }));

        const QByteArray carried = DragReordering::archivedDocuments({ original });
        DragReordering reordering(fixture.archive());
        // Onto its own group: the group already holds that uniqueID.
        const DocumentPtr selfCopy = DragReordering::documentsFromArchive(carried).value(0);
        QVERIFY(selfCopy && selfCopy != original);
        QVERIFY(!reordering.moveDocumentToGroup(selfCopy, original, source, source));
        QCOMPARE(source->documents(), QList<DocumentPtr> { original });

        const DocumentPtr copy = DragReordering::documentsFromArchive(carried).value(0);
        QVERIFY(reordering.moveDocumentToGroup(copy, original, source, target));
        QVERIFY(source->documents().isEmpty());
        QCOMPARE(target->documents(), QList<DocumentPtr> { copy });
        QCOMPARE(copy->uniqueID(), original->uniqueID());
        QCOMPARE(copy->tags(), QStringList { QStringLiteral("tax") });
        QCOMPARE(copy->group(), target.get());
        QVERIFY(!ArchivedFile::isFileCorrupted(*copy)); // the member stays where it was
        QVERIFY(fixture.archive().isDocumentEdited());
        // A second drop of the same record changes nothing.
        QVERIFY(!reordering.moveDocumentToGroup(
            DragReordering::documentsFromArchive(carried).value(0), copy, target, target));
    }

    void foreignBytesCarryNothing()
    {
        QVERIFY(DragReordering::rowsFromArchive("not an archive").isEmpty());
        QVERIFY(DragReordering::documentsFromArchive(QByteArray()).isEmpty());
        QVERIFY(DragReordering::documentsFromArchive(DragReordering::archivedRows({ 1 })).isEmpty());
    }

    void announcesChangesOnTheArchiveThreadOnly()
    {
        ArchiveFixture fixture(m_home.freshPath(QStringLiteral("announce")));
        Document& archive = fixture.archive();
        const GroupPtr group = fixture.addGroup(QStringLiteral("Group"));
        archive.setParents();
        QSignalSpy spy(&archive, &Document::objectChanged);

        // A field set: the object at once, its owners as the change climbs.
        group->setValue(QStringLiteral("groupTitle"), Value::string(QStringLiteral("Renamed")));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.takeFirst().at(0).value<QuillarcDatabaseObject*>(), group.get());
        QTRY_COMPARE(spy.count(), 1);
        QCOMPARE(spy.takeFirst().at(0).value<QuillarcDatabaseObject*>(), archive.container().get());

        // A structural change of the groups list is the container's change.
        const GroupPtr added = GroupEditing(archive).addGroup();
        QVERIFY(added);
        QCOMPARE(spy.takeFirst().at(0).value<QuillarcDatabaseObject*>(), added.get()); // its lock
        QCOMPARE(spy.takeFirst().at(0).value<QuillarcDatabaseObject*>(), archive.container().get());

        // A record built on another thread is nobody's business until it is filed.
        spy.clear();
        const QString source = m_home.freshPath(QStringLiteral("file")) + QStringLiteral(".txt");
        QVERIFY(writeFile(source, "text"));
        DocumentPtr record;
        QThread* worker
            = QThread::create([&] { record = DocumentIntake(archive).quillarcDocumentForURL(source, group); });
        worker->start();
        // The worker asks this thread for the file's icon, so this thread keeps turning.
        QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 60000);
        delete worker;
        QVERIFY(record);
        for (const QList<QVariant>& call : std::as_const(spy))
            QVERIFY(call.at(0).value<QuillarcDatabaseObject*>() != record.get());
    }
};

QTEST_MAIN(TestDragReordering)
#include "tst_dragreordering.moc"
