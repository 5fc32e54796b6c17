// Intake of 1,000 generated files of mixed kinds (plain text, PDF, HTML, RTF,
// DOCX) as one batch, with the time split between attributes, text
// extraction, previews, reading/hashing and member writing; beside it the
// time `cp` and `md5sum` take for the same files. Images always go through
// text recognition, so a few PNGs are measured on their own.
#include "BenchSupport.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <zip.h>

namespace {

const QStringList words = { QStringLiteral("Rechnung"), QStringLiteral("Lieferschein"), QStringLiteral("Betrag"),
    QStringLiteral("invoice"), QStringLiteral("payment"), QStringLiteral("Größe"), QStringLiteral("contract"),
    QStringLiteral("2026"), QStringLiteral("EUR"), QStringLiteral("Umsatzsteuer") };

QString sentence(QRandomGenerator& random, int count)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += words[random.bounded(words.size())] + QLatin1Char(' ');
    return text;
}

void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

void writeDocx(const QString& path, const QString& text)
{
    int error = 0;
    zip_t* archive = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive)
        return;
    const QByteArray types
        = "<?xml version=\"1.0\"?><Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
          "<Override PartName=\"/word/document.xml\" ContentType=\"application/vnd.openxmlformats-"
          "officedocument.wordprocessingml.document.main+xml\"/></Types>";
    const QByteArray body = "<?xml version=\"1.0\"?><w:document xmlns:w=\"http://schemas.openxmlformats.org/"
                            "wordprocessingml/2006/main\"><w:body><w:p><w:r><w:t>"
        + text.toUtf8() + "</w:t></w:r></w:p></w:body></w:document>";
    // libzip reads the buffers at zip_close(), so they must live until then.
    const QList<QPair<const char*, QByteArray>> entries { { "[Content_Types].xml", types },
        { "word/document.xml", body } };
    for (const auto& [name, data] : entries) {
        zip_source_t* source = zip_source_buffer(archive, data.constData(), zip_uint64_t(data.size()), 0);
        zip_file_add(archive, name, source, ZIP_FL_OVERWRITE);
    }
    zip_close(archive);
}

/// Writes the files of the mix and returns their paths in a shuffled-by-kind order.
QStringList generate(const QString& folder, int count)
{
    QRandomGenerator random(7);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString text = sentence(random, 40 + random.bounded(200));
        QString path;
        switch (i % 20) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
            path = QStringLiteral("%1/note %2.txt").arg(folder).arg(i);
            writeBytes(path, text.toUtf8());
            break;
        case 5:
        case 6:
        case 7:
        case 8:
        case 9: {
            path = QStringLiteral("%1/invoice %2.pdf").arg(folder).arg(i);
            QPdfWriter writer(path);
            QPainter painter(&writer);
            painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
            painter.drawText(QRectF(300, 300, 9000, 12000), Qt::TextWordWrap, text);
            break;
        }
        case 10:
        case 11:
        case 12:
        case 13:
            path = QStringLiteral("%1/page %2.html").arg(folder).arg(i);
            writeBytes(path,
                "<html><head><meta charset=\"utf-8\"><title>Beleg</title></head><body><p>" + text.toUtf8()
                    + "</p></body></html>");
            break;
        case 14:
        case 15:
        case 16:
            path = QStringLiteral("%1/letter %2.rtf").arg(folder).arg(i);
            writeBytes(
                path, "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 Helvetica;}}\\f0\\fs24 " + text.toLatin1() + "\\par}");
            break;
        default:
            path = QStringLiteral("%1/contract %2.docx").arg(folder).arg(i);
            writeDocx(path, text);
            break;
        }
        paths.append(path);
    }
    return paths;
}

QStringList generateImages(const QString& folder, int count)
{
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        QImage image(1240, 1754, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 28));
        painter.drawText(QRect(80, 80, 1080, 1500), Qt::TextWordWrap,
            QStringLiteral("Rechnung Nr. %1\nBetrag 1.234,56 EUR\nZahlbar innerhalb von 14 Tagen").arg(4700 + i));
        painter.end();
        const QString path = QStringLiteral("%1/scan %2.png").arg(folder).arg(i);
        image.save(path);
        paths.append(path);
    }
    return paths;
}

void printSplit(const DocumentIntake::Timings& t, double wallMs)
{
    const auto part = [wallMs](qint64 ns) {
        return QStringLiteral("%1 ms (%2 %)").arg(ns / 1e6, 0, 'f', 0).arg(100.0 * ns / 1e6 / wallMs, 0, 'f', 1);
    };
    std::printf("    attributes/type/tags %s\n", qPrintable(part(t.attributesNs)));
    std::printf("    text extraction      %s\n", qPrintable(part(t.extractionNs)));
    std::printf("    previews             %s\n", qPrintable(part(t.previewsNs)));
    std::printf("    icons                %s\n", qPrintable(part(t.iconsNs)));
    std::printf("    reading and hashing  %s\n", qPrintable(part(t.readingNs)));
    std::printf("    encoding and writing %s\n", qPrintable(part(t.writingNs)));
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 1000;
    QTemporaryDir dir;
    const QString sources = dir.filePath(QStringLiteral("sources"));
    const QString images = dir.filePath(QStringLiteral("images"));
    QDir().mkpath(sources);
    QDir().mkpath(images);
    const QStringList paths = generate(sources, count);
    const QStringList imagePaths = generateImages(images, 10);
    qint64 totalBytes = 0;
    for (const QString& path : paths)
        totalBytes += QFileInfo(path).size();
    std::printf("%d files, %.1f MiB (txt 25 %%, pdf 25 %%, html 20 %%, rtf 15 %%, docx 15 %%)\n", int(paths.size()),
        totalBytes / 1048576.0);

    // Reference: copying and hashing the same files with the system's tools.
    const double copyMs = bench::timeCommandMs(
        QStringLiteral("cp"), { QStringLiteral("-r"), sources, dir.filePath(QStringLiteral("copy")) });
    const double md5Ms = bench::timeCommandMs(QStringLiteral("md5sum"), paths);

    Document archive;
    archive.setUpAfterReading();
    archive.saveToPath(dir.filePath(QStringLiteral("Bench.quillarc")));
    auto group = QuillarcGroup::create();
    group->setParent(archive.container().get());
    archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    archive.preferences()->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));

    DocumentIntake intake(archive);
    BatchIntake batch(archive, intake);
    const bench::Timing build = bench::measure([&] { batch.start(paths, group); });
    const bench::Timing confirm = bench::measure([&] {
        QCoreApplication::processEvents();
        batch.closeAddBatchDocumentsSheet();
    });
    const bench::Timing save = bench::measure([&] { archive.save(); });
    const DocumentIntake::Timings split = intake.timings();

    std::printf("intake (batch of %lld records):\n", qlonglong(batch.batchArrayCount()));
    std::printf("  build %.0f ms wall, %.0f ms CPU: %.1f files/s\n", build.wallMs, build.cpuMs,
        1000.0 * paths.size() / build.wallMs);
    printSplit(split, build.wallMs);
    std::printf("  confirm (shared values, %d audit entries) %.1f ms; save %.0f ms\n", int(batch.batchArrayCount()),
        confirm.wallMs, save.wallMs);
    std::printf("reference: cp -r %.0f ms, md5sum %.0f ms (together %.0f ms); intake / (cp + md5sum) = %.1f\n", copyMs,
        md5Ms, copyMs + md5Ms, build.wallMs / (copyMs + md5Ms));

    // Single intakes put each member in place at once, with its own syncs.
    DocumentIntake singleIntake(archive);
    const QStringList singles = paths.mid(0, 100);
    const bench::Timing single = bench::measure([&] {
        for (const QString& path : singles)
            singleIntake.addDocument(path, group);
    });
    std::printf("single intakes (%d files, each member synced on its own): %.0f ms wall, %.0f ms CPU: %.1f files/s\n",
        int(singles.size()), single.wallMs, single.cpuMs, 1000.0 * singles.size() / single.wallMs);
    std::printf("    encoding and writing %.0f ms\n", singleIntake.timings().writingNs / 1e6);

    DocumentIntake imageIntake(archive);
    QList<double> perImage;
    for (const QString& path : imagePaths) {
        const bench::Timing one = bench::measure([&] { imageIntake.quillarcDocumentForURL(path, group); });
        perImage.append(one.wallMs);
    }
    std::printf("PNG pages (A4 at 150 dpi, text recognition always on): median %.0f ms per file, worst %.0f ms\n",
        bench::median(perImage), bench::worst(perImage));
    printSplit(imageIntake.timings(), [&] {
        double s = 0;
        for (double v : perImage)
            s += v;
        return s;
    }());
    std::printf("peak memory %.0f MiB\n", bench::peakRssMiB());
    return 0;
}
