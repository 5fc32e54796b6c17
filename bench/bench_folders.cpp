// Rescan of an unchanged monitored folder of 10,000 files, all of them already
// in the group: the work an archive does at every opening when nothing is new.
// The records are made directly with the folder's file numbers; no file is
// taken in. Reference: find(1) listing the same folder with inode numbers.
#include "BenchSupport.h"
#include "intake/MonitoredFolders.h"
#include "intake/StartupFolderImport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>

namespace {
constexpr int fileCount = 10000;
constexpr int runs = 5;
int g_logLines = 0;

/// The scan writes one line per file; counted here instead of going to the terminal.
void countLog(QtMsgType, const QMessageLogContext&, const QString&)
{
    ++g_logLines;
}

void printRow(const char* what, const QList<bench::Timing>& timings, double referenceMs = 0)
{
    QList<double> wall;
    QList<double> cpu;
    for (const bench::Timing& timing : timings) {
        wall.append(timing.wallMs);
        cpu.append(timing.cpuMs);
    }
    const double median = bench::median(wall);
    std::printf(
        "%-46s median %8.1f ms  worst %8.1f ms  cpu %8.1f ms", what, median, bench::worst(wall), bench::median(cpu));
    if (referenceMs > 0)
        std::printf("  (%.1fx find)", median / referenceMs);
    std::printf("\n");
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Inbox"));
    QDir().mkpath(folder);
    for (int i = 0; i < fileCount; ++i) {
        QFile file(QStringLiteral("%1/Beleg %2.pdf").arg(folder).arg(i, 5, 10, QLatin1Char('0')));
        file.open(QIODevice::WriteOnly);
        file.write("%PDF-1.4\n");
    }

    Document archive;
    archive.setUpAfterReading();
    archive.preferences()->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    auto group = QuillarcGroup::create();
    group->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Inbox")));
    group->setField(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
    group->setField(QuillarcGroup::FolderPath, Value::string(folder));
    ValueList& documents = group->mutableField(QuillarcGroup::Documents).mutableArray();
    for (const QString& path : MonitoredFolders::folderEntries(folder)) {
        auto record = QuillarcDocument::create();
        record->setField(QuillarcDocument::Name, Value::string(QFileInfo(path).completeBaseName()));
        record->setField(QuillarcDocument::Title, Value::string(QFileInfo(path).completeBaseName()));
        record->setField(QuillarcDocument::FileID, Value::string(MonitoredFolders::fileIDForPath(path)));
        documents.append(Value::object(record));
    }
    archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    archive.saveToPath(dir.filePath(QStringLiteral("bench.quillarc")));
    std::printf("monitored folder: %d files, all already in the group (%lld records)\n", fileCount,
        static_cast<long long>(group->documentCount()));

    QList<double> findRuns;
    for (int run = 0; run < runs; ++run) {
        findRuns.append(bench::timeCommandMs(QStringLiteral("find"),
            { folder, QStringLiteral("-maxdepth"), QStringLiteral("1"), QStringLiteral("-type"), QStringLiteral("f"),
                QStringLiteral("-printf"), QStringLiteral("%i %p\\n") }));
    }
    const double findMs = bench::median(findRuns);
    std::printf("%-46s median %8.1f ms\n", "reference: find -maxdepth 1 -printf '%i %p'", findMs);

    qInstallMessageHandler(countLog);
    QList<bench::Timing> quiet;
    QList<bench::Timing> logged;
    QList<bench::Timing> scans;
    QStringList found;
    int loggedLines = 0;
    for (int run = 0; run < runs; ++run) {
        QLoggingCategory::setFilterRules(QStringLiteral("quillarc.info=false\nquillarc.debug=false"));
        quiet.append(bench::measure([&] { found = MonitoredFolders::importFilePathsForGroup(*group); }));
        // With the per-file decision lines formatted and handed to the log.
        QLoggingCategory::setFilterRules(QStringLiteral("quillarc.debug=false"));
        g_logLines = 0;
        logged.append(bench::measure([&] { found = MonitoredFolders::importFilePathsForGroup(*group); }));
        loggedLines = g_logLines;
        // The whole start-up scan: listing on the pool thread, final save of 10,000 records.
        scans.append(bench::measure([&] {
            StartupFolderImport scan(archive, [](const QString&, const GroupPtr&) { return DocumentPtr(); });
            QEventLoop loop;
            QObject::connect(&scan, &StartupFolderImport::folderImportFinished, &loop, &QEventLoop::quit);
            if (scan.doTheStartupFolderImport())
                loop.exec();
        }));
    }
    qInstallMessageHandler(nullptr);
    printRow("importFilePathsForGroup, log off", quiet, findMs);
    printRow("importFilePathsForGroup, SKIP lines logged", logged, findMs);
    printRow("doTheStartupFolderImport incl. final save", scans, findMs);
    std::printf("new files found: %lld (expected 0); log lines per scan: %d\n", static_cast<long long>(found.size()),
        loggedLines);
    std::printf("peak memory: %.1f MiB\n", bench::peakRssMiB());
    return 0;
}
