// The information popover, export and log report on a large archive, with
// how long the main thread is ever away from its event loop meanwhile:
// - validation through the popover beside md5sum over the same members
//   (1 GiB by default: 256 files of 4 MiB; the size in MiB may be given);
// - exporting the group of those files from the window;
// - the log report of 10,000 entries from the window.
#include "BenchSupport.h"
#include "app/flows/ExportFlow.h"
#include "app/flows/LogReportFlow.h"
#include "app/popover/InfoPopover.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/IntegrityValidator.h"
#include "store/PackageMember.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

namespace {

/// Measures the gaps between turns of the main event loop while it runs.
class LoopWatch
{
public:
    LoopWatch()
    {
        QObject::connect(&m_ticker, &QTimer::timeout, [this] {
            m_gaps << bench::elapsedMs(m_since);
            m_since.restart();
        });
    }
    void start()
    {
        m_gaps.clear();
        m_since.start();
        m_ticker.start(0);
    }
    void stop() { m_ticker.stop(); }
    double longest() const { return bench::worst(m_gaps); }
    double median() const { return bench::median(m_gaps); }

private:
    QTimer m_ticker;
    QElapsedTimer m_since;
    QList<double> m_gaps;
};

template<typename Sender, typename Signal> void waitFor(Sender* sender, Signal signal)
{
    QEventLoop loop;
    QObject::connect(sender, signal, &loop, &QEventLoop::quit);
    loop.exec();
}

/// An archive package at @p path with @p files members of @p fileBytes each
/// (and @p entries audit entries spread over them), saved and opened again.
std::unique_ptr<Document> makeArchive(const QString& path, int files, qint64 fileBytes, int entries)
{
    {
        Document archive;
        archive.setUpAfterReading();
        if (!archive.saveToPath(path))
            return nullptr;
        archive.container()->setField(QuillarcContainer::ContainerTitle, Value::string("Benchmark"));
        archive.preferences()->setField(QuillarcPreferences::IncludeSummary, Value::boolean(true));
        auto group = QuillarcGroup::create();
        group->setField(QuillarcGroup::GroupTitle, Value::string("Belege"));
        group->setParent(archive.container().get());
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
        QRandomGenerator random(7);
        QByteArray bytes(fileBytes, Qt::Uninitialized);
        QList<DocumentPtr> documents;
        for (int i = 0; i < files; ++i) {
            for (qsizetype b = 0; b + 4 <= bytes.size(); b += 4)
                *reinterpret_cast<quint32*>(bytes.data() + b) = random.generate();
            auto document = QuillarcDocument::create();
            const QString relative = QStringLiteral("Files/%1/scan%2.pdf").arg(document->uniqueID()).arg(i);
            QDir().mkpath(QFileInfo(path + QLatin1Char('/') + relative).absolutePath());
            QFile member(path + QLatin1Char('/') + relative);
            if (!member.open(QIODevice::WriteOnly) || member.write(PackageMember::encode(bytes, "png", "icon")) < 0)
                return nullptr;
            document->setField(QuillarcDocument::Name, Value::string(QStringLiteral("scan%1").arg(i)));
            document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Beleg %1").arg(i)));
            document->setField(QuillarcDocument::Extension, Value::string("pdf"));
            document->setField(QuillarcDocument::SlipNumber, Value::string(QString::number(i)));
            document->setField(QuillarcDocument::Path, Value::string(relative));
            document->setField(
                QuillarcDocument::String, Value::string(Fingerprint::saltedFingerprint(bytes, Fingerprint::salt())));
            document->setParent(group.get());
            group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
            documents << document;
        }
        for (int e = 0; e < entries; ++e)
            archive.createLogObjectForDocument(documents.at(e % documents.size()), 0);
        if (!archive.save())
            return nullptr;
    }
    auto archive = std::make_unique<Document>();
    DocumentError error;
    if (archive->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error) != Document::ReadResult::Success)
        return nullptr;
    archive->setUpAfterReading();
    return archive;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const qint64 totalMiB = argc > 1 ? std::atoll(argv[1]) : 1024;
    const int files = int(qMax<qint64>(1, totalMiB / 4));
    const qint64 fileBytes = 4ll << 20;
    QTemporaryDir dir;
    const QString package = dir.filePath(QStringLiteral("bench.quillarc"));

    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<Document> archive = makeArchive(package, files, fileBytes, 10000);
    if (!archive) {
        std::printf("could not make the archive\n");
        return 1;
    }
    std::printf("archive of %d members of %lld MiB and 10000 log entries made in %.0f ms\n", files,
        static_cast<long long>(fileBytes >> 20), bench::elapsedMs(timer));
    QStringList members;
    for (const DocumentPtr& document : archive->allDocuments())
        members << package + QLatin1Char('/') + document->path();
    const double memberMiB = double(files) * double(fileBytes) / (1 << 20);

    // Validation through the popover next to md5sum, alternating, the page cache warmed first.
    LoopWatch watch;
    bench::timeCommandMs(QStringLiteral("md5sum"), members);
    QList<double> md5sum, popover, gaps;
    for (int round = 0; round < 3; ++round) {
        md5sum << bench::timeCommandMs(QStringLiteral("md5sum"), members);
        InfoPopover info;
        info.setDocument(archive.get());
        IntegrityValidator* validator = InfoPopover::validatorFor(archive.get());
        watch.start();
        timer.restart();
        info.popoverViewActions();
        waitFor(validator, &IntegrityValidator::finished);
        popover << bench::elapsedMs(timer);
        watch.stop();
        gaps << watch.longest();
        if (!validator->isDataInteger())
            std::printf("validation failed!\n");
    }
    const double md5Rate = memberMiB / (bench::median(md5sum) / 1000);
    const double popoverRate = memberMiB / (bench::median(popover) / 1000);
    std::printf("validation of %.0f MiB: md5sum median %.0f ms (%.0f MiB/s), popover median %.0f ms (%.0f MiB/s); "
                "ratio %.2f of md5sum's throughput; longest main-thread gap %.1f ms\n",
        memberMiB, bench::median(md5sum), md5Rate, bench::median(popover), popoverRate, popoverRate / md5Rate,
        bench::worst(gaps));

    // Export of the group from the window.
    {
        QWidget window;
        ExportFlow flow(archive.get(), &window);
        const QString folder = dir.filePath(QStringLiteral("export"));
        FileDialog::setNextFileName(folder);
        watch.start();
        timer.restart();
        flow.exportGroup(archive->allGroups().first());
        waitFor(&flow, &ExportFlow::finished);
        const double ms = bench::elapsedMs(timer);
        watch.stop();
        // The copies' tags are set 0.18 s after each file: let them land before the folder goes.
        QEventLoop settle;
        QTimer::singleShot(500, &settle, &QEventLoop::quit);
        settle.exec();
        std::printf("export of %d files (%.0f MiB) with summary: %.0f ms (%.0f MiB/s); main thread: gap median %.2f "
                    "ms, longest %.1f ms\n",
            files, memberMiB, ms, memberMiB / (ms / 1000), watch.median(), watch.longest());
        QDir(folder).removeRecursively();
    }

    // The log report of 10,000 entries from the window.
    {
        QWidget window;
        LogReportFlow flow(archive.get(), &window);
        int pages = 0;
        QObject::connect(&flow, &LogReportFlow::laidOut, [&pages](int count) { pages = count; });
        FileDialog::setNextFileName(dir.filePath(QStringLiteral("log.pdf")));
        watch.start();
        timer.restart();
        flow.exportLogAction();
        waitFor(&flow, &LogReportFlow::finished);
        const double ms = bench::elapsedMs(timer);
        watch.stop();
        std::printf("log report of 10000 entries (%d pages, %.1f MiB): %.0f ms; main thread: gap median %.2f ms, "
                    "longest %.1f ms\n",
            pages, double(QFileInfo(dir.filePath(QStringLiteral("log.pdf"))).size()) / (1 << 20), ms, watch.median(),
            watch.longest());
    }
    std::printf("peak RSS %.0f MiB\n", bench::peakRssMiB());
    return 0;
}
