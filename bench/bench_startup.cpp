// Start-up of the desktop application: process start to the archive window
// on screen, and the end of the welcome screen to a ready main view, for a
// new archive and for an archive of 10,000 documents. Runs the real program
// offscreen several times and prints medians; the welcome's duration is set
// to nothing through its test seam (the fixed 0.7 s before it is not
// measured).
#include "BenchSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

namespace {
constexpr int runs = 7;

struct Start
{
    double windowShownMs = -1;
    double mainViewReadyMs = -1;
};

QString makeArchive(const QString& folder, int documents)
{
    const QString path = folder + QStringLiteral("/Belege.quillarc");
    Document archive;
    archive.setUpAfterReading();
    const int perGroup = 500;
    for (int g = 0; g * perGroup < documents; ++g) {
        auto group = QuillarcGroup::create();
        group->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Gruppe %1").arg(g)));
        ValueList& list = group->mutableField(QuillarcGroup::Documents).mutableArray();
        for (int i = g * perGroup; i < qMin(documents, (g + 1) * perGroup); ++i) {
            auto document = QuillarcDocument::create();
            document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Rechnung %1").arg(i)));
            document->setField(QuillarcDocument::Name, Value::string(QStringLiteral("rechnung-%1").arg(i)));
            document->setField(QuillarcDocument::ContentString,
                Value::string(QStringLiteral("Rechnung Betrag EUR %1 ").arg(i).repeated(80)));
            list.append(Value::object(document));
        }
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    }
    QString error;
    if (!archive.saveToPath(path, &error))
        std::fprintf(stderr, "bench_startup: %s\n", qPrintable(error));
    return path;
}

/// One start of the program; the figures it reports on standard output.
Start startOnce(const QString& program, const QStringList& arguments, const QString& home, int run)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QUILLARC_STARTUP_PROBE"), QStringLiteral("1"));
    environment.insert(QStringLiteral("QUILLARC_WELCOME_SECONDS"), QStringLiteral("0"));
    environment.insert(QStringLiteral("QUILLARC_INSTANCE_NAME"),
        QStringLiteral("bench-%1-%2").arg(QCoreApplication::applicationPid()).arg(run));
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config-%1").arg(run));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::SeparateChannels);

    Start start;
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    QByteArray pending;
    while (process.waitForReadyRead(30000) || process.bytesAvailable() > 0) {
        pending += process.readAllStandardOutput();
        qsizetype end;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QByteArray line = pending.left(end).trimmed();
            pending.remove(0, end + 1);
            if (line == "probe window-shown")
                start.windowShownMs = bench::elapsedMs(timer);
            else if (line.startsWith("probe main-view-ready "))
                start.mainViewReadyMs = line.mid(22).toDouble();
        }
        if (start.mainViewReadyMs >= 0)
            break;
    }
    process.waitForFinished(30000);
    return start;
}

void report(const char* label, const QString& program, const QStringList& arguments, const QString& home)
{
    QList<double> shown;
    QList<double> ready;
    for (int run = 0; run < runs; ++run) {
        const Start start = startOnce(program, arguments, home, run);
        if (start.windowShownMs < 0 || start.mainViewReadyMs < 0) {
            std::printf("%-24s run %d did not report\n", label, run);
            continue;
        }
        shown.append(start.windowShownMs);
        ready.append(start.mainViewReadyMs);
    }
    std::printf("%-24s window shown %8.1f ms (median of %lld, worst %.1f)   main view ready %7.1f ms after the welcome "
                "(worst %.1f)\n",
        label, bench::median(shown), qint64(shown.size()), bench::worst(shown), bench::median(ready),
        bench::worst(ready));
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/../quillarc");
    if (!QFile::exists(program)) {
        std::printf("bench_startup: %s is not built\n", qPrintable(program));
        return 0;
    }
    QTemporaryDir folder;
    QElapsedTimer made;
    made.start();
    const QString large = makeArchive(folder.path(), 10000);
    std::printf("fixture: 10,000 documents written in %.0f ms\n", bench::elapsedMs(made));
    std::printf("targets: window shown < 500 ms, main view ready < 500 ms after the welcome\n");

    // What the window no longer waits for: reading the archive, now done off the main thread.
    QList<double> reads;
    for (int run = 0; run < 3; ++run) {
        reads.append(bench::measure([&large] {
            Document archive;
            DocumentError error;
            archive.readFromFileWrapper(
                large, QString::fromLatin1(Document::typeName), &error, Document::OpenMode::ReadOnly);
        }).wallMs);
    }
    std::printf(
        "reading the 10,000-document archive: %.1f ms (median of 3), off the main thread\n", bench::median(reads));

    report("new archive", program, {}, folder.path());
    report("10,000 documents", program, { large }, folder.path());
    return 0;
}
