// Times text recognition of an A4 page scanned at 300 dpi, accurate and fast,
// beside the tesseract command-line program on the same image in the same run,
// and text extraction of a 100-page PDF. Prints medians; never fails.
//
//   bench_extraction [--runs N]
#include "BenchSupport.h"
#include "intake/ContentExtractor.h"
#include "intake/TextRecognizer.h"

#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <ctime>

namespace {

/// CPU milliseconds of this process (all its threads); steadier than wall time
/// on a busy machine.
double cpuMs()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

/// CPU milliseconds of the waited-for child processes so far.
double childCpuMs()
{
    rusage usage {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return (double(usage.ru_utime.tv_sec) + double(usage.ru_stime.tv_sec)) * 1e3
        + (double(usage.ru_utime.tv_usec) + double(usage.ru_stime.tv_usec)) / 1e3;
}

const QString kParagraph = QStringLiteral(
    "Invoice 2021-0745 of 24 September 2021. For the delivery of office furniture, assembly and disposal of "
    "packaging we charge the following amounts. Payment is due within thirty days without deduction; please "
    "quote the invoice number with every transfer. Goods remain our property until paid in full. ");

QImage scannedPage()
{
    QImage page(2480, 3508, QImage::Format_RGB32); // A4 at 300 dpi
    page.fill(Qt::white);
    page.setDotsPerMeterX(11811);
    page.setDotsPerMeterY(11811);
    QPainter painter(&page);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(42); // about 10 pt at 300 dpi
    painter.setFont(font);
    painter.setPen(Qt::black);
    QFont heading = font;
    heading.setPixelSize(80);
    heading.setBold(true);
    painter.setFont(heading);
    painter.drawText(QRect(236, 236, 2008, 120), Qt::AlignLeft, QStringLiteral("Invoice 2021-0745"));
    painter.setFont(font);
    QString body;
    for (int i = 0; i < 9; ++i)
        body += kParagraph + QLatin1String("\n\n");
    painter.drawText(QRect(236, 420, 2008, 2850), Qt::TextWordWrap, body);
    return page;
}

QStringList words(const QString& text)
{
    static const QRegularExpression separators(QStringLiteral("[^\\w]+"));
    return text.split(separators, Qt::SkipEmptyParts);
}

/// Share of the words on the page that the recognised text holds (as a bag of words).
double wordRecall(const QString& recognised, const QStringList& truth)
{
    QHash<QString, int> bag;
    for (const QString& word : words(recognised))
        ++bag[word];
    int found = 0;
    for (const QString& word : truth) {
        if (bag.value(word) > 0) {
            --bag[word];
            ++found;
        }
    }
    return truth.isEmpty() ? 0 : 100.0 * found / truth.size();
}

bool writeTextPdf(const QString& path, int pages)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter(&writer);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            writer.newPage();
        painter.drawText(QRectF(56, 56, 483, 730), Qt::TextWordWrap,
            QStringLiteral("Page %1\n\n").arg(page + 1) + kParagraph.repeated(8));
    }
    return painter.end();
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    int runs = 3;
    const QStringList arguments = app.arguments();
    if (const qsizetype at = arguments.indexOf(QStringLiteral("--runs")); at >= 0 && at + 1 < arguments.size())
        runs = qMax(1, arguments.at(at + 1).toInt());

    QTemporaryDir dir;
    const QString pagePath = dir.filePath(QStringLiteral("page.png"));
    const QImage page = scannedPage();
    page.save(pagePath);
    QStringList truth = words(QStringLiteral("Invoice 2021-0745\n"));
    for (int i = 0; i < 9; ++i)
        truth += words(kParagraph);

    std::printf("Text recognition, A4 page at 300 dpi (%dx%d), %d runs, medians\n", page.width(), page.height(), runs);
    std::printf("  OMP_THREAD_LIMIT=%s\n",
        qEnvironmentVariableIsSet("OMP_THREAD_LIMIT") ? qgetenv("OMP_THREAD_LIMIT").constData() : "(unset)");
    for (const bool accurate : { true, false }) {
        ExtractionOptions options;
        options.ocrLanguageKind = 1;
        options.ocrPrioritiseAccuracy = accurate;
        QElapsedTimer timer;
        timer.start();
        QString text = TextRecognizer::textForImage(page, options); // includes loading the language
        const double first = bench::elapsedMs(timer);
        QList<double> times;
        QList<double> cpu;
        for (int run = 0; run < runs; ++run) {
            timer.restart();
            const double cpuStart = cpuMs();
            text = TextRecognizer::textForImage(page, options);
            times.append(bench::elapsedMs(timer));
            cpu.append(cpuMs() - cpuStart);
        }
        std::printf("  %-9s %7.0f ms/page wall, %7.0f ms CPU (first call %5.0f ms wall), words found %5.1f %%\n",
            accurate ? "accurate" : "fast", bench::median(times), bench::median(cpu), first, wordRecall(text, truth));
    }

    const QString tesseract = QStandardPaths::findExecutable(QStringLiteral("tesseract"));
    if (tesseract.isEmpty()) {
        std::printf("  tesseract command-line program not found\n");
    } else {
        const QStringList cliArguments { pagePath, dir.filePath(QStringLiteral("cli")), QStringLiteral("-l"),
            QStringLiteral("eng") };
        QList<double> times;
        QList<double> cpu;
        for (int run = 0; run < runs; ++run) {
            const double cpuStart = childCpuMs();
            times.append(bench::timeCommandMs(tesseract, cliArguments));
            cpu.append(childCpuMs() - cpuStart);
        }
        QFile out(dir.filePath(QStringLiteral("cli.txt")));
        const QString cliText = out.open(QIODevice::ReadOnly) ? QString::fromUtf8(out.readAll()) : QString();
        std::printf("  %-9s %7.0f ms/page wall, %7.0f ms CPU (whole process), words found %5.1f %%\n", "tesseract",
            bench::median(times), bench::median(cpu), wordRecall(cliText, truth));
    }

    const QString pdfPath = dir.filePath(QStringLiteral("hundred.pdf"));
    if (!writeTextPdf(pdfPath, 100)) {
        std::printf("could not write the 100-page PDF\n");
        return 0;
    }
    QList<double> times;
    QList<double> cpu;
    qsizetype characters = 0;
    for (int run = 0; run < qMax(runs, 5); ++run) {
        QElapsedTimer timer;
        timer.start();
        const double cpuStart = cpuMs();
        characters = contenStringFromURL(pdfPath, QStringLiteral("pdf"), {}).size();
        times.append(bench::elapsedMs(timer));
        cpu.append(cpuMs() - cpuStart);
    }
    std::printf("PDF text layer, 100 pages: %.0f ms wall, %.0f ms CPU (median of %lld), %lld characters, "
                "target under 500 ms\n",
        bench::median(times), bench::median(cpu), qlonglong(times.size()), qlonglong(characters));
    return 0;
}
