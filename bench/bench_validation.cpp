// Integrity validation:
//  - about 1 GB in 200 members, beside md5sum over the same member files,
//    page cache warm for both, measured in turns in one process (medians);
//    on every core and on one thread;
//  - peak memory of a process that opens that archive and validates it;
//  - 50,000 tiny members: time and peak memory;
//  - one member of 4 GB (a sparse file that decodes): time and peak memory.
// Each part runs in a fresh process of this program, so that peak memory
// belongs to that part alone. "--only large|tiny|huge" runs one part;
// "--keep FOLDER" writes the archives there and reuses them next time.
#include "BenchSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/IntegrityValidator.h"
#include "store/PackageMember.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QtEndian>
#include <cstring>

namespace {
constexpr int largeCount = 200;
constexpr qsizetype largeSize = 5 * 1024 * 1024;
constexpr int tinyCount = 50000;

/// A figure of /proc/self/status in MiB ("VmHWM", "VmRSS").
double statusMiB(const char* key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(qsizetype(std::strlen(key)) + 1).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return -1;
}

/// Peak resident memory of this process image (unlike ru_maxrss, it starts
/// afresh at exec and can be reset).
double peakResidentMiB()
{
    return statusMiB("VmHWM");
}

void resetPeakResident()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

/// CPU milliseconds of the finished child processes so far.
double childrenCpuMs()
{
    rusage usage {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return (double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6
               + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec))
        / 1000.0;
}

QByteArray loadAverage()
{
    QFile load(QStringLiteral("/proc/loadavg"));
    return load.open(QIODevice::ReadOnly) ? load.readAll().trimmed() : QByteArray("?");
}

/// Writes an archive of @p count members of @p size bytes each, with images
/// of @p imageSize bytes.
void buildArchive(const QString& path, int count, qsizetype size, qsizetype imageSize)
{
    Document archive;
    archive.setUpAfterReading();
    archive.saveToPath(path);
    auto group = QuillarcGroup::create();
    QByteArray bytes(size, '\0');
    for (int i = 0; i < count; ++i) {
        for (qsizetype at = 0; at < bytes.size(); at += 4096)
            bytes[at] = char(i + at / 4096);
        if (size >= 4)
            qToBigEndian<quint32>(quint32(i), bytes.data());
        auto document = QuillarcDocument::create();
        const QString relative = QStringLiteral("Files/%1/member").arg(document->uniqueID());
        QDir(path).mkpath(QFileInfo(relative).path());
        QFile member(QDir(path).filePath(relative));
        member.open(QIODevice::WriteOnly);
        member.write(PackageMember::encode(bytes, QByteArray(imageSize, 'p'), QByteArray(imageSize, 'i')));
        document->setField(QuillarcDocument::Path, Value::string(relative));
        document->setField(
            QuillarcDocument::String, Value::string(Fingerprint::saltedFingerprint(bytes, Fingerprint::salt())));
        group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
    }
    archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    archive.close();
}

QStringList memberFiles(const QString& path)
{
    QStringList files;
    QDir folder(QDir(path).filePath(QStringLiteral("Files")));
    for (const QString& name : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        files.append(folder.filePath(name + QStringLiteral("/member")));
    return files;
}

/// One validation of the archive at @p path; milliseconds of wall and CPU time.
bench::Timing validateOnce(const QString& path, int threads, bool* intact)
{
    Document archive;
    DocumentError error;
    archive.readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error, Document::OpenMode::ReadOnly);
    archive.setUpAfterReading();
    IntegrityValidator validator(&archive);
    validator.setThreadCount(threads);
    return bench::measure([&] {
        QEventLoop loop;
        QObject::connect(&validator, &IntegrityValidator::finished, &loop, [&](bool result) {
            *intact = result;
            loop.quit();
        });
        validator.validateIntegrety(archive.clientData());
        loop.exec();
    });
}

int throughput(const QString& path)
{
    const QStringList files = memberFiles(path);
    qint64 totalBytes = 0;
    for (const QString& file : files)
        totalBytes += QFileInfo(file).size();
    const double megabytes = double(totalBytes) / 1e6;
    std::printf("1 GB: %lld members, %.0f MB in all, %d cores, load average %s\n", qlonglong(files.size()), megabytes,
        QThread::idealThreadCount(), loadAverage().constData());
    bool intact = false;
    // Warm the page cache for both readers first.
    bench::timeCommandMs(QStringLiteral("md5sum"), files);
    validateOnce(path, 0, &intact);
    QList<double> parallel, parallelCpu, serial, serialCpu, reference, referenceCpu;
    for (int run = 0; run < 5; ++run) {
        const double cpuBefore = childrenCpuMs();
        reference.append(bench::timeCommandMs(QStringLiteral("md5sum"), files));
        referenceCpu.append(childrenCpuMs() - cpuBefore);
        const bench::Timing all = validateOnce(path, 0, &intact);
        parallel.append(all.wallMs);
        parallelCpu.append(all.cpuMs);
        const bench::Timing one = validateOnce(path, 1, &intact);
        serial.append(one.wallMs);
        serialCpu.append(one.cpuMs);
    }
    const double parallelMBs = megabytes / (bench::median(parallel) / 1000.0);
    const double serialMBs = megabytes / (bench::median(serial) / 1000.0);
    const double md5sumMBs = megabytes / (bench::median(reference) / 1000.0);
    std::printf("  validation, every core  median %8.1f ms (cpu %8.1f ms)  %7.1f MB/s  %.2f x md5sum  result %s\n",
        bench::median(parallel), bench::median(parallelCpu), parallelMBs, parallelMBs / md5sumMBs,
        intact ? "intact" : "CORRUPT");
    std::printf("  validation, one thread  median %8.1f ms (cpu %8.1f ms)  %7.1f MB/s  %.2f x md5sum\n",
        bench::median(serial), bench::median(serialCpu), serialMBs, serialMBs / md5sumMBs);
    std::printf("  md5sum                  median %8.1f ms (cpu %8.1f ms)  %7.1f MB/s\n", bench::median(reference),
        bench::median(referenceCpu), md5sumMBs);
    // On a machine busy with other work the wall-clock figures shrink
    // towards what one share of it gives; the CPU figures do not.
    std::printf("  every core against one thread %.2f x; CPU per MB against md5sum's %.2f x; load average now %s\n",
        bench::median(serial) / bench::median(parallel), bench::median(parallelCpu) / bench::median(referenceCpu),
        loadAverage().constData());
    return 0;
}

int peakMemory(const QString& path, const char* what)
{
    bool intact = false;
    QList<double> times, cpu;
    double opened = 0, peak = 0;
    for (int run = 0; run < 3; ++run) {
        // Opening the archive is not the validation's memory: the peak is
        // taken afresh once the archive is read.
        Document archive;
        DocumentError error;
        archive.readFromFileWrapper(
            path, QString::fromLatin1(Document::typeName), &error, Document::OpenMode::ReadOnly);
        archive.setUpAfterReading();
        opened = statusMiB("VmRSS");
        resetPeakResident();
        IntegrityValidator validator(&archive);
        const bench::Timing timing = bench::measure([&] {
            QEventLoop loop;
            QObject::connect(&validator, &IntegrityValidator::finished, &loop, [&](bool result) {
                intact = result;
                loop.quit();
            });
            validator.validateIntegrety(archive.clientData());
            loop.exec();
        });
        peak = qMax(peak, peakResidentMiB() - opened);
        times.append(timing.wallMs);
        cpu.append(timing.cpuMs);
    }
    std::printf("%s: validation median %.1f ms (cpu %.1f ms), result %s; memory %.1f MiB with the archive open, "
                "validation adds at most %.1f MiB\n",
        what, bench::median(times), bench::median(cpu), intact ? "intact" : "CORRUPT", opened, peak);
    return 0;
}

/// A member of about 4 GB that decodes: a real member whose data object is
/// stretched over a hole, with the offsets behind it moved along.
bool writeHugeMember(const QString& path, qint64 dataSize, QString* fingerprint)
{
    const QByteArray data(70000, 'h');
    const QByteArray member = PackageMember::encode(data, "png", "icon");
    const QByteArray header = QByteArray("\x4F\x12", 2) + QByteArray(4, '\0');
    QByteArray expected = header;
    qToBigEndian<quint32>(quint32(data.size()), expected.data() + 2);
    const qsizetype at = member.indexOf(QByteArray(expected + data.left(16)));
    const quint64 shift = quint64(dataSize - data.size());
    const uchar* trailer = reinterpret_cast<const uchar*>(member.constData()) + member.size() - 32;
    const int offsetSize = trailer[6];
    const quint64 objects = qFromBigEndian<quint64>(trailer + 8);
    const quint64 tableAt = qFromBigEndian<quint64>(trailer + 24);
    if (at < 0 || offsetSize != 4)
        return false;
    QByteArray tail = member.mid(at + 6 + data.size());
    const qsizetype tableInTail = qsizetype(tableAt) - (at + 6 + data.size());
    for (quint64 i = 0; i < objects; ++i) {
        uchar* entry = reinterpret_cast<uchar*>(tail.data()) + tableInTail + i * 4;
        const quint64 offset = qFromBigEndian<quint32>(entry);
        if (offset > quint64(at))
            qToBigEndian<quint32>(quint32(offset + shift), entry);
    }
    qToBigEndian<quint64>(tableAt + shift, reinterpret_cast<uchar*>(tail.data()) + tail.size() - 8);
    QByteArray head = member.left(at + 6);
    qToBigEndian<quint32>(quint32(dataSize), head.data() + at + 2);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(head) != head.size() || file.write(data) != data.size()
        || !file.seek(at + 6 + dataSize) || file.write(tail) != tail.size())
        return false;
    *fingerprint = Fingerprint::saltedFingerprint(data, Fingerprint::salt());
    return true;
}

int hugeMember(const QString& folder)
{
    const QString path = QDir(folder).filePath(QStringLiteral("huge"));
    QString fingerprint;
    const qint64 dataSize = 4000LL * 1000 * 1000;
    if (!writeHugeMember(path, dataSize, &fingerprint)) {
        std::printf("4 GB member: could not be written\n");
        return 0;
    }
    const double before = statusMiB("VmRSS");
    resetPeakResident();
    IntegrityValidator::MemberState state = IntegrityValidator::MemberState::Intact;
    const bench::Timing timing = bench::measure([&] {
        state = IntegrityValidator::checkMember(folder, QStringLiteral("huge"), fingerprint, Fingerprint::salt());
    });
    static const char* const names[] = { "intact", "missing", "undecodable", "changed" };
    std::printf("4 GB member: verdict %s in %.1f ms (cpu %.1f ms), %.0f MB/s; peak memory %.1f MiB (%.1f before)\n",
        names[int(state)], timing.wallMs, timing.cpuMs, double(dataSize) / 1e6 / (timing.wallMs / 1000.0),
        peakResidentMiB(), before);
    QFile::remove(path);
    return 0;
}

/// Runs one part in a fresh process of this program and passes its output on.
void runPart(const QString& part, const QString& argument)
{
    std::fflush(stdout);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QCoreApplication::applicationFilePath(), { part, argument });
    process.waitForFinished(-1);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() == 3) {
        const QString part = arguments[1];
        if (part == QLatin1String("--throughput"))
            return throughput(arguments[2]);
        if (part == QLatin1String("--peak"))
            return peakMemory(arguments[2], "1 GB");
        if (part == QLatin1String("--tiny"))
            return peakMemory(arguments[2], "50,000 tiny members");
        if (part == QLatin1String("--huge"))
            return hugeMember(arguments[2]);
    }
    // "--only large|tiny|huge" runs one part, "--keep FOLDER" builds there and keeps it.
    const qsizetype only = arguments.indexOf(QStringLiteral("--only"));
    const QString part = only > 0 && only + 1 < arguments.size() ? arguments[only + 1] : QString();
    const qsizetype keep = arguments.indexOf(QStringLiteral("--keep"));
    QTemporaryDir temporary;
    const QString folder = keep > 0 && keep + 1 < arguments.size() ? arguments[keep + 1] : temporary.path();
    QDir().mkpath(folder);

    if (part.isEmpty() || part == QLatin1String("large")) {
        const QString large = QDir(folder).filePath(QStringLiteral("large.quillarc"));
        if (!QFileInfo::exists(large))
            buildArchive(large, largeCount, largeSize, 2000);
        runPart(QStringLiteral("--throughput"), large);
        runPart(QStringLiteral("--peak"), large);
    }
    if (part.isEmpty() || part == QLatin1String("tiny")) {
        const QString tiny = QDir(folder).filePath(QStringLiteral("tiny.quillarc"));
        if (!QFileInfo::exists(tiny)) {
            QElapsedTimer timer;
            timer.start();
            buildArchive(tiny, tinyCount, 200, 100);
            std::printf("(50,000 tiny members written in %.1f s)\n", bench::elapsedMs(timer) / 1000.0);
        }
        runPart(QStringLiteral("--tiny"), tiny);
    }
    if (part.isEmpty() || part == QLatin1String("huge"))
        runPart(QStringLiteral("--huge"), folder);
    return 0;
}
