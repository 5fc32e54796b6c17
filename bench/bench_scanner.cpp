// Scanning from SANE's test scanner (configured by tests/data/sane):
// a 300 dpi grey A4 page through the engine to a finished record (scan to PDF,
// then intake with text recognition, fingerprint and save), beside
// `scanimage` writing the same scan to a file, in the same run, interleaved,
// medians of several rounds. First, once, a 1200 dpi colour A4 page to PDF
// with the process's peak memory, which streaming keeps small.
#include "BenchSupport.h"
#include "intake/DocumentIntake.h"
#include "intake/SaneBackend.h"
#include "intake/ScanSession.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

constexpr int rounds = 7;

QString sizeMiB(const QString& path)
{
    return QString::number(double(QFileInfo(path).size()) / (1024.0 * 1024.0), 'f', 2);
}

GroupPtr addGroup(Document& archive)
{
    auto group = QuillarcGroup::create();
    group->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Scans")));
    group->setParent(archive.container().get());
    archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    return group;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("SANE_CONFIG_DIR")) {
        // This file's name is relative to the build folder, one level above the benchmark.
        const QDir build(QCoreApplication::applicationDirPath() + QStringLiteral("/.."));
        const QFileInfo source(build, QStringLiteral(__FILE__));
        qputenv("SANE_CONFIG_DIR", QDir::cleanPath(source.absolutePath() + QStringLiteral("/../tests/data/sane")).toUtf8());
    }
    QTemporaryDir work;
    const QDir dir(work.path());
    const QString scanimage = QStandardPaths::findExecutable(QStringLiteral("scanimage"));

    SaneBackend backend;
    ScanSession session(backend);

    // 1200 dpi colour A4: 9921 x 14031 pixels, 418 MB of raw samples.
    {
        const QString pdf = dir.filePath(QStringLiteral("big.pdf"));
        const double before = bench::peakRssMiB();
        const bench::Timing big = bench::measure([&] {
            session.scanDocument(QStringLiteral("test:0"), { QStringLiteral("Flatbed"), QStringLiteral("Color"), 1200, false },
                pdf, 1);
        });
        std::printf("1200 dpi colour A4 to PDF: %.0f ms wall, %.0f ms CPU, PDF %s MiB, peak RSS %.1f MiB (%.1f MiB before)\n",
            big.wallMs, big.cpuMs, qPrintable(sizeMiB(pdf)), bench::peakRssMiB(), before);
        if (!scanimage.isEmpty()) {
            const double ms = bench::timeCommandMs(scanimage, { QStringLiteral("-d"), QStringLiteral("test:0"),
                QStringLiteral("--mode"), QStringLiteral("Color"), QStringLiteral("--resolution"), QStringLiteral("1200"),
                QStringLiteral("--format=jpeg"), QStringLiteral("-o"), dir.filePath(QStringLiteral("big.jpg")) });
            std::printf("  scanimage, same scan to JPEG: %.0f ms wall, JPEG %s MiB\n", ms,
                qPrintable(sizeMiB(dir.filePath(QStringLiteral("big.jpg")))));
        }
        QFile::remove(pdf);
    }

    Document archive;
    archive.setUpAfterReading();
    archive.saveToPath(dir.filePath(QStringLiteral("Bench.quillarc")));
    const GroupPtr group = addGroup(archive);
    DocumentIntake intake(archive);

    QList<double> scanMs, intakeMs, recordMs, pnmMs, jpegMs;
    const ScanSettings grey { QStringLiteral("Flatbed"), QStringLiteral("Gray"), 300, false };
    for (int round = 0; round < rounds; ++round) {
        const QString pdf = ScanSession::scanFilePath(work.path(), QStringLiteral("Scan"));
        const bench::Timing scan = bench::measure([&] { session.scanDocument(QStringLiteral("test:0"), grey, pdf, 1); });
        const bench::Timing record = bench::measure([&] {
            const DocumentPtr document = intake.addScanDocumentWithURL(pdf, group);
            intake.closeAddDocumentSheet(document);
            archive.save();
        });
        scanMs << scan.wallMs;
        intakeMs << record.wallMs;
        recordMs << scan.wallMs + record.wallMs;
        if (scanimage.isEmpty())
            continue;
        const QStringList common { QStringLiteral("-d"), QStringLiteral("test:0"), QStringLiteral("--mode"),
            QStringLiteral("Gray"), QStringLiteral("--resolution"), QStringLiteral("300") };
        pnmMs << bench::timeCommandMs(
            scanimage, common + QStringList { QStringLiteral("--format=pnm"), QStringLiteral("-o"), dir.filePath(QStringLiteral("s.pnm")) });
        jpegMs << bench::timeCommandMs(
            scanimage, common + QStringList { QStringLiteral("--format=jpeg"), QStringLiteral("-o"), dir.filePath(QStringLiteral("s.jpg")) });
    }
    const QString lastPdf = ScanSession::scanFilePath(work.path(), QStringLiteral("Size"));
    session.scanDocument(QStringLiteral("test:0"), grey, lastPdf, 1);

    std::printf("\n300 dpi grey A4 (2480 x 3507), medians of %d rounds, worst in brackets:\n", rounds);
    std::printf("  engine, scan to PDF:                %8.1f ms (%.1f)  PDF %s MiB\n", bench::median(scanMs),
        bench::worst(scanMs), qPrintable(sizeMiB(lastPdf)));
    std::printf("  engine, PDF to confirmed record:    %8.1f ms (%.1f)  (text recognition, fingerprint, member, save)\n",
        bench::median(intakeMs), bench::worst(intakeMs));
    std::printf("  engine, scan to finished record:    %8.1f ms (%.1f)\n", bench::median(recordMs), bench::worst(recordMs));
    if (scanimage.isEmpty()) {
        std::printf("  scanimage not installed (Debian package sane-utils): no reference figures\n");
        return 0;
    }
    std::printf("  scanimage to PNM (raw):             %8.1f ms (%.1f)  PNM %s MiB\n", bench::median(pnmMs),
        bench::worst(pnmMs), qPrintable(sizeMiB(dir.filePath(QStringLiteral("s.pnm")))));
    std::printf("  scanimage to JPEG:                  %8.1f ms (%.1f)  JPEG %s MiB\n", bench::median(jpegMs),
        bench::worst(jpegMs), qPrintable(sizeMiB(dir.filePath(QStringLiteral("s.jpg")))));
    std::printf("  ratio scan to PDF / scanimage JPEG: %8.2f\n", bench::median(scanMs) / bench::median(jpegMs));
    std::printf("  ratio finished record / scanimage JPEG: %4.1f\n", bench::median(recordMs) / bench::median(jpegMs));
    return 0;
}
