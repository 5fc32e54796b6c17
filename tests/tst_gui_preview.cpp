#include "GuiTestSupport.h"
#include "MainViewHarness.h"
#include "app/intake/FileCopyFlow.h"
#include "app/models/DocumentListModel.h"
#include "app/popover/Popover.h"
#include "app/popover/SortOrderPopover.h"
#include "app/preview/PdfPageView.h"
#include "app/preview/PreviewWindow.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/views/DocumentsTableView.h"
#include "app/views/SegmentedControl.h"
#include "app/views/ThumbnailCache.h"
#include "intake/DocumentIntake.h"
#include "intake/FileCopy.h"
#include "store/ArchivedFile.h"
#include "store/ExtendedAttributes.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QDir>
#include <QPainter>
#include <QPdfWriter>
#include <QSignalSpy>
#include <QToolButton>

/// What the main view shows of a record beyond its row: the preview window
/// (PDF pages, images, text, damaged members), the list's thumbnails, the
/// sort popover, and the file copy handed out.
class TestGuiPreview : public QObject
{
    Q_OBJECT

private:
    struct Opened
    {
        std::unique_ptr<MainViewHarness> harness;
        MainView* view = nullptr;
        GroupPtr group;
        DocumentPtr pdf, image, text;
    };

    /// An archive holding a two-page PDF, an image and a text file, taken in by the engine.
    Opened openArchive(const char* stem)
    {
        Opened opened;
        opened.harness = std::make_unique<MainViewHarness>(m_home.freshPath(QString::fromLatin1(stem)));
        MainViewHarness& harness = *opened.harness;
        harness.preferences()->setField(QuillarcPreferences::AutoLockDocuments, Value::boolean(false));
        opened.group = harness.addGroup(QStringLiteral("Group"));
        const QString folder = m_home.freshPath(QStringLiteral("sources"));
        QDir().mkpath(folder);
        const QString pdf = folder + QStringLiteral("/contract.pdf");
        {
            QPdfWriter writer(pdf);
            QPainter painter(&writer);
            painter.drawText(QPointF(500, 500), QStringLiteral("First page"));
            writer.newPage();
            painter.drawText(QPointF(500, 500), QStringLiteral("Second page"));
        }
        const QString image = folder + QStringLiteral("/receipt.png");
        QImage picture(300, 200, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        picture.save(image);
        const QString text = folder + QStringLiteral("/note.txt");
        writeFile(text, "Plain words\n");
        DocumentIntake intake(harness.archive());
        opened.pdf = intake.addDocument(pdf, opened.group);
        opened.image = intake.addDocument(image, opened.group);
        opened.text = intake.addDocument(text, opened.group);
        opened.view = harness.open();
        opened.view->selectGroup(opened.group);
        return opened;
    }

    TemporaryHome m_home;

private Q_SLOTS:
    void initTestCase() { MainViewHarness::prepareApplication(); }

    void previewFollowsTheSelection()
    {
        Opened opened = openArchive("preview");
        MainView* view = opened.view;
        view->selectDocument(opened.pdf);
        view->generateQuickLook();
        PreviewWindow* preview = view->previewWindow();
        QVERIFY(preview && preview->isVisible());
        QTRY_VERIFY(preview->isReady());
        QCOMPARE(preview->shown(), PreviewWindow::Shown::Pdf);
        QCOMPARE(preview->pdfView()->pageCount(), 2);
        // Pages are rendered when they are painted, at the screen's pixel ratio.
        QTRY_VERIFY(preview->pdfView()->renderedPageCount() >= 1);
        const double zoom = preview->pdfView()->zoom();
        preview->pdfView()->zoomIn();
        QCOMPARE(preview->pdfView()->zoom(), zoom * 1.25);
        QTRY_VERIFY(preview->pdfView()->renderedPageCount() >= 1);
        QCOMPARE(view->toolbarActionSegment()->segment(0)->text(), QString()); // the preview has the first segment

        // The arrow keys move the list; the preview follows.
        const int row = view->documentsModel()->rowOf(opened.pdf.get());
        const DocumentPtr next = view->documentsModel()->documentAt(row == 0 ? 1 : row - 1);
        QTest::keyClick(preview, row == 0 ? Qt::Key_Down : Qt::Key_Up);
        QCOMPARE(view->currentDocument(), next);
        QTRY_VERIFY(preview->isReady() && preview->document() == next);
        view->selectDocument(opened.image);
        QTRY_VERIFY(preview->isReady() && preview->document() == opened.image);
        QCOMPARE(preview->shown(), PreviewWindow::Shown::Image);
        view->selectDocument(opened.text);
        QTRY_VERIFY(preview->isReady() && preview->document() == opened.text);
        QCOMPARE(preview->shown(), PreviewWindow::Shown::Text);

        // Space closes it again and the segment has its label back.
        QTest::keyClick(preview, Qt::Key_Space);
        QVERIFY(!preview->isVisible());
        QCOMPARE(view->toolbarActionSegment()->segment(0)->text(), text("NEW_MAIN_BUTTON"));
    }

    void damagedMemberIsExplainedNotShown()
    {
        Opened opened = openArchive("damaged");
        QFile member(ArchivedFile::fileURL(*opened.pdf));
        QVERIFY(member.open(QIODevice::WriteOnly));
        member.write("not an archive any more");
        member.close();
        opened.view->selectDocument(opened.pdf);
        opened.view->generateQuickLook();
        PreviewWindow* preview = opened.view->previewWindow();
        QTRY_VERIFY(preview->isReady());
        QCOMPARE(preview->shown(), PreviewWindow::Shown::Message);
        QCOMPARE(preview->messageText(), text("PREVIEW_FILE_DAMAGED"));

        // The file copy refuses it with its alert, before any dialog.
        MessageBox::setNextAnswer(0);
        opened.view->createFileCopy();
        QTRY_VERIFY(!MessageBox::hasNextAnswer());
        QCOMPARE(MessageBox::takeAskedAlerts(),
            QStringList { GuiTest::alertText("Error!", "File appears to be corrupted.") });
        QVERIFY(FileDialog::takeAskedDialogs().isEmpty());
    }

    void fileCopyUnderItsProposedName()
    {
        Opened opened = openArchive("copy");
        opened.text->setValue(QStringLiteral("slipNumber"), Value::string(QStringLiteral("RE/7")));
        opened.text->setValue(QStringLiteral("tags"), Value::array({ Value::string(QStringLiteral("tax")) }));
        opened.view->selectDocument(opened.text);
        const QString target = m_home.freshPath(QStringLiteral("copies"));
        QDir().mkpath(target);
        FileDialog::setNextFileName(target + QStringLiteral("/chosen.txt"));
        QSignalSpy written(opened.view->fileCopyFlow(), &FileCopyFlow::copyWritten);
        opened.view->createFileCopy();
        QTRY_COMPARE(written.count(), 1);
        const FileDialog::Options asked = FileDialog::takeAskedDialogs().value(0);
        QCOMPARE(asked.title, text("Export File Copy"));
        QCOMPARE(asked.proposedName, QStringLiteral("(%1) RE7_note.txt").arg(text("FILE_COPY_LABEL")));
        QCOMPARE(readFile(target + QStringLiteral("/chosen.txt")), QByteArray("Plain words\n"));
        if (supportsExtendedAttributes(target)) {
            QSignalSpy attributes(opened.view->fileCopyFlow()->fileCopy(), &FileCopy::attributesWritten);
            QTRY_COMPARE(attributes.count(), 1);
            bool ok = false;
            QCOMPARE(ExtendedAttributes::readTags(target + QStringLiteral("/chosen.txt"), &ok),
                QStringList { QStringLiteral("tax") });
        }
    }

    void thumbnailsComeLazily()
    {
        Opened opened = openArchive("thumbnails");
        // A list of its own, not on screen: nothing is painted, so nothing is asked.
        ThumbnailCache cache;
        cache.setSide(32);
        cache.setDevicePixelRatio(2);
        DocumentListModel model(&opened.harness->archive());
        model.setThumbnailCache(&cache);
        model.setGroup(opened.group);
        const QModelIndex cell = model.index(model.rowOf(opened.image.get()), DocumentListModel::TitleColumn);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QVERIFY(cell.data(Qt::DecorationRole).value<QPixmap>().isNull()); // not yet
        QTRY_COMPARE(changed.count(), 1);
        QCOMPARE(changed.first().at(0).toModelIndex(), cell);
        const QPixmap thumbnail = cell.data(Qt::DecorationRole).value<QPixmap>();
        QCOMPARE(thumbnail.size(), QSize(64, 64)); // per pixel ratio
        QCOMPARE(thumbnail.devicePixelRatio(), 2.0);
        QVERIFY(!cache.contains(opened.pdf->uniqueID())); // rows nobody painted are not made
        cache.setDevicePixelRatio(1);
        QVERIFY(!cache.contains(opened.image->uniqueID()));
    }

    void sortPopoverOrdersTheList()
    {
        Opened opened = openArchive("sort");
        MainView* view = opened.view;
        view->showSortOrderPopover();
        SortOrderPopover* popover = nullptr;
        QTRY_VERIFY((popover = QApplication::activePopupWidget()
                ? QApplication::activePopupWidget()->findChild<SortOrderPopover*>()
                : nullptr));
        QVERIFY(popover->orderButtons()->button(0)->isChecked()); // file date, newest first by default
        popover->orderButtons()->button(5)->click(); // title
        popover->directionButtons()->button(1)->click(); // ascending
        QCOMPARE(opened.harness->preferences()->sortOrder(), 5);
        QCOMPARE(view->sortDescriptor().key, QStringLiteral("title"));
        QVERIFY(view->sortDescriptor().ascending);
        QStringList titles;
        for (int row = 0; row < view->documentsModel()->rowCount(); ++row)
            titles.append(view->documentsModel()->documentAt(row)->title());
        QCOMPARE(
            titles, QStringList({ QStringLiteral("contract"), QStringLiteral("note"), QStringLiteral("receipt") }));
        QApplication::activePopupWidget()->close();
    }
};

QTEST_MAIN(TestGuiPreview)
#include "tst_gui_preview.moc"
