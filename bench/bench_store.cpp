// Load and save of archives with 1,000, 10,000 and 100,000 documents of about
// 2 KB of content text each, and ten saves asked for in a row, as ten single
// drops ask for them. Each size runs in a child process of its own so
// the peak memory printed belongs to that size alone.
#include "BenchSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <sys/wait.h>
#include <unistd.h>

namespace {
const QStringList words = { QStringLiteral("Rechnung"), QStringLiteral("Lieferschein"), QStringLiteral("Betrag"),
    QStringLiteral("Umsatzsteuer"), QStringLiteral("invoice"), QStringLiteral("payment"),
    QStringLiteral("Hängeschränke"), QStringLiteral("Größe"), QStringLiteral("Übergabe"), QStringLiteral("contract"),
    QStringLiteral("2026"), QStringLiteral("EUR") };

QString contentText(QRandomGenerator& random)
{
    QString text;
    while (text.size() < 2000)
        text += words[random.bounded(words.size())] + QLatin1Char(' ');
    text.squeeze(); // as a text read from a file or a database holds no spare room
    return text;
}

void fill(Document& archive, int documents)
{
    QRandomGenerator random(42);
    const int perGroup = 500;
    for (int g = 0; g * perGroup < documents; ++g) {
        auto group = QuillarcGroup::create();
        group->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Gruppe %1").arg(g)));
        ValueList& list = group->mutableField(QuillarcGroup::Documents).mutableArray();
        for (int i = g * perGroup; i < qMin(documents, (g + 1) * perGroup); ++i) {
            auto document = QuillarcDocument::create();
            document->setField(QuillarcDocument::Name, Value::string(QStringLiteral("Beleg %1").arg(i)));
            document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Beleg %1").arg(i)));
            document->setField(QuillarcDocument::Extension, Value::string(QStringLiteral("pdf")));
            document->setField(QuillarcDocument::FileKind, Value::string(QStringLiteral("PDF document")));
            document->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("RE-%1/26").arg(i)));
            document->setField(QuillarcDocument::ContentString, Value::string(contentText(random)));
            document->setField(QuillarcDocument::FileSize, Value::real(10000.0 + i));
            document->setField(QuillarcDocument::Path,
                Value::string(QStringLiteral("Files/%1/Beleg %2").arg(document->uniqueID()).arg(i)));
            list.append(Value::object(document));
        }
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    }
    archive.setParents();
}

void runSize(int documents)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.quillarc"));
    QList<double> mainThread;
    QList<double> saves;
    QList<double> saveCpu;
    QList<double> md5sum;
    double burstMs = 0;
    double model = 0;
    {
        Document archive;
        archive.setUpAfterReading();
        fill(archive, documents);
        model = bench::currentRssMiB();
        for (int run = 0; run < 3; ++run) {
            // As the window saves: the main thread only takes the snapshot.
            QElapsedTimer timer;
            double returned = 0;
            const bench::Timing t = bench::measure([&] {
                timer.start();
                archive.saveToURL(path, {});
                returned = bench::elapsedMs(timer);
                archive.waitForSaves();
            });
            mainThread.append(returned);
            saves.append(t.wallMs);
            saveCpu.append(t.cpuMs);
            // The same machine's pace in the same moment: md5sum over the database just written.
            md5sum.append(bench::timeCommandMs(
                QStringLiteral("md5sum"), { QDir(path).filePath(QStringLiteral("Quillarc.qldb")) }));
        }
        // Ten files dropped one after another: each drop asks for a save.
        QElapsedTimer timer;
        timer.start();
        const auto firstGroup = archive.allGroups().first();
        for (int drop = 0; drop < 10; ++drop) {
            firstGroup->setValue(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Drop %1").arg(drop)));
            archive.saveToURL(path, {});
        }
        archive.waitForSaves();
        burstMs = bench::elapsedMs(timer);
    }
    const double afterSave = bench::peakRssMiB();
    QList<double> loads;
    QList<double> loadCpu;
    int loaded = 0;
    for (int run = 0; run < 3; ++run) {
        Document archive;
        const bench::Timing t = bench::measure([&] {
            DocumentError error;
            archive.readFromFileWrapper(
                path, QString::fromLatin1(Document::typeName), &error, Document::OpenMode::ReadOnly);
            archive.setUpAfterReading();
        });
        loads.append(t.wallMs);
        loadCpu.append(t.cpuMs);
        loaded = int(archive.allDocuments().size());
    }
    const qint64 bytes = QFileInfo(QDir(path).filePath(QStringLiteral("Quillarc.qldb"))).size();
    std::printf(
        "%7d documents  database %6.1f MiB  save: main thread %6.1f ms, total %7.1f ms (cpu %7.1f) = %.2f x md5sum, "
        "10 in a row %7.1f ms = %.1f saves  "
        "load %7.1f ms (cpu %7.1f)  [%d loaded]  memory: records %6.1f MiB, peak while saving %6.1f MiB (+%.1f), "
        "peak %6.1f MiB\n",
        documents, double(bytes) / 1048576.0, bench::median(mainThread), bench::median(saves), bench::median(saveCpu),
        bench::median(saves) / bench::median(md5sum), burstMs, burstMs / bench::median(saves), bench::median(loads),
        bench::median(loadCpu), loaded, model, afterSave, afterSave - model, bench::peakRssMiB());
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QList<int> sizes { 1000, 10000, 100000 };
    if (argc > 1) { // one size, in this process (for profilers)
        runSize(QString::fromLocal8Bit(argv[1]).toInt());
        return 0;
    }
    std::printf(
        "Archive save as the window does it (snapshot on the main thread, writing on the save thread) and load;\n"
        "3 runs each, medians; wall and CPU milliseconds; CPU counts every thread; md5sum: the same database\n"
        "file hashed by md5sum right after each save (page cache warm), the pace of this machine at that moment\n");
    for (const int size : sizes) {
        std::fflush(stdout);
        const pid_t child = fork();
        if (child == 0) {
            runSize(size);
            _exit(0);
        }
        waitpid(child, nullptr, 0);
    }
    return 0;
}
