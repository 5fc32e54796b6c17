// The log report from the window: the popover closes and the progress shows
// while the report is laid out off the main thread, then the save dialog
// (titled and named "COMPLETE_LOG", PDF only) decides where it goes.
#include "GuiTestSupport.h"
#include "app/flows/LogReportFlow.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "model/QuillarcContainer.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QWidget>

class TestGuiExportLog : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QWidget m_window; ///< the flows' window
    std::unique_ptr<Document> m_archive;
    QStringList m_steps;

    /// A saved archive with @p documents documents and @p entries intake entries for each, reopened.
    void makeArchive(int documents, int entries = 1)
    {
        const QString path = m_home.freshPath(QStringLiteral("log")) + QStringLiteral(".quillarc");
        {
            ArchiveFixture fixture(path);
            fixture.archive().container()->setField(QuillarcContainer::ContainerTitle, Value::string("Records 2026"));
            const GroupPtr group = fixture.addGroup(QStringLiteral("Belege"));
            for (int i = 0; i < documents; ++i) {
                const DocumentPtr document = fixture.addDocument(group, QStringLiteral("Beleg%1").arg(i), "bytes");
                for (int e = 0; e < entries; ++e)
                    fixture.archive().createLogObjectForDocument(document, 0);
            }
            QVERIFY(fixture.save());
        }
        m_archive = ArchiveFixture::reopen(path, Document::OpenMode::ReadWrite);
        QVERIFY(m_archive);
    }

    LogReportFlow::Hooks recordingHooks()
    {
        return { [this] { m_steps << QStringLiteral("close popover"); },
            [this] { m_steps << QStringLiteral("progress"); },
            [this] { m_steps << QStringLiteral("split view"); } };
    }

private Q_SLOTS:
    void cleanup()
    {
        m_steps.clear();
        GuiTest::forgetAskedDialogs();
        m_window.hide();
        m_archive.reset();
    }

    void writtenThroughTheSaveDialog()
    {
        makeArchive(3);
        LogReportFlow flow(m_archive.get(), &m_window);
        flow.setHooks(recordingHooks());
        QSignalSpy laidOut(&flow, &LogReportFlow::laidOut);
        QSignalSpy finished(&flow, &LogReportFlow::finished);
        const QString target = m_home.freshPath(QStringLiteral("report")) + QStringLiteral(".pdf");
        FileDialog::setNextFileName(target);

        flow.exportLogAction();
        // The window is set aside at once; the dialog comes only after the layout.
        QCOMPARE(m_steps, (QStringList { "close popover", "progress" }));
        QVERIFY(FileDialog::takeAskedDialogs().isEmpty());
        QVERIFY(finished.wait(20000));
        QCOMPARE(m_steps, (QStringList { "close popover", "progress", "split view" }));
        QCOMPARE(laidOut.value(0).value(0).toInt(), 2); // the cover, then the entries from page 2

        const QList<FileDialog::Options> asked = FileDialog::takeAskedDialogs();
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked.first().title, text("COMPLETE_LOG"));
        QCOMPARE(asked.first().proposedName, text("COMPLETE_LOG"));
        QCOMPARE(asked.first().nameFilters, QStringList { QStringLiteral("PDF (*.pdf)") });
        QCOMPARE(finished.first().value(0).toString(), target);
        QVERIFY(readFile(target).startsWith("%PDF-"));
        QVERIFY(!flow.isRunning());
    }

    void cancelledDialogDiscardsTheReport()
    {
        makeArchive(1);
        LogReportFlow flow(m_archive.get(), &m_window);
        QSignalSpy finished(&flow, &LogReportFlow::finished);
        FileDialog::setNextCancel();
        flow.exportLogAction();
        QVERIFY(finished.wait(20000));
        QCOMPARE(finished.first().value(0).toString(), QString());
        QCOMPARE(finished.first().value(1).toString(), QString());
        QVERIFY(MessageBox::takeAskedAlerts().isEmpty());
    }

    void unwritableTargetIsReported()
    {
        makeArchive(1);
        LogReportFlow flow(m_archive.get(), &m_window);
        QSignalSpy finished(&flow, &LogReportFlow::finished);
        const QString blocker = m_home.freshPath(QStringLiteral("plainfile"));
        QVERIFY(writeFile(blocker, "not a folder"));
        FileDialog::setNextFileName(blocker + QStringLiteral("/report.pdf"));
        MessageBox::setNextAnswer(0);
        flow.exportLogAction();
        QVERIFY(finished.wait(20000));
        QCOMPARE(finished.first().value(0).toString(), QString());
        QVERIFY(finished.first().value(1).toString().contains(blocker));
        QVERIFY(MessageBox::takeAskedAlerts().value(0).contains(blocker));
    }

    void largeLogIsLaidOutAwayFromTheWindow()
    {
        makeArchive(100, 100);
        LogReportFlow flow(m_archive.get(), &m_window);
        flow.setHooks(recordingHooks());
        QSignalSpy finished(&flow, &LogReportFlow::finished);
        // The window's event loop keeps turning while the report is laid out.
        int turns = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&] {
            if (m_steps.size() == 2)
                ++turns;
        });
        ticker.start(0);
        FileDialog::setNextFileName(m_home.freshPath(QStringLiteral("large")) + QStringLiteral(".pdf"));
        flow.exportLogAction();
        QVERIFY(finished.wait(120000));
        QVERIFY2(turns > 10, qPrintable(QString::number(turns)));
        QVERIFY(!finished.first().value(0).toString().isEmpty());
    }
};

QTEST_MAIN(TestGuiExportLog)
#include "tst_gui_exportlog.moc"
