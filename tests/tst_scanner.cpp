#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "intake/FakeScannerBackend.h"
#include "intake/SaneBackend.h"
#include "intake/ScanSession.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "store/ArchivedFile.h"

#include <QDir>
#include <QTest>
#include <poppler-qt6.h>

// Scanning runs against SANE's test scanner, configured by tests/data/sane
// (SANE_CONFIG_DIR is set for this test), and against FakeScannerBackend for
// what a real device does only by accident.

namespace {

using Kind = FakeScannerBackend::Failure;

/// Everything in a folder, hidden temporary files included.
QStringList folderEntries(const QString& path)
{
    return QDir(path).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
}

/// The page rendered at the scan's own resolution, so one image pixel is one scanned pixel.
QImage renderAtScanResolution(const QString& pdf, int dpi, QSizeF* pageSize = nullptr)
{
    const auto document = Poppler::Document::load(pdf);
    if (!document || document->numPages() != 1)
        return {};
    const auto page = document->page(0);
    if (pageSize)
        *pageSize = page->pageSizeF();
    return page->renderToImage(dpi, dpi).convertToFormat(QImage::Format_RGB888);
}

} // namespace

class TestScanner : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("SANE_CONFIG_DIR"), "run through CTest"); }

    void testScannerListsDevicesAndOptions()
    {
        SaneBackend backend;
        QList<ScannerDevice> devices;
        QString error;
        QVERIFY2(backend.listDevices(&devices, &error), qPrintable(error));
        QCOMPARE(devices.size(), 2);
        QCOMPARE(devices[0], (ScannerDevice { "test:0", "Noname", "frontend-tester", "virtual device" }));
        QCOMPARE(devices[1].name, QStringLiteral("test:1"));

        ScanSession session(backend);
        ScannerOptions options;
        QCOMPARE(session.readDeviceOptions("test:0", &options), ScanSession::Result::Finished);
        QCOMPARE(options.modes, QStringList({ "Gray", "Color" }));
        QCOMPARE(options.sources, QStringList({ "Flatbed", "Automatic Document Feeder" }));
        QCOMPARE(options.mode, QStringLiteral("Gray"));
        QCOMPARE(options.resolution, 75);
        // A range of 1-1200 dpi is offered as the usual steps.
        QCOMPARE(options.resolutions, QList<int>({ 50, 75, 100, 150, 200, 300, 400, 600, 1200 }));
        QCOMPARE(ScanSession::previewResolution(options), 75);
        QCOMPARE(session.readDeviceOptions("test:9", &options), ScanSession::Result::NoScanner);
    }

    void greyA4At300DpiBecomesAnA4Pdf()
    {
        SaneBackend backend;
        ScanSession session(backend);
        QList<int> progress;
        session.setProgressHandler([&](int page, int percent) { progress << page * 1000 + percent; });
        const QString folder = m_home.freshPath("grey");
        QDir().mkpath(folder);
        const QString pdf = ScanSession::scanFilePath(folder, "Rechnung");
        const ScanSettings settings { "Flatbed", "Gray", 300, false };
        QCOMPARE(session.scanDocument("test:0", settings, pdf, 1, "Rechnung"), ScanSession::Result::Finished);
        QCOMPARE(folderEntries(folder), QStringList({ "Rechnung.pdf" }));
        QCOMPARE(progress.last(), 1100);

        QSizeF size;
        const QImage page = renderAtScanResolution(pdf, 36, &size);
        QVERIFY(!page.isNull());
        // 2480 x 3507 pixels at 300 dpi: A4 (595.28 x 841.89 points) to within one pixel.
        QVERIFY2(qAbs(size.width() - 595.28) < 0.3 && qAbs(size.height() - 841.89) < 0.3,
            qPrintable(QStringLiteral("%1 x %2").arg(size.width()).arg(size.height())));
        // The grid: 10 mm squares (14.17 pixels at 36 dpi), neighbours alternate black and white.
        const auto grey = [&](double xMm, double yMm) { return qGray(page.pixel(int(xMm / 25.4 * 36), int(yMm / 25.4 * 36))); };
        QVERIFY(qAbs(grey(5, 5) - grey(15, 5)) > 200);
        QCOMPARE(grey(5, 5) > 128, grey(15, 15) > 128);
        QCOMPARE(grey(5, 5) > 128, grey(195, 295) > 128);
        const auto document = Poppler::Document::load(pdf);
        QCOMPARE(document->info(QStringLiteral("Title")), QStringLiteral("Rechnung"));
        QCOMPARE(ScanSession::scanFilePath(folder, "Rechnung"), folder + QStringLiteral("/Rechnung 2.pdf"));
    }

    void feederScansUntilItIsEmpty()
    {
        // SANE's test feeder holds ten sheets.
        SaneBackend backend;
        ScanSession session(backend);
        const QString pdf = m_home.freshPath("feeder") + QStringLiteral(".pdf");
        const ScanSettings settings { "Automatic Document Feeder", "Color", 50, false };
        QCOMPARE(session.scanDocument("test:1", settings, pdf, 0), ScanSession::Result::Finished);
        QCOMPARE(session.pageCount(), 10);
        QCOMPARE(Poppler::Document::load(pdf)->numPages(), 10);
        QVERIFY(ScanSession::isFeeder(settings.source));
        QVERIFY(!ScanSession::isFeeder("Flatbed"));
    }

    void everySampleLayoutReadsBack_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("sixteenBit");
        QTest::addColumn<int>("chunk");
        QTest::addColumn<bool>("linesUnknown");
        // clang-format off
        QTest::newRow("line art")               << "Lineart" << false << 4096 << false;
        QTest::newRow("grey")                   << "Gray"    << false << 4096 << false;
        QTest::newRow("grey, 16 bit")           << "Gray"    << true  << 4096 << false;
        QTest::newRow("colour")                 << "Color"   << false << 4096 << false;
        QTest::newRow("colour, 16 bit")         << "Color"   << true  << 4096 << false;
        QTest::newRow("colour, 7-byte chunks")  << "Color"   << false << 7    << false;
        QTest::newRow("line art, hand scanner") << "Lineart" << false << 1000 << true;
        QTest::newRow("grey, hand scanner")     << "Gray"    << false << 333  << true;
        // clang-format on
    }
    void everySampleLayoutReadsBack()
    {
        QFETCH(QString, mode);
        QFETCH(bool, sixteenBit);
        QFETCH(int, chunk);
        QFETCH(bool, linesUnknown);
        FakeScannerBackend backend;
        backend.setPageSize(50.8, 25.4); // 150 x 75 pixels at 75 dpi
        backend.setSixteenBit(sixteenBit);
        backend.setChunkSize(chunk);
        backend.setLinesUnknown(linesUnknown);
        ScanSession session(backend);
        const QString pdf = m_home.freshPath("layout") + QStringLiteral(".pdf");
        QCOMPARE(session.scanDocument("fake:0", { "Flatbed", mode, 75, false }, pdf, 1), ScanSession::Result::Finished);
        QSizeF size;
        const QImage page = renderAtScanResolution(pdf, 75, &size);
        QCOMPARE(size, QSizeF(144, 72));
        QCOMPARE(page.size(), QSize(150, 75));
        // Sample the middle of squares and smooth areas: JPEG may move a value a little, never far.
        for (const QPoint& p : { QPoint(4, 4), QPoint(12, 4), QPoint(36, 60), QPoint(100, 20), QPoint(140, 68) }) {
            const QColor seen = page.pixelColor(p);
            if (mode == QLatin1String("Lineart")) {
                const bool black = (p.x() / 8 + p.y() / 8) % 2;
                QCOMPARE(seen, black ? QColor(Qt::black) : QColor(Qt::white));
            } else if (mode == QLatin1String("Gray")) {
                QVERIFY2(qAbs(seen.red() - (p.x() + p.y()) % 256) <= 6, qPrintable(QString::number(seen.red())));
            } else {
                QVERIFY(qAbs(seen.red() - p.x()) <= 8 && qAbs(seen.green() - p.y()) <= 8);
                QVERIFY(qAbs(seen.blue() - (p.x() + p.y()) % 256) <= 8);
            }
        }
    }

    void failuresLeaveNothingBehind_data()
    {
        QTest::addColumn<Kind>("failure");
        QTest::addColumn<int>("feederPages");
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<ScanSession::Result>("result");
        QTest::addColumn<QString>("message");
        // clang-format off
        QTest::newRow("device gone mid-page") << Kind::DeviceGone << 3 << false << ScanSession::Result::Failed      << "fake:1: Error during device I/O";
        QTest::newRow("error on start")       << Kind::StartFails << 3 << false << ScanSession::Result::Failed      << "fake:1: Document feeder jammed";
        QTest::newRow("device cannot open")   << Kind::OpenFails  << 3 << false << ScanSession::Result::NoScanner   << "fake:1: Invalid argument";
        QTest::newRow("empty feeder")         << Kind::None       << 0 << false << ScanSession::Result::NoDocuments << "fake:1: Document feeder out of documents";
        QTest::newRow("cancelled mid-page")   << Kind::Stall      << 3 << true  << ScanSession::Result::Cancelled   << "";
        // clang-format on
    }
    void failuresLeaveNothingBehind()
    {
        QFETCH(Kind, failure);
        QFETCH(int, feederPages);
        QFETCH(bool, cancel);
        QFETCH(ScanSession::Result, result);
        QFETCH(QString, message);
        FakeScannerBackend backend;
        backend.setFailure(failure, 200);
        backend.setFeederPages(feederPages);
        ScanSession session(backend);
        int lastPercent = 0;
        session.setProgressHandler([&](int, int percent) { lastPercent = percent; });
        // The user cancels once part of the page has arrived.
        session.setInterruptCheck([&] { return cancel && lastPercent > 0; });
        const QString folder = m_home.freshPath("failure");
        QDir().mkpath(folder);
        const ScanSettings settings { "Automatic Document Feeder", "Gray", 150, false };
        QCOMPARE(session.scanDocument("fake:1", settings, folder + QStringLiteral("/scan.pdf"), 0), result);
        QCOMPARE(session.errorString(), message);
        QCOMPARE(folderEntries(folder), QStringList());
        QVERIFY(backend.openDeviceName().isEmpty());
        QCOMPARE(backend.cancelCount(), failure == Kind::OpenFails ? 0 : 1);
    }

    void overviewIsASmallImageOfTheWholeArea()
    {
        FakeScannerBackend fake;
        ScanSession session(fake);
        QImage overview;
        QCOMPARE(session.scanPreview("fake:0", { "", "Lineart", 600, false }, &overview), ScanSession::Result::Finished);
        QVERIFY(fake.lastSettings().preview);
        QCOMPARE(overview.size(), QSize(620, 877)); // A4 at 75 dpi
        QCOMPARE(qGray(overview.pixel(4, 4)), 255);
        QCOMPARE(qGray(overview.pixel(12, 4)), 0);

        SaneBackend sane;
        ScanSession saneSession(sane);
        QCOMPARE(saneSession.scanPreview("test:0", { "", "Color", 0, false }, &overview), ScanSession::Result::Finished);
        QCOMPARE(overview.size(), QSize(620, 876));
        QCOMPARE(overview.format(), QImage::Format_RGB888);
    }

    void scanFileNamesAreSafeAndUnique_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << "Rechnung März" << "Rechnung März.pdf";
        QTest::newRow("separators removed") << "a/b:c\\d" << "abcd.pdf";
        QTest::newRow("never hidden") << "..profile" << "profile.pdf";
        QTest::newRow("nothing left") << "///" << text("Untitled") + ".pdf";
    }
    void scanFileNamesAreSafeAndUnique()
    {
        QFETCH(QString, title);
        QFETCH(QString, expected);
        QCOMPARE(ScanSession::scanFilePath("/nonexistent", title), "/nonexistent/" + expected);
    }

    void commandLineScansIntoAConfirmedRecord()
    {
        CliRun run = runCli({ "scanners" });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QByteArray("test:0\tNoname\tfrontend-tester\tvirtual device\n"
                                     "test:1\tNoname\tfrontend-tester\tvirtual device\n"));

        const QString path = m_home.freshPath("scans") + QStringLiteral(".quillarc");
        QCOMPARE(runCli({ "new", path }).exitCode, 0);
        run = runCli({ "scan", path, "--device", "test:1", "--resolution", "150", "--mode", "Color", "--source",
            "Flatbed", "--group", "Scans", "--title", "Lieferschein 7" });
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.out.contains("Scanned 1 page into \"Scans\""), run.out.constData());

        const auto archive = ArchiveFixture::reopen(path);
        const QList<DocumentPtr> documents = archive->allDocuments();
        QCOMPARE(documents.size(), 1);
        QCOMPARE(documents[0]->title(), QStringLiteral("Lieferschein 7"));
        QCOMPARE(documents[0]->group()->groupTitle(), QStringLiteral("Scans"));
        QVERIFY(ArchivedFile::fileData(*documents[0]).startsWith("%PDF-1.4"));
        const QList<LogObjectPtr> logs = archive->container()->logs();
        QCOMPARE(logs.size(), 2);
        for (const LogObjectPtr& log : logs) {
            QCOMPARE(log->logKind(), qint64(QuillarcLogObject::Created));
            QCOMPARE(log->objectUniqueID(), documents[0]->uniqueID());
        }
        QCOMPARE(runCli({ "validate", path }).exitCode, 0);
    }

    void commandLineWithoutScannerChangesNothing()
    {
        const QString path = m_home.freshPath("none") + QStringLiteral(".quillarc");
        QCOMPARE(runCli({ "new", path }).exitCode, 0);
        CliRun run = runCli({ "scan", path, "--device", "test:7" });
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.err.startsWith("quillarc-cli scan: no scanner answers"));
        QCOMPARE(runCli({ "scan", path, "--mode", "Sepia" }).exitCode, 2);

        // A SANE set-up that knows no driver at all.
        const QByteArray configured = qgetenv("SANE_CONFIG_DIR");
        const QString empty = m_home.freshPath("sane");
        QVERIFY(writeFile(empty + QStringLiteral("/dll.conf"), "# no drivers\n"));
        qputenv("SANE_CONFIG_DIR", empty.toUtf8());
        run = runCli({ "scan", path });
        const CliRun list = runCli({ "scanners" });
        qputenv("SANE_CONFIG_DIR", configured);
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.err, QByteArray("quillarc-cli scan: no scanner answers\n"));
        QCOMPARE(list.exitCode, 1);

        const auto archive = ArchiveFixture::reopen(path);
        QCOMPARE(archive->allDocuments().size(), 0);
        QCOMPARE(archive->container()->logs().size(), 0);
        QVERIFY(!archive->isAlreadyOpen());
    }
};

QTEST_MAIN(TestScanner)
#include "tst_scanner.moc"
