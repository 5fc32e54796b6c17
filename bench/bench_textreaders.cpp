// Extraction time per format for typical office files (about ten pages of
// text), generated here, and the Word reader on large generated files, plain
// and crafted, at growing sizes; extra files given on the command line are
// measured too. Prints medians over repeated runs and the throughput.
#include "BenchSupport.h"
#include "WordFile.h"
#include "intake/DocReader.h"
#include "intake/DocxReader.h"
#include "intake/HtmlReader.h"
#include "intake/PlainTextReader.h"
#include "intake/RtfReader.h"
#include "intake/TextReader.h"
#include "intake/WebArchiveReader.h"
#include "store/BinaryPlistWriter.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <functional>
#include <zip.h>

namespace {

constexpr int kRuns = 15;
constexpr int kWordRuns = 5;
constexpr int kParagraphs = 400;

QString paragraph(int i)
{
    return QStringLiteral("Position %1: Hängeschränke, Größe 60 × 70 cm, Übergabe am 24.09.2020, Preis 1.234,56 € "
                          "zuzüglich Mehrwertsteuer; Lieferung frei Haus.")
        .arg(i);
}

QByteArray docxBytes(const QString& directory)
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><w:document "
                     "xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\"><w:body>";
    for (int i = 0; i < kParagraphs; ++i)
        xml += "<w:p><w:pPr><w:spacing w:after=\"120\"/></w:pPr><w:r><w:rPr><w:b/></w:rPr><w:t>" + paragraph(i).toUtf8()
            + "</w:t></w:r><w:r><w:tab/><w:t>Ende</w:t></w:r></w:p>";
    xml += "</w:body></w:document>";
    const QString path = directory + QStringLiteral("/bench.docx");
    int error = 0;
    zip_t* archive = zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive)
        return {};
    zip_file_add(archive, "word/document.xml", zip_source_buffer(archive, xml.constData(), xml.size(), 0), 0);
    if (zip_close(archive) != 0)
        return {};
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray rtfBytes()
{
    QByteArray rtf = "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss Helvetica;}}{\\colortbl;\\red0\\green0"
                     "\\blue0;}{\\*\\generator Bench;}\\pard\\plain ";
    for (int i = 0; i < kParagraphs; ++i) {
        QByteArray line;
        for (const QChar c : paragraph(i)) {
            if (c.unicode() < 0x80)
                line += char(c.unicode());
            else if (c.unicode() < 0x100)
                line += "\\'" + QByteArray::number(c.unicode(), 16);
            else
                line += "\\u" + QByteArray::number(c.unicode()) + "?";
        }
        rtf += "{\\b " + line + "}\\tab Ende\\par\n";
    }
    return rtf + "}";
}

QByteArray htmlBytes()
{
    QByteArray html = "<html><head><meta charset=\"utf-8\"><title>Bench</title></head><body>";
    for (int i = 0; i < kParagraphs; ++i)
        html += "<p><b>" + paragraph(i).toUtf8() + "</b> Ende</p>";
    return html + "</body></html>";
}

QByteArray webArchiveBytes(const QByteArray& html)
{
    BinaryPlistWriter writer;
    const auto resource = writer.addDictionary({ writer.addString(QStringLiteral("WebResourceData")),
                                                   writer.addString(QStringLiteral("WebResourceTextEncodingName")) },
        { writer.addData(html), writer.addString(QStringLiteral("UTF-8")) });
    return writer.write(writer.addDictionary({ writer.addString(QStringLiteral("WebMainResource")) }, { resource }));
}

QString plainText()
{
    QString text;
    for (int i = 0; i < kParagraphs; ++i)
        text += paragraph(i) + QLatin1Char('\n');
    return text;
}

// A Word file of about size bytes of ordinary paragraphs in one piece.
QByteArray plainWordFile(qsizetype size)
{
    QStringEncoder windows1252("windows-1252");
    QByteArray text;
    for (int i = 0; text.size() < size; ++i)
        text += windows1252.encode(paragraph(i) + QLatin1Char('\r'));
    text.truncate(size);
    return WordFile::withText(text);
}

// Field marks only: field after field opened and switched to its shown result, one character each, never closed.
QByteArray fieldMarksWordFile(qsizetype size)
{
    return WordFile::withText(QByteArray("\x13\x14x").repeated(size / 3));
}

// A thousand nested fields shown as results, then plain characters: every character sits inside all of them.
QByteArray deepFieldsWordFile(qsizetype size)
{
    const QByteArray open = QByteArray("\x13\x14").repeated(1024);
    return WordFile::withText(open + QByteArray(size - open.size(), 'x'));
}

struct Medians
{
    double wallMs = 0;
    double cpuMs = 0;
};

// Medians of extract over runs, printed with the throughput (by wall time).
Medians measure(const char* label, const QByteArray& bytes, const std::function<QString(const QByteArray&)>& extract,
    int runs = kRuns)
{
    QList<double> wall;
    QList<double> cpu;
    qsizetype characters = 0;
    for (int run = 0; run < runs; ++run) {
        const bench::Timing timing = bench::measure([&] { characters = extract(bytes).size(); });
        wall.append(timing.wallMs);
        cpu.append(timing.cpuMs);
    }
    const Medians medians { bench::median(wall), bench::median(cpu) };
    std::printf("%-28s %9lld bytes %8lld chars  median %8.3f ms (cpu %8.3f)  worst %8.3f ms  %7.1f MB/s\n", label,
        static_cast<long long>(bytes.size()), static_cast<long long>(characters), medians.wallMs, medians.cpuMs,
        bench::worst(wall), medians.wallMs > 0 ? double(bytes.size()) / 1e3 / medians.wallMs : 0.0);
    return medians;
}

double ratio(double a, double b)
{
    return b > 0 ? a / b : 0.0;
}

// The Word reader on plain and crafted files of growing size. Ratios are taken from CPU-time medians of this one
// run, which a busy machine disturbs less than wall time; linear reading keeps the crafted files near the plain one
// and grows every kind by the factor of the sizes.
void measureWordSizes()
{
    std::printf("\nWord reader: plain paragraphs beside crafted field marks, %d runs each\n", kWordRuns);
    const auto doc = [](const QByteArray& b) { return DocReader::extractFromData(b); };
    const QList<double> sizes { 1.5, 3, 6, 12 };
    const QList<QPair<QByteArray, QByteArray (*)(qsizetype)>> kinds { { "plain", plainWordFile },
        { "field marks", fieldMarksWordFile }, { "deep fields", deepFieldsWordFile } };
    QList<QList<double>> cpu(kinds.size());
    for (double megabytes : sizes) {
        for (qsizetype k = 0; k < kinds.size(); ++k) {
            const QByteArray label = "doc " + kinds[k].first + ' ' + QByteArray::number(megabytes) + " MB";
            cpu[k].append(
                measure(label.constData(), kinds[k].second(qsizetype(megabytes * 1e6)), doc, kWordRuns).cpuMs);
        }
        std::printf("  cpu ratio to plain at %g MB: field marks %.2f, deep fields %.2f\n", megabytes,
            ratio(cpu[1].last(), cpu[0].last()), ratio(cpu[2].last(), cpu[0].last()));
    }
    std::printf(
        "cpu growth from %g to %g MB (linear: %.0f):", sizes.first(), sizes.last(), sizes.last() / sizes.first());
    for (qsizetype k = 0; k < kinds.size(); ++k)
        std::printf(" %s x%.2f", kinds[k].first.constData(), ratio(cpu[k].last(), cpu[k].first()));
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QGuiApplication application(argc, argv);
    QTemporaryDir directory;

    QFile docFile(QStringLiteral(QUILLARC_TEST_DATA "/multilingual-table-field.doc"));
    const QByteArray doc = docFile.open(QIODevice::ReadOnly) ? docFile.readAll() : QByteArray();
    const QByteArray html = htmlBytes();
    const QString text = plainText();
    QStringEncoder windows1252("windows-1252");
    const QByteArray text1252 = windows1252.encode(text);
    QStringEncoder utf16(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
    const QByteArray text16 = utf16.encode(text);

    std::printf("text readers, %d runs each (%d paragraphs per generated file)\n", kRuns, kParagraphs);
    measure("doc (small fixture)", doc, [](const QByteArray& b) { return DocReader::extractFromData(b); });
    measure("docx", docxBytes(directory.path()), [](const QByteArray& b) { return DocxReader::extractFromData(b); });
    measure("rtf", rtfBytes(), [](const QByteArray& b) { return RtfReader::extractFromData(b); });
    measure("html", html, [](const QByteArray& b) { return HtmlReader::extractFromData(b); });
    measure(
        "webarchive", webArchiveBytes(html), [](const QByteArray& b) { return WebArchiveReader::extractFromData(b); });
    measure("txt utf-8", text.toUtf8(), [](const QByteArray& b) { return PlainTextReader::extractFromData(b); });
    measure("txt utf-16 bom", text16, [](const QByteArray& b) { return PlainTextReader::extractFromData(b); });
    measure("txt windows-1252 (detected)", text1252,
        [](const QByteArray& b) { return PlainTextReader::extractFromData(b); });
    measureWordSizes();

    // Reference: iconv converting the same Windows-1252 text, process start included.
    const QString sample = directory.filePath(QStringLiteral("sample.txt"));
    QFile sampleFile(sample);
    if (sampleFile.open(QIODevice::WriteOnly) && sampleFile.write(text1252) == text1252.size()) {
        sampleFile.close();
        QList<double> ours;
        QList<double> reference;
        const auto reader = textReaderForExtension(QStringLiteral("txt"));
        for (int run = 0; run < kRuns; ++run) {
            QElapsedTimer timer;
            timer.start();
            reader->extract(sample);
            ours.append(bench::elapsedMs(timer));
            reference.append(bench::timeCommandMs(QStringLiteral("iconv"),
                { QStringLiteral("-f"), QStringLiteral("WINDOWS-1252"), QStringLiteral("-t"), QStringLiteral("UTF-8"),
                    sample }));
        }
        const double refMedian = bench::median(reference);
        std::printf("txt windows-1252 from file: median %.3f ms; iconv (process) %.3f ms; ratio %.2f\n",
            bench::median(ours), refMedian, refMedian > 0 ? bench::median(ours) / refMedian : 0.0);
    }

    // Files named on the command line, each through the reader for its extension.
    for (int i = 1; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        const auto reader = textReaderForExtension(QFileInfo(path).suffix());
        QFile file(path);
        if (!reader || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray label = QFileInfo(path).fileName().toUtf8();
        measure(label.constData(), file.readAll(), [&](const QByteArray&) { return reader->extract(path); });
    }
    std::printf("peak memory %.1f MiB\n", bench::peakRssMiB());
    return 0;
}
