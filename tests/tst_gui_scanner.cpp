#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "app/scanner/ScanPreviewView.h"
#include "app/scanner/ScannerWindow.h"
#include "controls/KVButton.h"
#include "controls/KVTessaryProgress.h"
#include "intake/FakeScannerBackend.h"
#include "model/QuillarcContainer.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <poppler-qt6.h>

// The window runs against SANE's test scanner (tests/data/sane, set for this
// test by CTest) and against FakeScannerBackend for failures and for devices
// that come and go.

// Scans run on worker threads; a busy machine may take a while, so waits are generous.
constexpr int scannerTimeout = 60000;

namespace {

using Failure = FakeScannerBackend::Failure;

template<typename T> T* child(QWidget* window, const char* name)
{
    T* widget = window->findChild<T*>(QLatin1String(name));
    if (!widget)
        qFatal("no widget %s", name);
    return widget;
}

bool isReady(QWidget* window)
{
    return child<QPushButton>(window, "scanButton")->isEnabled();
}

QStringList comboData(QWidget* window, const char* name)
{
    QStringList values;
    auto* combo = child<QComboBox>(window, name);
    for (int i = 0; i < combo->count(); ++i)
        values << combo->itemData(i).toString();
    return values;
}

} // namespace

class TestGuiScanner : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    QString pictures() const { return m_home.path() + QStringLiteral("/Pictures"); }
    QStringList scansLeft() const
    {
        return QDir(pictures()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private Q_SLOTS:
    void init() { QDir(pictures()).removeRecursively(); }

    void opensOncePerArchiveAndListsTheTestScanners()
    {
        ArchiveFixture fixture(m_home.freshPath("belege") + QStringLiteral(".quillarc"));
        fixture.archive().container()->setValue(QuillarcContainer::ContainerTitle, Value::string("Belege 2026"));
        QDir(fixture.archive().filesPath()).removeRecursively();

        ScannerWindow* window = ScannerWindow::showScannerSheet(&fixture.archive());
        QCOMPARE(window->windowTitle(), text("Scanner") + QStringLiteral(" (Belege 2026)"));
        QCOMPARE(window->titleLabel(), window->windowTitle());
        QCOMPARE(window->documentTitle(), text("Untitled"));
        QCOMPARE(QSettings("Tessary", "Quillarc").value("IK_Scanner_downloadURL").toString(), QStringLiteral("~/Pictures"));
        QVERIFY(QFileInfo(fixture.archive().filesPath()).isDir());
        QCOMPARE(child<QPushButton>(window, "overviewButton")->text(), text("overviewControlLabel"));
        QCOMPARE(child<QPushButton>(window, "scanButton")->text(), text("scanControlLabel"));

        QTRY_VERIFY_WITH_TIMEOUT(isReady(window), scannerTimeout);
        QCOMPARE(comboData(window, "deviceCombo"), QStringList({ "test:0", "test:1" }));
        QCOMPARE(comboData(window, "modeCombo"), QStringList({ "Gray", "Color" }));
        QCOMPARE(child<QComboBox>(window, "modeCombo")->itemText(1), text("Color"));
        QCOMPARE(child<QComboBox>(window, "sourceCombo")->currentData().toString(), QStringLiteral("Flatbed"));
        QCOMPARE(child<QComboBox>(window, "resolutionCombo")->currentData().toInt(), 300);

        QCOMPARE(ScannerWindow::showScannerSheet(&fixture.archive()), window);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(window), scannerTimeout);
        delete window;
    }

    void overviewFillsThePreviewAndScanHandsOnThePdf()
    {
        ScannerWindow window;
        window.show();
        window.startBrowser();
        QTRY_VERIFY_WITH_TIMEOUT(isReady(&window), scannerTimeout);
        QTest::mouseClick(child<QPushButton>(&window, "overviewButton"), Qt::LeftButton);
        auto* preview = child<ScanPreviewView>(&window, "preview");
        QTRY_VERIFY_WITH_TIMEOUT(!preview->image().isNull(), scannerTimeout);
        QCOMPARE(preview->image().size(), QSize(620, 876)); // A4 at 75 dpi

        window.setDocumentTitle(QStringLiteral("Lieferschein 12"));
        QSignalSpy scanned(&window, &ScannerWindow::scannedToURL);
        QTest::mouseClick(child<QPushButton>(&window, "scanButton"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(scanned.count(), 1, scannerTimeout);
        const QString pdf = scanned.first().first().toString();
        QCOMPARE(pdf, pictures() + QStringLiteral("/Lieferschein 12.pdf"));
        QCOMPARE(scansLeft(), QStringList({ "Lieferschein 12.pdf" }));
        const auto document = Poppler::Document::load(pdf);
        QVERIFY(document);
        QCOMPARE(document->numPages(), 1);
        QVERIFY(qAbs(document->page(0)->pageSizeF().width() - 595.28) < 0.3);
        QVERIFY(window.isHidden());
        QVERIFY(window.message().isEmpty());
    }

    void cancelledScanLeavesNothingBehind()
    {
        auto fake = std::make_shared<FakeScannerBackend>();
        fake->setFailure(Failure::Stall, 100);
        ScannerWindow window(fake);
        window.show();
        window.startBrowser();
        QTRY_VERIFY_WITH_TIMEOUT(isReady(&window), scannerTimeout);
        QSignalSpy scanned(&window, &ScannerWindow::scannedToURL);
        QTest::mouseClick(child<QPushButton>(&window, "scanButton"), Qt::LeftButton);
        auto* progress = child<KVTessaryProgress>(&window, "progress");
        QTRY_VERIFY_WITH_TIMEOUT(progress->value() > 0, scannerTimeout);
        QVERIFY(progress->isCancelVisible());
        QCOMPARE(progress->text(), text("SCANNER_PAGE_PROGRESS").arg(1));
        QTest::mouseClick(progress->findChild<KVButton*>(), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!window.isBusy(), scannerTimeout);
        QCOMPARE(window.message(), text("SCANNER_CANCELLED"));
        QCOMPARE(scanned.count(), 0);
        QCOMPARE(scansLeft(), QStringList());
        QVERIFY(fake->openDeviceName().isEmpty());
        QVERIFY(!progress->isVisible());
        QVERIFY(window.isVisible());
    }

    void scannerErrorsAreLoggedAndShown_data()
    {
        QTest::addColumn<Failure>("failure");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("error");
        // clang-format off
        QTest::newRow("device gone while scanning") << Failure::DeviceGone << "Flatbed"                   << "scanButton"     << "SCANNER_ERROR"         << "fake:0: Error during device I/O";
        QTest::newRow("jam at the overview")        << Failure::StartFails << "Flatbed"                   << "overviewButton" << "SCANNER_ERROR"         << "fake:0: Document feeder jammed";
        QTest::newRow("device went away")           << Failure::OpenFails  << "Flatbed"                   << "scanButton"     << "SCANNER_NOT_ANSWERING" << "fake:0: Invalid argument";
        QTest::newRow("empty feeder")               << Failure::None       << "Automatic Document Feeder" << "scanButton"     << "SCANNER_NO_DOCUMENTS"  << "fake:0: Document feeder out of documents";
        // clang-format on
    }
    void scannerErrorsAreLoggedAndShown()
    {
        QFETCH(Failure, failure);
        QFETCH(QString, source);
        QFETCH(QString, button);
        QFETCH(QString, key);
        QFETCH(QString, error);
        auto fake = std::make_shared<FakeScannerBackend>();
        fake->setFeederPages(0);
        ScannerWindow window(fake);
        window.show();
        window.startBrowser();
        QTRY_VERIFY_WITH_TIMEOUT(isReady(&window), scannerTimeout);
        auto* sources = child<QComboBox>(&window, "sourceCombo");
        sources->setCurrentIndex(sources->findData(source));
        fake->setFailure(failure, 100);

        QTest::ignoreMessage(QtWarningMsg, qPrintable("scannerDeviceView didEncounterError: " + error));
        QTest::ignoreMessage(QtWarningMsg, qPrintable("scannerDeviceView URL: " + pictures()));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^scannerDeviceView App: .*tst_gui_scanner$"));
        QSignalSpy scanned(&window, &ScannerWindow::scannedToURL);
        QTest::mouseClick(child<QPushButton>(&window, qPrintable(button)), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!window.isBusy(), scannerTimeout);
        QCOMPARE(window.message(), text(qPrintable(key)) + QLatin1Char('\n') + error);
        QVERIFY(child<QLabel>(&window, "messageLabel")->isVisible());
        QVERIFY(window.isVisible());
        QCOMPARE(scanned.count(), 0);
        QCOMPARE(scansLeft(), QStringList());
        QVERIFY(child<ScanPreviewView>(&window, "preview")->image().isNull());
    }

    void devicesComeAndGo()
    {
        auto fake = std::make_shared<FakeScannerBackend>();
        const QList<ScannerDevice> both = { { "fake:0", "Quillarc", "Flatbed", "flatbed scanner" },
            { "fake:1", "Quillarc", "Feeder", "sheetfed scanner" } };
        fake->setDevices({});
        ScannerWindow window(fake);
        window.show();
        window.startBrowser();
        auto* empty = child<QLabel>(&window, "emptyLabel");
        QTRY_COMPARE_WITH_TIMEOUT(empty->text(), text("SCANNER_NONE_FOUND"), scannerTimeout);
        QVERIFY(empty->isVisible());
        QVERIFY(!child<QPushButton>(&window, "scanButton")->isEnabled());

        // The first scanner that appears is chosen.
        fake->setDevices(both);
        QTest::mouseClick(child<QPushButton>(&window, "refreshButton"), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(&window), scannerTimeout);
        QVERIFY(!empty->isVisible());
        QCOMPARE(child<QComboBox>(&window, "deviceCombo")->currentData().toString(), QStringLiteral("fake:0"));

        // A chosen scanner stays chosen while it answers; when it goes, the next one is taken.
        auto* devices = child<QComboBox>(&window, "deviceCombo");
        devices->setCurrentIndex(1);
        Q_EMIT devices->activated(1);
        QTRY_COMPARE_WITH_TIMEOUT(fake->openDeviceName(), QString(), scannerTimeout);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(&window), scannerTimeout);
        fake->setDevices({ both[1], { "fake:2", "Quillarc", "Other", "flatbed scanner" } });
        window.refreshDevices();
        QTRY_COMPARE_WITH_TIMEOUT(comboData(&window, "deviceCombo"), QStringList({ "fake:1", "fake:2" }), scannerTimeout);
        QCOMPARE(devices->currentData().toString(), QStringLiteral("fake:1"));
        fake->setDevices({ both[0] });
        window.refreshDevices();
        QTRY_COMPARE_WITH_TIMEOUT(comboData(&window, "deviceCombo"), QStringList({ "fake:0" }), scannerTimeout);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(&window), scannerTimeout);

        fake->setDevices({});
        window.refreshDevices();
        QTRY_VERIFY_WITH_TIMEOUT(empty->isVisible(), scannerTimeout);
        QVERIFY(!child<QPushButton>(&window, "overviewButton")->isEnabled());
    }
};

QTEST_MAIN(TestGuiScanner)
#include "tst_gui_scanner.moc"
