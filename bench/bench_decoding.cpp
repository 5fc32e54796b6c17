// Opening databases against their size: the crafted family whose lists are
// shared at every level (8 to 64 levels), records and lists reached through
// many references, and ordinary archives of 1,000 and 10,000 documents written
// by the engine. Decoding is linear when the CPU time per KB stays roughly the
// same across sizes. Set QUILLARC_OLD_CLI to an older quillarc-cli to time
// `info` on the 24-level database with it too.
#include "BenchSupport.h"
#include "CraftedArchives.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"
#include "store/KeyedUnarchiver.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {
/// Median CPU milliseconds of opening the package (both decoding passes),
/// read-only: on a shared machine CPU time is far steadier than wall time.
double openMs(const QString& package, int runs)
{
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        Document archive;
        times.append(bench::measure([&] {
            DocumentError error;
            archive.readFromFileWrapper(
                package, QString::fromLatin1(Document::typeName), &error, Document::OpenMode::ReadOnly);
        }).cpuMs);
    }
    return bench::median(times);
}

void printRow(const QString& name, qint64 bytes, double ms)
{
    const double kb = double(bytes) / 1024.0;
    std::printf("  %-34s %10.1f KB %10.3f ms %9.2f us/KB\n", qPrintable(name), kb, ms, 1000.0 * ms / kb);
    std::fflush(stdout);
}

QString writePackage(const QTemporaryDir& dir, const QString& name, const QByteArray& database)
{
    const QString package = dir.filePath(name + QStringLiteral(".quillarc"));
    QDir().mkpath(package);
    QFile file(QDir(package).filePath(QLatin1String(Document::databaseName)));
    if (!file.open(QIODevice::WriteOnly) || file.write(database) != database.size())
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
    return package;
}

QString writeNormalArchive(const QTemporaryDir& dir, int documents)
{
    const QString package = dir.filePath(QStringLiteral("normal-%1.quillarc").arg(documents));
    Document archive;
    archive.setUpAfterReading();
    const QString text
        = QStringLiteral("Rechnung Lieferschein Betrag Umsatzsteuer invoice payment Größe ").repeated(30);
    for (int g = 0; g * 500 < documents; ++g) {
        auto group = QuillarcGroup::create();
        group->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Gruppe %1").arg(g)));
        ValueList& list = group->mutableField(QuillarcGroup::Documents).mutableArray();
        for (int i = g * 500; i < qMin(documents, (g + 1) * 500); ++i) {
            auto document = QuillarcDocument::create();
            document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Beleg %1").arg(i)));
            document->setField(QuillarcDocument::ContentString, Value::string(text + QString::number(i)));
            document->setField(QuillarcDocument::FileSize, Value::real(10000.0 + i));
            list.append(Value::object(document));
        }
        archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    }
    archive.saveToPath(package);
    return package;
}

qint64 databaseSize(const QString& package)
{
    return QFileInfo(QDir(package).filePath(QLatin1String(Document::databaseName))).size();
}

/// Median CPU milliseconds of decoding; the work units of one decode in `work`.
double decodeMs(const QByteArray& bytes, int runs, qint64* work)
{
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        KeyedUnarchiver unarchiver;
        times.append(bench::measure([&] { unarchiver.decode(bytes); }).cpuMs);
        *work = unarchiver.workCount();
    }
    return bench::median(times);
}

void printDecodeRow(const QString& name, const QByteArray& bytes)
{
    qint64 work = 0;
    const double ms = decodeMs(bytes, 9, &work);
    const double kb = double(bytes.size()) / 1024.0;
    std::printf("  %-34s %10.1f KB %7.0f units/KB %10.3f ms %9.2f us/KB\n", qPrintable(name), kb, double(work) / kb, ms,
        1000.0 * ms / kb);
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;

    std::printf("Opening databases whose lists are shared at every level (median CPU time of 15 opens)\n");
    QStringList nested;
    for (const int levels : { 8, 16, 24, 32, 48, 64 }) {
        const QByteArray database = CraftedArchives::database(QStringLiteral("Shared %1").arg(levels),
            [levels](RawKeyedArchive& archive) { return CraftedArchives::addSharedNesting(archive, levels); });
        const QString package = writePackage(dir, QStringLiteral("shared-%1").arg(levels), database);
        if (levels == 24 || levels == 64)
            nested.append(package);
        printRow(QStringLiteral("shared nesting, %1 levels").arg(levels), database.size(), openMs(package, 15));
    }

    std::printf(
        "Decoding shapes that reach one record or list many times (median CPU time of 9; work units are exact)\n");
    for (const int levels : { 8, 24, 64 })
        printDecodeRow(QStringLiteral("shared nesting, %1 levels").arg(levels), CraftedArchives::sharedNesting(levels));
    for (const int n : { 1000, 2000, 4000, 8000, 16000 })
        printDecodeRow(
            QStringLiteral("%1 UIDs x one %1-key record").arg(n), CraftedArchives::uidsSharingOneRecord(n, n));
    for (const int n : { 1000, 2000, 4000, 8000, 16000 })
        printDecodeRow(
            QStringLiteral("%1 records x one %1-item list").arg(n), CraftedArchives::recordsSharingOneList(n, n));

    std::printf("Opening archives written by the engine (median CPU time of 5 opens), and decoding their records\n");
    for (const int documents : { 1000, 10000 }) {
        const QString package = writeNormalArchive(dir, documents);
        printRow(QStringLiteral("%1 documents, open").arg(documents), databaseSize(package), openMs(package, 5));
        QFile database(QDir(package).filePath(QLatin1String(Document::databaseName)));
        database.open(QIODevice::ReadOnly);
        const Value root = KeyedUnarchiver::unarchiveObjectWithData(database.readAll());
        printDecodeRow(QStringLiteral("%1 documents, records").arg(documents),
            root.toDictionary().value(QStringLiteral("companyData")).toData());
    }

    const QString cli = QCoreApplication::applicationDirPath() + QStringLiteral("/../quillarc-cli");
    const QString oldCli = qEnvironmentVariable("QUILLARC_OLD_CLI");
    std::printf("quillarc-cli info, wall time of the whole process (median of 5 runs)\n");
    for (const QString& package : std::as_const(nested)) {
        QList<double> runs;
        for (int run = 0; run < 5; ++run)
            runs.append(bench::timeCommandMs(cli, { QStringLiteral("info"), package }));
        std::printf(
            "  %-20s this build %10.1f ms\n", qPrintable(QFileInfo(package).completeBaseName()), bench::median(runs));
    }
    if (!oldCli.isEmpty()) // one run: an older build may take minutes
        std::printf("  %-20s %s %10.1f ms\n", qPrintable(QFileInfo(nested.first()).completeBaseName()),
            qPrintable(oldCli), bench::timeCommandMs(oldCli, { QStringLiteral("info"), nested.first() }));
    return 0;
}
