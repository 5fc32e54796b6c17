// Export from the window: its dialogs, copies made off the main thread, and
// every way a run stops (damaged member, unwritable folder, Cancel).
#include "GuiTestSupport.h"
#include "app/flows/ExportFlow.h"
#include "app/flows/FlowProgressSheet.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "controls/KVTessaryProgress.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "output/Exporter.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace {
QString copyName(const QString& rest)
{
    return QStringLiteral("(%1) %2").arg(text("FILE_COPY_LABEL"), rest);
}
} // namespace

class TestGuiExport : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QWidget m_window; ///< the flows' window
    QString m_path;
    std::unique_ptr<Document> m_archive;
    GroupPtr m_group;

    /// An archive "Records 2026" with group "Belege" of @p count documents, reopened.
    void makeArchive(int count = 3, int bytes = 100)
    {
        m_path = m_home.freshPath(QStringLiteral("export")) + QStringLiteral(".quillarc");
        {
            ArchiveFixture fixture(m_path);
            fixture.archive().container()->setField(QuillarcContainer::ContainerTitle, Value::string("Records 2026"));
            fixture.archive().preferences()->setField(QuillarcPreferences::IncludeSummary, Value::boolean(true));
            const GroupPtr group = fixture.addGroup(QStringLiteral("Belege"));
            for (int i = 1; i <= count; ++i) {
                const DocumentPtr document = fixture.addDocument(
                    group, QStringLiteral("Beleg%1").arg(i), QByteArray(bytes, char('a' + i % 26)));
                document->setField(QuillarcDocument::SlipNumber, Value::string(QString::number(i)));
            }
            QVERIFY(fixture.save());
        }
        m_archive = ArchiveFixture::reopen(m_path, Document::OpenMode::ReadWrite);
        QVERIFY(m_archive);
        m_group = m_archive->allGroups().first();
    }

    /// Runs an export of the group into @p folder and waits for its end.
    QList<QVariant> exportGroupInto(ExportFlow& flow, const QString& folder)
    {
        QSignalSpy finished(&flow, &ExportFlow::finished);
        FileDialog::setNextFileName(folder);
        flow.exportGroup(m_group);
        if (!finished.wait(20000))
            return {};
        return finished.first();
    }

private Q_SLOTS:
    void cleanup()
    {
        GuiTest::forgetAskedDialogs();
        m_window.hide();
        m_archive.reset();
    }

    void dialogsNameWhatIsExported()
    {
        makeArchive();
        ExportFlow flow(m_archive.get(), &m_window);
        QSignalSpy finished(&flow, &ExportFlow::finished);
        FileDialog::setNextCancel();
        flow.exportGroup(m_group);
        FileDialog::setNextCancel();
        flow.exportDocument(m_group);
        const QList<FileDialog::Options> asked = FileDialog::takeAskedDialogs();
        QCOMPARE(asked.size(), 2);
        QCOMPARE(asked[0].title, text("EXPORT_GROUP_TITLE"));
        QCOMPARE(asked[0].proposedName, QStringLiteral("Belege"));
        QCOMPARE(asked[1].title, text("EXPORT_DOCUMENT_MENU"));
        QCOMPARE(asked[1].proposedName, QStringLiteral("Records 2026"));
        QCoreApplication::processEvents();
        QCOMPARE(finished.size(), 0); // cancelled: nothing is done
        QVERIFY(!flow.isRunning());
    }

    void copiesAndSummaryOffTheMainThread()
    {
        makeArchive();
        ExportFlow flow(m_archive.get(), &m_window);
        const QString folder = m_home.freshPath(QStringLiteral("out")) + QStringLiteral("/new/folder");
        const QList<QVariant> result = exportGroupInto(flow, folder);
        QCOMPARE(result.value(0).value<ExportJob::Result>(), ExportJob::Result::Success);
        QCOMPARE(readFile(folder + QLatin1Char('/') + copyName(QStringLiteral("2_Beleg2.pdf"))), QByteArray(100, 'c'));
        QVERIFY(QFile::exists(folder + QLatin1Char('/') + Exporter::summaryFileName()));
        QVERIFY(MessageBox::takeAskedAlerts().isEmpty());

        FileDialog::setNextFileName(m_home.freshPath(QStringLiteral("all")));
        QSignalSpy finished(&flow, &ExportFlow::finished);
        flow.exportDocument(m_group);
        QVERIFY(finished.wait());
        QCOMPARE(finished.first().value(0).value<ExportJob::Result>(), ExportJob::Result::Success);
    }

    void corruptedOrMissingMemberStops_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("alert");
        QTest::addColumn<int>("result");
        QTest::newRow("corrupted") << "flip" << "File appears to be corrupted." << int(ExportJob::Result::CorruptedFile);
        QTest::newRow("missing") << "delete" << "File not found." << int(ExportJob::Result::MissingFile);
    }
    void corruptedOrMissingMemberStops()
    {
        QFETCH(QString, damage);
        QFETCH(QString, alert);
        QFETCH(int, result);
        makeArchive();
        // The second in voucher order is damaged: the first is copied, then the run stops.
        const QString member = m_path + QLatin1Char('/') + m_group->documents().at(1)->path();
        if (damage == QLatin1String("flip"))
            QVERIFY(writeFile(member, readFile(member).replace("ccc", "cCc")));
        else
            QVERIFY(QFile::remove(member));
        const QByteArray memberBefore = QFile::exists(member) ? readFile(member) : QByteArray();

        ExportFlow flow(m_archive.get(), &m_window);
        MessageBox::setNextAnswer(0);
        const QString folder = m_home.freshPath(QStringLiteral("stopped"));
        const QList<QVariant> finished = exportGroupInto(flow, folder);
        QCOMPARE(int(finished.value(0).value<ExportJob::Result>()), result);
        QCOMPARE(MessageBox::takeAskedAlerts().value(0).section(QLatin1Char('\n'), 0, 0), text(alert.toUtf8()));
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList { copyName(QStringLiteral("1_Beleg1.pdf")) });
        // The archive's own member is left exactly as it was.
        QCOMPARE(QFile::exists(member) ? readFile(member) : QByteArray(), memberBefore);
    }

    void unwritableFolderIsReported_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::newRow("folder below a file") << "file";
        QTest::newRow("read-only folder") << "readonly";
        QTest::newRow("no room for the copy") << "full";
    }
    void unwritableFolderIsReported()
    {
        QFETCH(QString, obstacle);
        makeArchive(2, 4000);
        QString folder = m_home.freshPath(QStringLiteral("blocked"));
        QString named = folder;
        if (obstacle == QLatin1String("file")) {
            QVERIFY(writeFile(folder, "a file, not a folder"));
            folder += QStringLiteral("/inside");
        } else {
            QVERIFY(QDir().mkpath(folder));
        }
        if (obstacle == QLatin1String("readonly")) {
            if (geteuid() == 0)
                QSKIP("The superuser writes into read-only folders.");
            QVERIFY(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        }
        // A file size limit makes every write past 1000 bytes fail, as a full disk does.
        rlimit saved {};
        getrlimit(RLIMIT_FSIZE, &saved);
        auto restore = qScopeGuard([&] {
            setrlimit(RLIMIT_FSIZE, &saved);
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        });
        if (obstacle == QLatin1String("full")) {
            std::signal(SIGXFSZ, SIG_IGN);
            rlimit small = saved;
            small.rlim_cur = 1000;
            QVERIFY(setrlimit(RLIMIT_FSIZE, &small) == 0);
        }

        ExportFlow flow(m_archive.get(), &m_window);
        MessageBox::setNextAnswer(0);
        const QList<QVariant> finished = exportGroupInto(flow, folder);
        restore.dismiss();
        setrlimit(RLIMIT_FSIZE, &saved);
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QCOMPARE(finished.value(0).value<ExportJob::Result>(), ExportJob::Result::WriteFailed);
        const QString alert = MessageBox::takeAskedAlerts().value(0);
        QVERIFY2(alert.contains(named), qPrintable(alert));
        QVERIFY2(alert.count(QLatin1Char('(')) >= 1, qPrintable(alert)); // the system's reason follows the path
        if (obstacle != QLatin1String("file"))
            QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System).join(" | "), QString()); // nothing half-written
    }

    void existingCopiesAreReplacedWhole()
    {
        makeArchive();
        const QString folder = m_home.freshPath(QStringLiteral("again"));
        QVERIFY(writeFile(folder + QLatin1Char('/') + copyName(QStringLiteral("1_Beleg1.pdf")), QByteArray(5000, 'x')));
        ExportFlow flow(m_archive.get(), &m_window);
        QCOMPARE(exportGroupInto(flow, folder).value(0).value<ExportJob::Result>(), ExportJob::Result::Success);
        QCOMPARE(readFile(folder + QLatin1Char('/') + copyName(QStringLiteral("1_Beleg1.pdf"))), QByteArray(100, 'b'));
    }

    void largeExportShowsItsProgressAndCanStop()
    {
        makeArchive(6, 200000);
        m_window.show();
        ExportFlow flow(m_archive.get(), &m_window);
        // The worker waits before its second copy until the test has seen the sheet.
        QSemaphore goOn;
        flow.setWorkerProbe([&goOn](int index) {
            if (index == 1)
                goOn.acquire();
        });
        QSignalSpy finished(&flow, &ExportFlow::finished);
        const QString folder = m_home.freshPath(QStringLiteral("large"));
        FileDialog::setNextFileName(folder);
        flow.exportGroup(m_group);
        // The window's event loop keeps turning while the worker copies.
        QTRY_VERIFY(flow.progressSheet() && flow.progressSheet()->isVisible());
        FlowProgressSheet* sheet = flow.progressSheet();
        QTRY_COMPARE(sheet->progressView()->text(), QStringLiteral("Beleg2"));
        QCOMPARE(sheet->progressView()->value(), 1);
        QCOMPARE(sheet->progressView()->maximum(), 6);
        QTest::keyClick(sheet, Qt::Key_Escape);
        goOn.release();
        QVERIFY(finished.wait(20000));
        QCOMPARE(finished.first().value(0).value<ExportJob::Result>(), ExportJob::Result::Cancelled);
        QTRY_VERIFY(!flow.progressSheet());
        // Stopped between files: the copies there are complete, and no summary was written.
        const QStringList written = QDir(folder).entryList(QDir::Files);
        QVERIFY(written.size() >= 1 && written.size() <= 2);
        for (const QString& name : written)
            QCOMPARE(QFileInfo(folder + QLatin1Char('/') + name).size(), qint64(200000));
        QVERIFY(MessageBox::takeAskedAlerts().isEmpty());
    }
};

QTEST_MAIN(TestGuiExport)
#include "tst_gui_export.moc"
