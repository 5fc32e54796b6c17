#include "GuiTestSupport.h"
#include "MainViewHarness.h"
#include "app/intake/GroupFlow.h"
#include "app/intake/IntakeFlow.h"
#include "app/models/DocumentListModel.h"
#include "app/models/GroupListModel.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/views/DocumentsTableView.h"
#include "app/views/GroupsListView.h"
#include "app/views/MainSplitView.h"
#include "app/views/SegmentedControl.h"
#include "app/views/TokenField.h"
#include "app/window/MainViewCommands.h"
#include "app/window/MainViewInfoArea.h"
#include "app/window/MainViewSelection.h"
#include "app/window/MainViewStartArea.h"
#include "controls/ColorTagPicker.h"
#include "controls/KVButton.h"
#include "intake/DocumentIntake.h"
#include "intake/GroupEditing.h"
#include "model/QuillarcLogObject.h"
#include "output/DragReordering.h"
#include "store/ArchivedFile.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSignalSpy>

using GuiTest::alertText;

/// The main view's own state: its lists following the archive, selection and
/// its storage, command enabling, the split view's limits, the first start,
/// group sheets, deletions and drags between the lists.
class TestGuiMainView : public QObject
{
    Q_OBJECT

private:
    static QStringList column(const QAbstractItemModel* model, int column = 0)
    {
        QStringList texts;
        for (int row = 0; row < model->rowCount(); ++row)
            texts.append(model->index(row, column).data().toString());
        return texts;
    }

    /// The alerts asked until now, waiting for the first one.
    static QStringList askedAlerts()
    {
        QStringList asked;
        [[maybe_unused]] const bool arrived = QTest::qWaitFor([&] {
            asked += MessageBox::takeAskedAlerts();
            return !asked.isEmpty();
        });
        return asked;
    }

    TemporaryHome m_home;

private Q_SLOTS:
    void initTestCase() { MainViewHarness::prepareApplication(); }

    void cleanup() { GuiTest::forgetAskedDialogs(); }

    void commandTable_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("key");
        QTest::addColumn<bool>("group");
        QTest::addColumn<bool>("document");
        QTest::addColumn<int>("groups");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("add document, group") << "addDocument:" << true << true << false << 1 << true;
        QTest::newRow("add document, no group") << "addDocument:" << true << false << false << 1 << false;
        QTest::newRow("add document, not key") << "addDocument:" << false << true << false << 1 << false;
        QTest::newRow("batch, group") << "addBatchDocuments:" << true << true << false << 1 << true;
        QTest::newRow("file copy, document") << "createFileCopy:" << true << true << true << 1 << true;
        QTest::newRow("file copy, no document") << "createFileCopy:" << true << true << false << 1 << false;
        QTest::newRow("new group, key") << "addGroup:" << true << false << false << 0 << true;
        QTest::newRow("new group, not key") << "addGroup:" << false << false << false << 0 << false;
        QTest::newRow("export document, no groups") << "exportDocument:" << true << false << false << 0 << false;
        QTest::newRow("export document, a group") << "exportDocument:" << true << false << false << 3 << true;
        QTest::newRow("other, not key") << "showInfoPopover:" << false << false << false << 0 << true;
    }

    void commandTable()
    {
        QFETCH(QString, action);
        QFETCH(bool, key);
        QFETCH(bool, group);
        QFETCH(bool, document);
        QFETCH(int, groups);
        MainViewCommands::State state = { key, group, document, groups };
        QTEST(MainViewCommands::validateUserInterfaceItem(action, state), "enabled");
        state.busy = true; // records being built: the table's commands wait
        QCOMPARE(
            MainViewCommands::validateUserInterfaceItem(action, state), action == QLatin1String("showInfoPopover:"));
    }

    void enablingFollowsTheSelection()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("enabling")));
        const GroupPtr group = harness.addGroup(QStringLiteral("Invoices"));
        harness.fixture().addDocument(group, QStringLiteral("a"), "a");
        MainView* view = harness.open();
        QSignalSpy changed(view, &MainView::selectionChanged);
        // A new archive stores that nothing is selected; without a selection the commands wait.
        QVERIFY(!view->currentGroup());
        changed.clear();
        QVERIFY(!view->validateUserInterfaceItem(QStringLiteral("addDocument:"), true));
        QVERIFY(!view->toolbarActionSegment()->isSegmentEnabled(1));
        QVERIFY(view->validateUserInterfaceItem(QStringLiteral("exportDocument:"), true));

        view->selectGroup(group);
        QVERIFY(changed.count() > 0);
        QVERIFY(view->validateUserInterfaceItem(QStringLiteral("addDocument:"), true));
        QVERIFY(!view->validateUserInterfaceItem(QStringLiteral("addDocument:"), false));
        QVERIFY(view->toolbarActionSegment()->isSegmentEnabled(1));
        QVERIFY(!view->validateUserInterfaceItem(QStringLiteral("createFileCopy:"), true));
        QVERIFY(harness.archive().isDocumentEdited()); // the selection is stored in the archive

        view->selectDocument(group->documents().first());
        QVERIFY(view->validateUserInterfaceItem(QStringLiteral("createFileCopy:"), true));
        QCOMPARE(view->selectionIndexes(), std::make_pair(qint64(0), qint64(0)));
    }

    void splitViewLimits_data()
    {
        QTest::addColumn<int>("divider");
        QTest::addColumn<int>("proposedMinimum");
        QTest::addColumn<double>("windowWidth");
        QTest::addColumn<int>("minimum");
        QTest::addColumn<int>("maximum");
        QTest::newRow("groups pane, 1000") << 0 << 0 << 1000.0 << 229 << 300;
        QTest::newRow("second divider, 1000") << 1 << 300 << 1000.0 << 671 << 629;
        QTest::newRow("fractional width") << 0 << 0 << 1333.9 << 229 << 400;
    }

    void splitViewLimits()
    {
        QFETCH(int, divider);
        QFETCH(int, proposedMinimum);
        QFETCH(double, windowWidth);
        QTEST(MainSplitView::minimumPosition(divider, proposedMinimum), "minimum");
        QTEST(MainSplitView::maximumPosition(divider, windowWidth), "maximum");
    }

    void groupsPaneAndToolbarFollowTheWindow()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("split")));
        MainView* view = harness.open();
        QWidget* groupsPane = view->mainSplitView()->widget(0);
        QCOMPARE(groupsPane->maximumWidth(), 300); // the window is 1000 wide
        QCOMPARE(groupsPane->minimumWidth(), 229);
        view->mainSplitView()->setSizes({ 280, 720 });
        QTRY_COMPARE(groupsPane->width(), 280);
        view->alignToolbarButtonView();
        QCOMPARE(view->toolbarButtonView()->x(), 280); // floor(180 + 280 - 180)
        harness.window()->resize(1300, 700);
        QTRY_COMPARE(groupsPane->maximumWidth(), 390);
        QCOMPARE(groupsPane->width(), 280); // the groups pane keeps its width
    }

    void listsFollowTheArchive()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("models")));
        Document& archive = harness.archive();
        const GroupPtr first = harness.addGroup(QStringLiteral("B"));
        harness.addGroup(QStringLiteral("A"));
        MainView* view = harness.open();
        QAbstractItemModelTester groupsTester(
            view->groupsModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        QAbstractItemModelTester documentsTester(
            view->documentsModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);

        const GroupPtr added = GroupEditing(archive).addGroup();
        added->setValue(QStringLiteral("groupTitle"), Value::string(QStringLiteral("C")));
        QTRY_COMPARE(column(view->groupsModel()), QStringList({ "B", "A", "C" }));
        DragReordering(archive).moveGroups({ 2 }, 0);
        QTRY_COMPARE(column(view->groupsModel()), QStringList({ "C", "B", "A" }));

        view->selectGroup(first);
        DocumentIntake intake(archive);
        // Records joining the group take their places in the sort order (title, ascending).
        harness.preferences()->setValue(QStringLiteral("sortOrder"), Value::integer(5));
        harness.preferences()->setValue(QStringLiteral("sortKind"), Value::integer(1));
        QList<DocumentPtr> records;
        for (const char* title : { "delta", "alpha", "charlie" }) {
            auto record = QuillarcDocument::create();
            record->setField(QuillarcDocument::Title, Value::string(QString::fromLatin1(title)));
            records.append(record);
        }
        intake.appendDocuments(first, records);
        QTRY_COMPARE(column(view->documentsModel()), QStringList({ "alpha", "charlie", "delta" }));
        auto bravo = QuillarcDocument::create();
        bravo->setField(QuillarcDocument::Title, Value::string(QStringLiteral("bravo")));
        intake.appendDocuments(first, { bravo });
        QTRY_COMPARE(column(view->documentsModel()), QStringList({ "alpha", "bravo", "charlie", "delta" }));
        QCOMPARE(view->groupsModel()->index(1, 0).data(GroupListModel::DocumentCountRole).toInt(), 4);

        // An edit leaves the row where it is until the list is arranged again.
        view->selectDocument(bravo);
        bravo->setValue(QStringLiteral("title"), Value::string(QStringLiteral("zulu")));
        QTRY_COMPARE(column(view->documentsModel()), QStringList({ "alpha", "zulu", "charlie", "delta" }));
        harness.preferences()->setValue(QStringLiteral("sortKind"), Value::integer(0));
        QTRY_COMPARE(column(view->documentsModel()), QStringList({ "zulu", "delta", "charlie", "alpha" }));
        QCOMPARE(view->currentDocument(), bravo); // the selection moved with its row

        intake.cancelAddDocumentSheet(bravo);
        QTRY_COMPARE(column(view->documentsModel()), QStringList({ "delta", "charlie", "alpha" }));
        QVERIFY(view->currentDocument() != bravo); // the list selects its neighbour
        QVERIFY(GroupEditing(archive).removeGroup(added));
        QTRY_COMPARE(column(view->groupsModel()), QStringList({ "B", "A" }));
    }

    void storedSelectionComesBack()
    {
        const QString package = m_home.freshPath(QStringLiteral("selection"));
        {
            MainViewHarness harness(package);
            harness.addGroup(QStringLiteral("One"));
            const GroupPtr second = harness.addGroup(QStringLiteral("Two"));
            harness.fixture().addDocument(second, QStringLiteral("x"), "x");
            const DocumentPtr y = harness.fixture().addDocument(second, QStringLiteral("y"), "y");
            MainView* view = harness.open();
            view->selectGroup(second);
            view->selectDocument(y);
            const auto stored = view->selectionIndexes();
            QCOMPARE(stored.first, 1);
            QVERIFY(harness.archive().save()); // saving asks the view for its selection
            const ValueMap index = harness.archive().indexDictionary().toDictionary();
            QCOMPARE(index.value(QStringLiteral("documentsSelection")).toInteger(), stored.second);
        }
        const std::unique_ptr<Document> reopened = ArchiveFixture::reopen(package, Document::OpenMode::ReadWrite);
        QVERIFY(reopened);
        QWidget window;
        auto* view = new MainView(reopened.get(), &window);
        window.show();
        QTRY_VERIFY(view->currentDocument());
        QCOMPARE(view->currentGroup()->groupTitle(), QStringLiteral("Two"));
        QCOMPARE(view->currentDocument()->title(), QStringLiteral("y"));
    }

    void firstStartOfANewArchive()
    {
        Document archive;
        archive.setUpAfterReading();
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* view = new MainView(&archive);
        layout->addWidget(view);
        window.show();
        QSignalSpy saveRequested(view, &MainView::saveRequested);
        QVERIFY(view->startContainerView()->isVisible());
        QTRY_COMPARE(QApplication::focusWidget(), view->containerTitleTextField());
        QCOMPARE(view->containerTitleTextField()->selectedText(), text("NEW_CONTAINER_TITLE"));
        QTest::keyClicks(view->containerTitleTextField(), QStringLiteral("Records 2026"));
        QTest::keyClick(view->containerTitleTextField(), Qt::Key_Return);
        QCOMPARE(archive.container()->containerTitle(), QStringLiteral("Records 2026"));

        // Return ends the title but adds a line to the description.
        view->containerDescriptionTextField()->setFocus();
        QTest::keyClicks(view->containerDescriptionTextField(), QStringLiteral("first"));
        QTest::keyClick(view->containerDescriptionTextField(), Qt::Key_Return);
        QTest::keyClicks(view->containerDescriptionTextField(), QStringLiteral("second"));
        QCOMPARE(archive.container()->containerDescription(), QStringLiteral("first\nsecond"));

        view->startContainerView()->letsDoItButton()->click();
        QVERIFY(archive.preferences()->isSetupDone());
        QTRY_COMPARE(saveRequested.count(), 1); // a never-saved archive: the window's Save As
        QVERIFY(!view->startContainerView()->isVisible());
    }

    void groupSheetNewCancelledEditedAndMonitored()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("groups")));
        harness.preferences()->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(false));
        MainView* view = harness.open();
        view->addGroup();
        QTRY_VERIFY(view->groupFlow()->groupSheet());
        GroupSheet* sheet = view->groupFlow()->groupSheet();
        QVERIFY(sheet->cancelButton()->isVisible());
        QCOMPARE(view->currentGroup(), sheet->group());
        sheet->cancelButton()->click();
        QTRY_VERIFY(!view->groupFlow()->groupSheet());
        QVERIFY(harness.archive().allGroups().isEmpty());

        view->addGroup();
        QTRY_VERIFY(view->groupFlow()->groupSheet());
        sheet = view->groupFlow()->groupSheet();
        sheet->titleField()->setText(QStringLiteral("Contracts"));
        sheet->lockField()->setChecked(true);
        sheet->okButton()->click();
        QTRY_VERIFY(!view->groupFlow()->groupSheet());
        const GroupPtr group = harness.archive().allGroups().value(0);
        QVERIFY(group && group->isLocked());
        QCOMPARE(view->groupsModel()->index(0, 0).data().toString(), QStringLiteral("Contracts"));

        // Double-click edits: no Cancel; monitoring asks for the folder.
        QListView* list = view->groupsTableView();
        QTest::mouseDClick(
            list->viewport(), Qt::LeftButton, {}, list->visualRect(view->groupsModel()->index(0, 0)).center());
        QTRY_VERIFY(view->groupFlow()->groupSheet());
        sheet = view->groupFlow()->groupSheet();
        QVERIFY(!sheet->cancelButton()->isVisible());
        FileDialog::setNextCancel();
        sheet->monitoredField()->click();
        QTRY_VERIFY(!group->hasMonitoredFolder()); // cancelled: off again
        QVERIFY(!sheet->monitoredField()->isChecked());
        const QString folder = m_home.freshPath(QStringLiteral("watched"));
        QDir().mkpath(folder);
        FileDialog::setNextDirectory(folder);
        MessageBox::setNextAnswer(0);
        sheet->monitoredField()->click();
        QTRY_COMPARE(group->folderPath(), folder);
        QVERIFY(group->hasMonitoredFolder());
        QCOMPARE(askedAlerts(), QStringList { alertText("Hint!", "MONITORED_FOLDER_HINT") });
        QCOMPARE(FileDialog::takeAskedDialogs().value(0).title, text("Select Folder"));
        sheet->okButton()->click();
        QTRY_VERIFY(!view->groupFlow()->groupSheet());
    }

    void deletionsAskAndLog()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("delete")));
        const GroupPtr locked = harness.addGroup(QStringLiteral("Locked"));
        locked->setField(QuillarcGroup::IsLocked, Value::boolean(true));
        harness.fixture().addDocument(locked, QStringLiteral("kept"), "k");
        const GroupPtr open = harness.addGroup(QStringLiteral("Open"));
        const DocumentPtr a = harness.fixture().addDocument(open, QStringLiteral("a"), "a");
        const DocumentPtr b = harness.fixture().addDocument(open, QStringLiteral("b"), "b");
        const DocumentPtr c = harness.fixture().addDocument(open, QStringLiteral("c"), "c");
        c->setField(QuillarcDocument::IsLocked, Value::boolean(true));
        MainView* view = harness.open();
        Document& archive = harness.archive();

        view->selectGroup(locked);
        MessageBox::setNextAnswer(0);
        view->deleteGroup();
        QCOMPARE(askedAlerts(), QStringList { alertText("ERROR!", "DELETE_GROUP_IMPOSSIBLE_ALERT") });
        view->selectDocument(locked->documents().first());
        MessageBox::setNextAnswer(0);
        view->deleteDocument();
        QCOMPARE(askedAlerts(), QStringList { alertText("ERROR!", "DELETE_DOCUMENT_IMPOSSIBLE_ALERT") });
        QCOMPARE(archive.allDocuments().size(), 4);

        view->selectGroup(open);
        view->selectDocument(a);
        MessageBox::setNextAnswer(1); // Cancel
        view->deleteDocument();
        QCOMPARE(askedAlerts(), QStringList { alertText("Delete Document", "DELETE_DOCUMENT_ALERT") });
        QCOMPARE(open->documents().size(), 3);
        MessageBox::setNextAnswer(0);
        view->deleteDocument();
        QTRY_COMPARE(open->documents().size(), 2);
        QCOMPARE(askedAlerts(), QStringList { alertText("Delete Document", "DELETE_DOCUMENT_ALERT") });
        QCOMPARE(archive.container()->logs().last()->logKind(), 1);
        QCOMPARE(archive.container()->logs().last()->objectUniqueID(), a->uniqueID());
        QTRY_COMPARE(view->documentsModel()->rowCount(), 2);

        // A group holding a locked document stays; once it is unlocked the group goes, every record logged.
        MessageBox::setNextAnswer(0);
        view->deleteGroup();
        QCOMPARE(askedAlerts(), QStringList { alertText("ERROR!", "DELETE_GROUP_IMPOSSIBLE_ALERT") });
        c->setValue(QStringLiteral("isLocked"), Value::boolean(false));
        MessageBox::setNextAnswer(-1); // the alert cannot be declined: dismissing it deletes as well
        view->deleteGroup();
        QTRY_COMPARE(archive.allGroups().size(), 1);
        QCOMPARE(MessageBox::takeAskedAlerts(), QStringList { alertText("Delete Group", "DELETE_GROUP_ALERT") });
        const QList<LogObjectPtr> logs = archive.container()->logs();
        QCOMPARE(logs.size(), 3);
        QCOMPARE(logs.at(1)->objectUniqueID(), b->uniqueID());
        QCOMPARE(logs.at(2)->objectUniqueID(), c->uniqueID());
        QVERIFY(archive.deleteIDSArray().contains(c->uniqueID()));
        QTRY_COMPARE(view->groupsModel()->rowCount(), 1);
        QTRY_COMPARE(view->currentGroup(), locked); // the list selects what is left
    }

    void draggingBetweenTheLists()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("drag")));
        const GroupPtr source = harness.addGroup(QStringLiteral("Source"));
        const GroupPtr target = harness.addGroup(QStringLiteral("Target"));
        harness.addGroup(QStringLiteral("Third"));
        const DocumentPtr record = harness.fixture().addDocument(source, QStringLiteral("letter"), "letter bytes");
        MainView* view = harness.open();
        GroupListModel* groups = view->groupsModel();
        DocumentListModel* documents = view->documentsModel();
        view->selectGroup(source);
        view->selectDocument(record);

        // A document onto its own group: refused, nothing changes.
        std::unique_ptr<QMimeData> drag(documents->mimeData({ documents->index(0, 0) }));
        QVERIFY(drag->hasFormat(DragReordering::movedRowsItemsType()));
        QCOMPARE(drag->urls().value(0).toLocalFile(), ArchivedFile::fileRepresentationPath(*record));
        QVERIFY(!documents->canDropMimeData(drag.get(), Qt::MoveAction, 0, 0, {}));
        groups->dropMimeData(drag.get(), Qt::CopyAction, -1, 0, groups->index(0, 0));
        QCOMPARE(source->documents(), QList<DocumentPtr> { record });

        // Onto another group: the target is selected with the moved record.
        QVERIFY(groups->canDropMimeData(drag.get(), Qt::CopyAction, -1, 0, groups->index(1, 0)));
        groups->dropMimeData(drag.get(), Qt::CopyAction, -1, 0, groups->index(1, 0));
        QVERIFY(source->documents().isEmpty());
        QCOMPARE(target->documents().size(), 1);
        QCOMPARE(target->documents().first()->uniqueID(), record->uniqueID());
        QCOMPARE(view->currentGroup(), target);
        QCOMPARE(view->currentDocument(), target->documents().first());
        QCOMPARE(groups->index(1, 0).data(GroupListModel::DocumentCountRole).toInt(), 1);

        // Groups reordered by a move; a copy (the modifier held) changes nothing.
        std::unique_ptr<QMimeData> groupDrag(groups->mimeData({ groups->index(0, 0) }));
        QVERIFY(!groups->dropMimeData(groupDrag.get(), Qt::CopyAction, 3, 0, {}));
        QCOMPARE(column(groups), QStringList({ "Source", "Target", "Third" }));
        QVERIFY(groups->dropMimeData(groupDrag.get(), Qt::MoveAction, 3, 0, {}));
        QCOMPARE(column(groups), QStringList({ "Target", "Third", "Source" }));
        QCOMPARE(view->currentGroup(), source);

        // A folder from the file manager becomes a folder group; a file does nothing.
        QMimeData file;
        file.setUrls({ QUrl::fromLocalFile(ArchivedFile::fileRepresentationPath(*record)) });
        QVERIFY(!groups->canDropMimeData(&file, Qt::CopyAction, 0, 0, {}));
        QSignalSpy folders(groups, &GroupListModel::folderDropped);
        QMimeData folder;
        folder.setUrls({ QUrl::fromLocalFile(m_home.path()) });
        QVERIFY(groups->dropMimeData(&folder, Qt::CopyAction, 1, 0, {}));
        QCOMPARE(folders.count(), 1);
    }

    void informationAreaEditsTheRecord()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("info")));
        const GroupPtr group = harness.addGroup(QStringLiteral("G"));
        const DocumentPtr record = harness.fixture().addDocument(group, QStringLiteral("doc"), "bytes");
        const DocumentPtr locked = harness.fixture().addDocument(group, QStringLiteral("locked"), "bytes");
        locked->setField(QuillarcDocument::IsLocked, Value::boolean(true));
        MainView* view = harness.open();
        view->selectGroup(group);
        view->selectDocument(record);
        MainViewInfoArea* info = view->infoContainerView();
        harness.archive().clearChangeCount();

        info->titleField()->setFocus();
        info->titleField()->selectAll();
        QTest::keyClicks(info->titleField(), QStringLiteral("Lease"));
        QTest::keyClick(info->titleField(), Qt::Key_Return);
        QCOMPARE(record->title(), QStringLiteral("Lease"));
        QTRY_COMPARE(view->documentsModel()->index(view->documentsModel()->rowOf(record.get()), 0).data().toString(),
            QStringLiteral("Lease"));
        QTRY_VERIFY(harness.archive().isDocumentEdited());
        info->tagsField()->lineEdit()->setFocus();
        QTest::keyClicks(info->tagsField()->lineEdit(), QStringLiteral("tax,rent"));
        QTest::keyClick(info->tagsField()->lineEdit(), Qt::Key_Return);
        QCOMPARE(record->tags(), QStringList({ QStringLiteral("tax"), QStringLiteral("rent") }));
        view->notesTextField()->setFocus();
        QTest::keyClicks(view->notesTextField(), QStringLiteral("one"));
        QTest::keyClick(view->notesTextField(), Qt::Key_Return); // a new line, not the end of the edit
        QTest::keyClicks(view->notesTextField(), QStringLiteral("two"));
        info->titleField()->setFocus();
        QCOMPARE(record->note(), QStringLiteral("one\ntwo"));
        info->colorField()->setCurrentTag(3);
        QCOMPARE(record->field(QuillarcDocument::DocumentColorTag).toInteger(), 3);

        view->selectDocument(locked);
        QVERIFY(info->titleField()->isReadOnly());
        QVERIFY(info->tagsField()->isReadOnly());
        info->lockField()->click(); // the lock itself can be switched
        QVERIFY(!locked->isLocked());
        QVERIFY(!info->titleField()->isReadOnly());
    }
};

QTEST_MAIN(TestGuiMainView)
#include "tst_gui_mainview.moc"
