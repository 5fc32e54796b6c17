#include "GuiTestSupport.h"
#include "MainViewHarness.h"
#include "app/intake/BatchFlow.h"
#include "app/intake/FolderFlow.h"
#include "app/intake/IntakeFlow.h"
#include "app/models/DocumentListModel.h"
#include "app/sheet/BatchSheet.h"
#include "app/sheet/DocumentSheet.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/views/DocumentsTableView.h"
#include "controls/KVButton.h"
#include "controls/KVTessaryProgress.h"
#include "model/QuillarcLogObject.h"
#include "store/ArchivedFile.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QSpinBox>
#include <QUrl>
#include <sys/stat.h>

/// Files taken in through the main view: one file from the open dialog or a
/// drop and its sheet, batches and their sheet, folder groups, and the
/// refusals, each driven as the user would, without a real dialog.
class TestGuiIntake : public QObject
{
    Q_OBJECT

private:
    /// Text files (no recognition, so the tests stay quick) in a folder of their own.
    QStringList makeFiles(const QString& stem, int count)
    {
        const QString folder = m_home.freshPath(stem);
        QStringList paths;
        for (int i = 0; i < count; ++i) {
            const QString path = QStringLiteral("%1/%2-%3.txt").arg(folder, stem).arg(i + 1);
            writeFile(path, QStringLiteral("Record %1 of %2\n").arg(i + 1).arg(stem).toUtf8());
            paths.append(path);
        }
        return paths;
    }

    static void numberVouchers(MainViewHarness& harness, const QString& prefix, qint64 next, const QString& suffix)
    {
        const PreferencesPtr preferences = harness.preferences();
        preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
        preferences->setField(QuillarcPreferences::VoucherPrefix, Value::string(prefix));
        preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(next));
        preferences->setField(QuillarcPreferences::VoucherSuffix, Value::string(suffix));
    }

    static QList<LogObjectPtr> logs(Document& archive) { return archive.container()->logs(); }

    static bool sendDrop(QWidget* target, const QStringList& paths)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& path : paths)
            urls.append(QUrl::fromLocalFile(path));
        data.setUrls(urls);
        const QPoint position = target->rect().center();
        QDragEnterEvent enter(position, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        QDragMoveEvent move(position, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &move);
        QDropEvent drop(QPointF(position), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &drop);
        return enter.isAccepted() && move.isAccepted() && drop.isAccepted();
    }

    TemporaryHome m_home;

private Q_SLOTS:
    void initTestCase() { MainViewHarness::prepareApplication(); }

    void cleanup() { GuiTest::forgetAskedDialogs(); }

    void singleIntakeConfirmedAndCancelled()
    {
        const QString package = m_home.freshPath(QStringLiteral("single"));
        MainViewHarness harness(package);
        numberVouchers(harness, QStringLiteral("RE-"), 41, QStringLiteral("/24"));
        const GroupPtr group = harness.addGroup(QStringLiteral("Invoices"));
        MainView* view = harness.open();
        view->selectGroup(group);
        const QStringList files = makeFiles(QStringLiteral("invoice"), 2);

        FileDialog::setNextFileName(files[0]);
        view->addDocument();
        QTRY_VERIFY(view->intakeFlow()->documentSheet());
        DocumentSheet* sheet = view->intakeFlow()->documentSheet();
        QCOMPARE(FileDialog::takeAskedDialogs().value(0).title, text("Select File"));
        QCOMPARE(sheet->voucherField()->text(), QStringLiteral("RE-41/24"));
        QTRY_COMPARE(QApplication::focusWidget(), sheet->voucherField());
        QCOMPARE(harness.preferences()->voucherNumber(), 42);
        const DocumentPtr kept = sheet->record();
        QCOMPARE(group->documents(), QList<DocumentPtr> { kept });
        QCOMPARE(view->currentDocument(), kept);
        QVERIFY(logs(harness.archive()).isEmpty()); // not before the sheet is confirmed
        sheet->titleField()->setText(QStringLiteral("Invoice March"));
        sheet->okButton()->click();
        QTRY_VERIFY(!view->intakeFlow()->documentSheet());
        QCOMPARE(kept->title(), QStringLiteral("Invoice March"));
        QCOMPARE(logs(harness.archive()).size(), 1);
        QCOMPARE(logs(harness.archive()).first()->logKind(), 0);
        QCOMPARE(logs(harness.archive()).first()->objectUniqueID(), kept->uniqueID());

        FileDialog::setNextFileName(files[1]);
        view->addDocument();
        QTRY_VERIFY(view->intakeFlow()->documentSheet());
        sheet = view->intakeFlow()->documentSheet();
        const DocumentPtr dropped = sheet->record();
        QCOMPARE(sheet->voucherField()->text(), QStringLiteral("RE-42/24"));
        sheet->cancelButton()->click();
        QTRY_VERIFY(!view->intakeFlow()->documentSheet());
        QCOMPARE(group->documents(), QList<DocumentPtr> { kept });
        QCOMPARE(harness.preferences()->voucherNumber(), 42); // the number is given back
        QCOMPARE(logs(harness.archive()).size(), 1);
        QCOMPARE(view->documentsModel()->rowCount(), 1);

        QVERIFY(harness.archive().save());
        QVERIFY(!QFileInfo::exists(QDir(package).filePath(QStringLiteral("Files/") + dropped->uniqueID())));
        const std::unique_ptr<Document> reopened = ArchiveFixture::reopen(package);
        QVERIFY(reopened);
        const QList<DocumentPtr> documents = reopened->allDocuments();
        QCOMPARE(documents.size(), 1);
        QCOMPARE(documents.first()->slipNumber(), QStringLiteral("RE-41/24"));
        QVERIFY(!ArchivedFile::isFileCorrupted(*documents.first()));
        QCOMPARE(ArchivedFile::fileData(*documents.first()), readFile(files[0]));
    }

    void batchOfThreeWithEditedStartNumber()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("batch")));
        numberVouchers(harness, QStringLiteral("B-"), 10, QStringLiteral("-X"));
        const GroupPtr group = harness.addGroup(QStringLiteral("Receipts"));
        MainView* view = harness.open();
        view->selectGroup(group);
        const QStringList files = makeFiles(QStringLiteral("receipt"), 3);

        FileDialog::setNextFileNames(files);
        view->addBatchDocuments();
        QTRY_VERIFY(view->batchFlow()->batchSheet());
        BatchSheet* sheet = view->batchFlow()->batchSheet();
        QCOMPARE(sheet->windowTitle(), QStringLiteral("3 ") + text("NEW_BATCH_LABEL"));
        QCOMPARE(sheet->voucherNumberField()->value(), 10);
        QVERIFY(group->documents().isEmpty()); // filed only when confirmed
        sheet->voucherNumberField()->setValue(50);
        sheet->commentField()->setText(QStringLiteral("March receipts"));
        sheet->okButton()->click();
        QTRY_VERIFY(!view->batchFlow()->isBusy());

        QStringList slips;
        for (const DocumentPtr& record : group->documents()) {
            slips.append(record->slipNumber());
            QCOMPARE(record->comment(), QStringLiteral("March receipts"));
        }
        QCOMPARE(slips, QStringList({ QStringLiteral("B-50-X"), QStringLiteral("B-51-X"), QStringLiteral("B-52-X") }));
        QCOMPARE(harness.preferences()->voucherNumber(), 13); // counted from the stored value
        QCOMPARE(logs(harness.archive()).size(), 3);
        QCOMPARE(view->documentsModel()->rowCount(), 3);
        QVERIFY(!view->currentDocument());
    }

    void finishedScanIsLoggedAtOnce()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("scan")));
        const GroupPtr group = harness.addGroup(QStringLiteral("Scans"));
        MainView* view = harness.open();
        view->selectGroup(group);
        const QStringList files = makeFiles(QStringLiteral("scanned"), 1);
        view->addScanDocumentWithURL(files[0]);
        QTRY_VERIFY(view->intakeFlow()->documentSheet());
        // The scan's entry is written when it is filed, the sheet's when it is confirmed.
        QCOMPARE(logs(harness.archive()).size(), 1);
        view->intakeFlow()->documentSheet()->okButton()->click();
        QTRY_VERIFY(!view->isBusy());
        QCOMPARE(logs(harness.archive()).size(), 2);
        QCOMPARE(group->documents().size(), 1);
    }

    void neverSavedArchiveRefusesEveryIntake()
    {
        Document archive;
        archive.setUpAfterReading();
        archive.preferences()->setField(QuillarcPreferences::IsSetupDone, Value::boolean(true));
        const GroupPtr group = QuillarcGroup::create();
        group->setParent(archive.container().get());
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
        QWidget window;
        auto* view = new MainView(&archive, &window);
        window.show();
        view->selectGroup(group);
        const QStringList files = makeFiles(QStringLiteral("unsaved"), 2);
        const QString refusal
            = GuiTest::alertText("Error!", "You need to name and save the current Quillarc document first.");

        for (int attempt = 0; attempt < 3; ++attempt) {
            MessageBox::setNextAnswer(0);
            if (attempt == 0)
                view->addDocument();
            else if (attempt == 1)
                view->addBatchDocuments();
            else
                QVERIFY(sendDrop(view->documentsTableView()->viewport(), files));
            QCOMPARE(MessageBox::takeAskedAlerts(), QStringList { refusal });
        }
        QVERIFY(FileDialog::takeAskedDialogs().isEmpty());
        QVERIFY(group->documents().isEmpty());
        QVERIFY(!view->isBusy());
    }

    void dropsOfFilesAndWhatTheyRefuse()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("drop")));
        const GroupPtr group = harness.addGroup(QStringLiteral("Letters"));
        MainView* view = harness.open();
        view->selectGroup(group);
        QWidget* viewport = view->documentsTableView()->viewport();
        const QStringList files = makeFiles(QStringLiteral("letter"), 3);
        const QString folder = QFileInfo(files[0]).absolutePath();

        // One file: a single intake and its sheet.
        QVERIFY(sendDrop(viewport, { files[0] }));
        QTRY_VERIFY(view->intakeFlow()->documentSheet());
        // Anything dropped while the sheet is open only beeps.
        const int beeps = MessageBox::beepCount();
        QVERIFY(sendDrop(viewport, { files[1] }));
        QCOMPARE(MessageBox::beepCount(), beeps + 1);
        view->intakeFlow()->documentSheet()->okButton()->click();
        QTRY_VERIFY(!view->isBusy());
        QCOMPARE(group->documents().size(), 1);

        // A folder alone beeps; a package is refused with its alert.
        QVERIFY(sendDrop(viewport, { folder }));
        QCOMPARE(MessageBox::beepCount(), beeps + 2);
        const QString package = m_home.freshPath(QStringLiteral("bundle")) + QStringLiteral(".app");
        QDir().mkpath(package);
        MessageBox::setNextAnswer(0);
        QVERIFY(sendDrop(viewport, { package }));
        QCOMPARE(
            MessageBox::takeAskedAlerts(), QStringList { GuiTest::alertText("Error!", "File format not supported.") });

        // What cannot be read as a file at all is refused with the reason.
        const QString fifo = m_home.freshPath(QStringLiteral("pipe"));
        QVERIFY(::mkfifo(QFile::encodeName(fifo).constData(), 0600) == 0);
        const QString huge = m_home.freshPath(QStringLiteral("huge")) + QStringLiteral(".bin");
        QFile sparse(huge);
        QVERIFY(sparse.open(QIODevice::WriteOnly) && sparse.resize(qint64(2) << 30)); // no blocks written
        sparse.close();
        for (const QString& refused : { fifo, huge }) {
            MessageBox::setNextAnswer(0);
            QVERIFY(sendDrop(viewport, { refused }));
            QTRY_VERIFY(!view->isBusy());
            const QStringList asked = MessageBox::takeAskedAlerts();
            QCOMPARE(asked.size(), 1);
            QVERIFY(asked.first().startsWith(text("Error!") + QLatin1Char('\n') + refused));
        }
        QCOMPARE(group->documents().size(), 1);

        // Several: a batch, where the folder and a missing file are passed over.
        QVERIFY(sendDrop(viewport, { files[1], folder, files[2], folder + QStringLiteral("/gone.txt") }));
        QTRY_VERIFY(view->batchFlow()->batchSheet());
        QCOMPARE(view->batchArrayCount(), 2);
        view->batchFlow()->batchSheet()->okButton()->click();
        QTRY_VERIFY(!view->isBusy());
        QCOMPARE(group->documents().size(), 3);
        QCOMPARE(logs(harness.archive()).size(), 3);
    }

    void cancelledBackgroundBatchLeavesArchiveAsItWas()
    {
        const QString package = m_home.freshPath(QStringLiteral("cancel"));
        MainViewHarness harness(package);
        numberVouchers(harness, QString(), 7, QString());
        const GroupPtr group = harness.addGroup(QStringLiteral("Many"));
        MainView* view = harness.open();
        view->selectGroup(group);
        harness.archive().clearChangeCount();
        const QStringList files = makeFiles(QStringLiteral("many"), 300);
        const QDir members(harness.archive().filesPath());
        const QStringList before = members.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);

        view->receivedDroppedFiles(files);
        QVERIFY(view->batchFlow()->isBuilding());
        QVERIFY(view->progressIndicator()->isVisible());
        QVERIFY(view->progressIndicator()->isCancelVisible());
        QVERIFY(!view->validateUserInterfaceItem(QStringLiteral("addDocument:"), true));
        // Nothing is deleted or taken in meanwhile.
        const int beeps = MessageBox::beepCount();
        view->deleteGroup();
        view->receivedDroppedFiles(files.mid(0, 1));
        QCOMPARE(MessageBox::beepCount(), beeps + 2);
        Q_EMIT view->progressIndicator()->cancelRequested();
        QTRY_VERIFY(!view->batchFlow()->isBusy());

        QVERIFY(!view->progressIndicator()->isVisible());
        QVERIFY(group->documents().isEmpty());
        QVERIFY(logs(harness.archive()).isEmpty());
        QCOMPARE(harness.preferences()->voucherNumber(), 7);
        QVERIFY(harness.archive().deleteIDSArray().isEmpty());
        QCOMPARE(members.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), before);
        QVERIFY(!harness.archive().isDocumentEdited());
    }

    void folderGroupCancelledThenConfirmed()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("folder")));
        MainView* view = harness.open();
        const QStringList files = makeFiles(QStringLiteral("statements"), 2);
        const QString folder = QFileInfo(files[0]).absolutePath();
        QDir().mkpath(folder + QStringLiteral("/sub"));
        writeFile(folder + QStringLiteral("/.hidden"), "x");

        FileDialog::setNextDirectory(folder);
        view->addFolderGroup();
        QTRY_VERIFY(view->batchFlow()->batchSheet());
        QCOMPARE(FileDialog::takeAskedDialogs().value(0).title, text("Select Folder"));
        QCOMPARE(harness.archive().allGroups().size(), 1);
        QCOMPARE(view->currentGroup()->groupTitle(), QFileInfo(folder).fileName());
        QCOMPARE(view->batchArrayCount(), 2);
        view->batchFlow()->batchSheet()->cancelButton()->click();
        QTRY_VERIFY(!view->isBusy());
        QVERIFY(harness.archive().allGroups().isEmpty()); // the new group went with the batch

        view->createFolderGroupFromFolderPath(folder);
        QTRY_VERIFY(view->batchFlow()->batchSheet());
        view->batchFlow()->batchSheet()->okButton()->click();
        QTRY_VERIFY(!view->isBusy());
        QCOMPARE(harness.archive().allGroups().size(), 1);
        QCOMPARE(harness.archive().allGroups().first()->documents().size(), 2);
        QVERIFY(!harness.archive().allGroups().first()->hasMonitoredFolder());
    }

    void startupImportShowsItsStatusAndRefreshesTheLists()
    {
        MainViewHarness harness(m_home.freshPath(QStringLiteral("monitored")));
        numberVouchers(harness, QStringLiteral("M-"), 100, QString());
        const QStringList files = makeFiles(QStringLiteral("scan"), 2);
        const GroupPtr group = harness.addGroup(QStringLiteral("Inbox"));
        group->setField(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
        group->setField(QuillarcGroup::FolderPath, Value::string(QFileInfo(files[0]).absolutePath()));
        MainView* view = harness.open(false);
        QSignalSpy finished(view->folderFlow(), &FolderFlow::startupImportFinished);
        view->viewActions(); // schedules the scan
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(finished.first().first().toInt(), 2);
        QCOMPARE(group->documents().size(), 2);
        QCOMPARE(harness.preferences()->voucherNumber(), 102);
        view->selectGroup(group);
        QTRY_COMPARE(view->documentsModel()->rowCount(), 2);
        QVERIFY(!view->folderFlow()->folderImportSheet());
        QVERIFY(!view->doTheStartupFolderImport() || QTest::qWaitFor([&] { return finished.count() == 2; }));
        QCOMPARE(group->documents().size(), 2); // nothing new the second time
    }
};

QTEST_MAIN(TestGuiIntake)
#include "tst_gui_intake.moc"
