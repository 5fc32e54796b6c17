// Integrity validation of an archive holding about 1 GB in 200 members:
// throughput beside md5sum over the same member files, measured in the same
// run, and peak memory against the largest member.
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

#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr int memberCount = 200;
constexpr qsizetype memberSize = 5 * 1024 * 1024;

/// Writes the archive in a child process, so its memory does not count below.
void buildArchive(const QString& path, QStringList* memberFiles)
{
    const pid_t child = fork();
    if (child == 0) {
        Document archive;
        archive.setUpAfterReading();
        archive.saveToPath(path);
        auto group = QuillarcGroup::create();
        QByteArray bytes(memberSize, '\0');
        for (int i = 0; i < memberCount; ++i) {
            for (qsizetype at = 0; at < bytes.size(); at += 4096)
                bytes[at] = char(i + at / 4096);
            auto document = QuillarcDocument::create();
            const QString relative = QStringLiteral("Files/%1/member").arg(document->uniqueID());
            QDir(path).mkpath(QFileInfo(relative).path());
            QFile member(QDir(path).filePath(relative));
            member.open(QIODevice::WriteOnly);
            member.write(PackageMember::encode(bytes, QByteArray(2000, 'p'), QByteArray(2000, 'i')));
            document->setField(QuillarcDocument::Path, Value::string(relative));
            document->setField(QuillarcDocument::String, Value::string(Fingerprint::saltedFingerprint(bytes, Fingerprint::salt())));
            group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
        }
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
        archive.close();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    QDir files(QDir(path).filePath(QStringLiteral("Files")));
    for (const QString& folder : files.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        memberFiles->append(files.filePath(folder + QStringLiteral("/member")));
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("validation.quillarc"));
    QStringList memberFiles;
    buildArchive(path, &memberFiles);
    qint64 totalBytes = 0;
    for (const QString& file : memberFiles)
        totalBytes += QFileInfo(file).size();
    const double megabytes = double(totalBytes) / 1e6;
    std::printf("Validation of %lld members, %.0f MB in all (largest member %.1f MiB)\n", qlonglong(memberFiles.size()), megabytes,
        double(memberSize) / 1048576.0);

    const double rssBefore = bench::peakRssMiB();
    QList<double> ours, oursCpu, reference;
    bool intact = false;
    for (int run = 0; run < 3; ++run) {
        reference.append(bench::timeCommandMs(QStringLiteral("md5sum"), memberFiles));
        Document archive;
        DocumentError error;
        archive.readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error, Document::OpenMode::ReadOnly);
        archive.setUpAfterReading();
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
        ours.append(timing.wallMs);
        oursCpu.append(timing.cpuMs);
    }
    const double oursMBs = megabytes / (bench::median(ours) / 1000.0);
    const double md5sumMBs = megabytes / (bench::median(reference) / 1000.0);
    std::printf("validation  median %8.1f ms  (cpu %8.1f ms)  %7.1f MB/s  result %s\n", bench::median(ours), bench::median(oursCpu),
        oursMBs, intact ? "intact" : "CORRUPT");
    std::printf("md5sum      median %8.1f ms                     %7.1f MB/s\n", bench::median(reference), md5sumMBs);
    std::printf("ratio       %.2f x md5sum's throughput\n", oursMBs / md5sumMBs);
    std::printf("peak memory %.1f MiB (%.1f MiB before validating; largest member %.1f MiB)\n", bench::peakRssMiB(), rssBefore,
        double(memberSize) / 1048576.0);
    return 0;
}
