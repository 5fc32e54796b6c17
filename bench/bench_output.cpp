// Output figures: the audit-log report and the export summary of archives with
// 1,000 / 5,000 / 10,000 documents (one intake entry each, a few deletions and
// damaged members), and a whole group export with its copies. The archive is a
// real package in a temporary folder with small members, so the valid and
// corrupted marks cost what they cost in use.
// With --sample-log OUT.pdf or --sample-summary OUT.pdf it writes a small sample
// instead (used by scripts/render-output-samples.sh to look at the pages).

#include "BenchSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcLogObject.h"
#include "output/ExportSummary.h"
#include "output/Exporter.h"
#include "output/LogReport.h"
#include "store/ArchivedFile.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <cstdio>

namespace {

struct Sample
{
    QString slip;
    QString title;
    QString comment;
    QStringList tags;
};

/// A package on disk with one group per `perGroup` documents.
class BenchArchive
{
public:
    explicit BenchArchive(const QString& packagePath)
    {
        m_archive.setUpAfterReading();
        m_archive.saveToPath(packagePath);
        m_salt = m_archive.string().isEmpty() ? Fingerprint::salt() : m_archive.string();
        m_archive.container()->setField(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Business records 2026")));
    }

    Document& archive() { return m_archive; }

    GroupPtr addGroup(const QString& title, const QString& description = QString())
    {
        auto group = QuillarcGroup::create();
        group->setField(QuillarcGroup::GroupTitle, Value::string(title));
        group->setField(QuillarcGroup::GroupDescription, Value::string(description));
        group->setParent(m_archive.container().get());
        m_archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
        return group;
    }

    DocumentPtr addDocument(const GroupPtr& group, int index, const Sample& sample)
    {
        auto document = QuillarcDocument::create();
        const QString id = document->uniqueID();
        const QString name = QStringLiteral("invoice-%1").arg(index);
        const QString relative = QStringLiteral("Files/%1/%2").arg(id, name);
        const QByteArray bytes
            = QByteArrayLiteral("%PDF-1.4 invoice ") + QByteArray::number(index) + QByteArray(300, 'x');
        QDir().mkpath(m_archive.packagePath() + QStringLiteral("/Files/") + id);
        QFile member(m_archive.packagePath() + QLatin1Char('/') + relative);
        if (member.open(QIODevice::WriteOnly))
            member.write(PackageMember::encode(bytes, QByteArray(), QByteArray()));
        const QDateTime taken = QDateTime(QDate(2026, 1, 1), QTime(9, 0)).addSecs(qint64(index) * 2400);
        const Value when = Value::date(Clock::fromDateTime(taken));
        document->setField(QuillarcDocument::Name, Value::string(name));
        document->setField(QuillarcDocument::Title, Value::string(sample.title));
        document->setField(QuillarcDocument::Extension, Value::string(QStringLiteral("pdf")));
        document->setField(QuillarcDocument::FileKind, Value::string(QStringLiteral("PDF document")));
        document->setField(QuillarcDocument::Path, Value::string(relative));
        document->setField(QuillarcDocument::SlipNumber, Value::string(sample.slip));
        document->setField(QuillarcDocument::Comment, Value::string(sample.comment));
        ValueList tags;
        for (const QString& tag : sample.tags)
            tags << Value::string(tag);
        document->setField(QuillarcDocument::Tags, Value::array(tags));
        document->setField(QuillarcDocument::FileDate, when);
        document->setField(QuillarcDocument::CreationDate, when);
        document->setField(QuillarcDocument::ModificationDate, when);
        document->setField(QuillarcDocument::DateAdded, when);
        document->setField(QuillarcDocument::FileSize, Value::real(double(bytes.size())));
        document->setField(QuillarcDocument::String, Value::string(Fingerprint::saltedFingerprint(bytes, m_salt)));
        document->setParent(group.get());
        group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
        m_archive.createLogObjectForDocument(document, 0);
        // Entries are dated when the document was taken in, not when the benchmark ran.
        m_archive.container()->logs().last()->setField(QuillarcLogObject::CreationDate, when);
        return document;
    }

    /// Changes one byte of a member, so its document reads as corrupted.
    void damage(const DocumentPtr& document)
    {
        QFile member(ArchivedFile::fileURL(*document));
        if (!member.open(QIODevice::ReadWrite))
            return;
        QByteArray bytes = member.readAll();
        const qsizetype at = bytes.indexOf("invoice");
        if (at >= 0) {
            bytes[at] = 'I';
            member.seek(0);
            member.write(bytes);
        }
    }

    /// Deletes a document as the application does: an entry of kind 1, then out of its group.
    void remove(const GroupPtr& group, const DocumentPtr& document)
    {
        m_archive.createLogObjectForDocument(document, 1);
        ValueList& documents = group->mutableField(QuillarcGroup::Documents).mutableArray();
        for (qsizetype i = 0; i < documents.size(); ++i) {
            if (documents[i].toObject() == document) {
                documents.removeAt(i);
                break;
            }
        }
    }

private:
    Document m_archive;
    QString m_salt;
};

Sample plainSample(int i)
{
    return { QStringLiteral("R-%1").arg(i + 1), QStringLiteral("Invoice %1 for office supplies").arg(i + 1),
        i % 3 == 0 ? QStringLiteral("Paid by card, booked on cost centre 4711") : QString(),
        i % 4 == 0 ? QStringList { QStringLiteral("office"), QStringLiteral("2026") } : QStringList() };
}

/// A group of `count` documents; every 97th damaged, every 50th deleted.
void fill(BenchArchive& bench, int count)
{
    const GroupPtr group
        = bench.addGroup(QStringLiteral("Receipts 2026"), QStringLiteral("All receipts of the office."));
    QList<DocumentPtr> removed;
    for (int i = 0; i < count; ++i) {
        const DocumentPtr document = bench.addDocument(group, i, plainSample(i));
        if (i % 97 == 13)
            bench.damage(document);
        if (i % 50 == 49)
            removed << document;
    }
    for (const DocumentPtr& document : removed)
        bench.remove(group, document);
}

int writeSample(const QString& path, bool summary)
{
    QTemporaryDir folder;
    BenchArchive bench(folder.filePath(QStringLiteral("sample.quillarc")));
    const GroupPtr group = bench.addGroup(
        QStringLiteral("Receipts 2026"), QStringLiteral("All receipts of the office, paid by card or cash."));
    QList<Sample> samples;
    for (int i = 0; i < 40; ++i)
        samples << plainSample(i);
    samples[2].title = QStringLiteral("Tabs\tand\nline breaks in a title");
    samples[3].title = QStringLiteral(
        "\u05D7\u05E9\u05D1\u05D5\u05E0\u05D9\u05EA \u0641\u0627\u062A\u0648\u0631\u0629 (Hebrew, Arabic)");
    samples[4].title = QStringLiteral("\u6587\u4EF6\u5F52\u6863 \u8ACB\u6C42\u66F8 (CJK)");
    samples[5].title
        = QStringLiteral(
              "A very long title that keeps going and going, far beyond what one line of the summary can hold, ")
        + QString(40, u'x');
    samples[6].title
        = QStringLiteral("CAPITALS ARE WIDER SO A TITLE FULL OF THEM IS CUT SHORTER THAN ONE IN SMALL LETTERS, ALWAYS");
    samples[7].slip = QString();
    samples[8].slip = QStringLiteral("R-10");
    samples[9].slip = QStringLiteral("R-2");
    QList<DocumentPtr> documents;
    for (int i = 0; i < samples.size(); ++i)
        documents << bench.addDocument(group, i, samples[i]);

    if (summary) {
        Exporter exporter(&bench.archive());
        const QString out = folder.filePath(QStringLiteral("export"));
        if (exporter.exportGroup(group, out) != Exporter::Result::Success) {
            std::fprintf(stderr, "export failed: %s\n", qPrintable(exporter.errorString()));
            return 1;
        }
        QFile::remove(path);
        if (!QFile::copy(exporter.summaryPath(), path)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
            return 1;
        }
        std::printf("%s: summary of %lld copies\n", qPrintable(path), qlonglong(exporter.writtenFiles().size()));
        return 0;
    }

    bench.damage(documents[11]);
    bench.damage(documents[25]);
    bench.remove(group, documents[12]);
    bench.archive().setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_DATABASE_CORRUPT")));
    int pages = 0;
    QString error;
    if (!LogReport(bench.archive()).write(path, &error, &pages)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    std::printf("%s: %d pages\n", qPrintable(path), pages);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() == 3
        && (arguments[1] == QLatin1String("--sample-log") || arguments[1] == QLatin1String("--sample-summary")))
        return writeSample(arguments[2], arguments[1] == QLatin1String("--sample-summary"));

    QList<int> sizes { 1000, 5000, 10000 };
    if (arguments.size() == 3 && arguments[1] == QLatin1String("--documents"))
        sizes = { arguments[2].toInt() };

    std::printf("%-22s %7s %6s %9s %8s %9s %8s %9s\n", "work", "docs", "pages", "marks s", "total s", "cpu s",
        "pages/s", "peak MiB");
    for (int count : sizes) {
        QTemporaryDir folder;
        BenchArchive bench(folder.filePath(QStringLiteral("bench.quillarc")));
        fill(bench, count);
        const GroupPtr group = bench.archive().allGroups().first();
        const int repeats = count <= 1000 ? 3 : 1;

        // Log report: the items (one fingerprint check per document), then layout and PDF.
        QList<double> marks, totals, cpu;
        int pages = 0;
        for (int r = 0; r < repeats; ++r) {
            const LogReport report(bench.archive());
            marks << bench::measure([&] { report.items(); }).wallMs / 1000.0;
            const bench::Timing timing = bench::measure([&] { report.plainPDFDocument(&pages); });
            totals << timing.wallMs / 1000.0;
            cpu << timing.cpuMs / 1000.0;
        }
        std::printf("%-22s %7d %6d %9.2f %8.2f %9.2f %8.0f %9.0f\n", "log report", count, pages, bench::median(marks),
            bench::median(totals), bench::median(cpu), pages / bench::median(totals), bench::peakRssMiB());

        // Export summary alone: items and PDF, no copies.
        totals.clear();
        cpu.clear();
        for (int r = 0; r < repeats; ++r) {
            const bench::Timing timing = bench::measure([&] {
                const QList<DocumentPtr> documents = Exporter::sortedForGroup(group->documents());
                ExportSummary summary(group->groupTitle(), group->groupDescription(), documents);
                for (const DocumentPtr& document : documents)
                    summary.appendDocument(*document, true, true);
                summary.plainPDFDocument(group->groupTitle(), &pages);
            });
            totals << timing.wallMs / 1000.0;
            cpu << timing.cpuMs / 1000.0;
        }
        std::printf("%-22s %7lld %6d %9s %8.2f %9.2f %8.0f %9.0f\n", "export summary",
            qlonglong(group->documentCount()), pages, "-", bench::median(totals), bench::median(cpu),
            pages / bench::median(totals), bench::peakRssMiB());

        // Whole group export with copies; the damaged members are left out so it runs to the end.
        auto intact = QuillarcGroup::create();
        intact->setField(QuillarcGroup::GroupTitle, Value::string(QStringLiteral("Intact")));
        intact->setParent(bench.archive().container().get());
        for (const DocumentPtr& document : group->documents()) {
            if (!ArchivedFile::isFileCorrupted(*document))
                intact->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
        }
        Exporter exporter(&bench.archive());
        Exporter::Result result = Exporter::Result::Success;
        const bench::Timing timing
            = bench::measure([&] { result = exporter.exportGroup(intact, folder.filePath(QStringLiteral("export"))); });
        std::printf("%-22s %7lld %6s %9s %8.2f %9.2f %8s %9.0f%s\n", "export with copies",
            qlonglong(exporter.writtenFiles().size()), "-", "-", timing.wallMs / 1000.0, timing.cpuMs / 1000.0, "-",
            bench::peakRssMiB(), result == Exporter::Result::Success ? "" : "  (failed)");
        // Let the deferred tag writes run before the folder goes.
        while (exporter.pendingTagWrites() > 0)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    }
    return 0;
}
