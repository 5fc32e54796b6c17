// Times text recognition of an A4 page scanned at 300 dpi and text extraction
// of a 100-page PDF. Prints medians; never fails.
//
//   threads:     one recognition per child process with 1, 2 and the OpenMP
//                runtime's own number of threads, and with Quillarc's limit;
//                idle and with one core kept busy
//   language:    the default languages (German and English) accurate and fast,
//                beside the tesseract program with -l deu+eng on the same image
//   orientation: the page upright and turned by 90, 180 and 270 degrees, and
//                the cost of orientation detection alone
//   pdf:         the text layer of a 100-page PDF
//
//   bench_extraction [--runs N] [--section threads|language|orientation|pdf]
#include "BenchSupport.h"
#include "intake/ContentExtractor.h"
#include "intake/PageOrientation.h"
#include "intake/RecognitionThreads.h"
#include "intake/TextRecognizer.h"

#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTransform>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace {

/// CPU milliseconds of this process (all its threads, spinning ones included).
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
const QString kAbsatz = QStringLiteral(
    "Rechnung über Hängeschränke in Übergröße, Größe 80 cm, Übergabe am Montag. Die Gebühr für die Lieferung "
    "beträgt zwölf Euro; bitte überweisen Sie den Betrag binnen dreißig Tagen ohne Abzug. ");

QString pageBody()
{
    QString body;
    for (int i = 0; i < 9; ++i)
        body += (i % 3 == 1 ? kAbsatz : kParagraph) + QLatin1String("\n\n");
    return body;
}

/// A4 at 300 dpi: a heading and nine paragraphs of 10 pt text, English and German.
QImage scannedPage()
{
    QImage page(2480, 3508, QImage::Format_RGB32);
    page.fill(Qt::white);
    page.setDotsPerMeterX(11811);
    page.setDotsPerMeterY(11811);
    QPainter painter(&page);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(42);
    QFont heading = font;
    heading.setPixelSize(80);
    heading.setBold(true);
    painter.setPen(Qt::black);
    painter.setFont(heading);
    painter.drawText(QRect(236, 236, 2008, 120), Qt::AlignLeft, QStringLiteral("Invoice 2021-0745"));
    painter.setFont(font);
    painter.drawText(QRect(236, 420, 2008, 2850), Qt::TextWordWrap, pageBody());
    return page;
}

QStringList words(const QString& text)
{
    static const QRegularExpression separators(
        QStringLiteral("[^\\w]+"), QRegularExpression::UseUnicodePropertiesOption);
    return text.split(separators, Qt::SkipEmptyParts);
}

/// Share of the words on the page that the recognised text holds (as a bag of words).
double wordRecall(const QString& recognised)
{
    static const QStringList truth = words(QStringLiteral("Invoice 2021-0745\n") + pageBody());
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

struct Figures
{
    double wallMs = 0;
    double cpuMs = 0;
    double firstMs = 0;
    double recall = 0;
};

/// Medians of runs recognitions of image after one untimed call (which loads the languages).
Figures timeRecognition(const QImage& image, const ExtractionOptions& options, int runs)
{
    Figures figures;
    QElapsedTimer timer;
    timer.start();
    QString text = TextRecognizer::textForImage(image, options);
    figures.firstMs = bench::elapsedMs(timer);
    QList<double> wall;
    QList<double> cpu;
    for (int run = 0; run < runs; ++run) {
        timer.restart();
        const double cpuStart = cpuMs();
        text = TextRecognizer::textForImage(image, options);
        wall.append(bench::elapsedMs(timer));
        cpu.append(cpuMs() - cpuStart);
    }
    figures.wallMs = bench::median(wall);
    figures.cpuMs = bench::median(cpu);
    figures.recall = wordRecall(text);
    return figures;
}

void printRow(const char* label, const Figures& figures, double baseCpu = 0)
{
    std::printf("  %-34s %6.0f ms wall %6.0f ms CPU", label, figures.wallMs, figures.cpuMs);
    if (baseCpu > 0)
        std::printf("  CPU x%.2f", figures.cpuMs / baseCpu);
    std::printf("  words %5.1f %%\n", figures.recall);
}

double loadAverage()
{
    double load[1] = { 0 };
    return getloadavg(load, 1) == 1 ? load[0] : -1;
}

/// Child mode: recognises the page with the given limit and prints "wall cpu recall".
int recogniseInChild(const QString& pagePath, int limit, int runs)
{
    RecognitionThreads::setLimit(limit);
    const Figures figures = timeRecognition(QImage(pagePath), {}, runs);
    std::printf("%.1f %.1f %.1f\n", figures.wallMs, figures.cpuMs, figures.recall);
    return 0;
}

/// One recognition setting measured in a fresh process, so that OMP_THREAD_LIMIT
/// (read once when the OpenMP runtime starts) can pin the thread count.
Figures measureChild(const QString& pagePath, int limit, const QByteArray& threadLimit, int runs)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("OMP_THREAD_LIMIT"));
    if (!threadLimit.isEmpty())
        environment.insert(QStringLiteral("OMP_THREAD_LIMIT"), QString::fromLatin1(threadLimit));
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(),
        { QStringLiteral("--child"), pagePath, QString::number(limit), QString::number(runs) });
    Figures figures;
    if (!child.waitForFinished(-1))
        return figures;
    const QStringList values = QString::fromLatin1(child.readAllStandardOutput()).split(u' ');
    if (values.size() == 3)
        figures = { values.at(0).toDouble(), values.at(1).toDouble(), 0, values.at(2).toDouble() };
    return figures;
}

void benchThreads(const QString& pagePath, int runs)
{
    std::printf("Threads per recognition (each setting in a fresh process, %d CPUs, Quillarc's limit %d)\n",
        QThread::idealThreadCount(), RecognitionThreads::limit());
    for (const bool busy : { false, true }) {
        std::atomic<bool> stop { false };
        std::thread spinner;
        if (busy) {
            spinner = std::thread([&stop] {
                volatile unsigned long spins = 0;
                while (!stop.load(std::memory_order_relaxed))
                    spins = spins + 1;
            });
        }
        std::printf(" %s (load average %.2f):\n", busy ? "one core kept busy" : "no extra load", loadAverage());
        const Figures one = measureChild(pagePath, 0, "1", runs);
        printRow("1 thread", one);
        printRow("2 threads", measureChild(pagePath, 0, "2", runs), one.cpuMs);
        printRow("runtime default (4 per region)", measureChild(pagePath, 0, {}, runs), one.cpuMs);
        printRow("Quillarc's limit", measureChild(pagePath, -1, {}, runs), one.cpuMs);
        stop = true;
        if (spinner.joinable())
            spinner.join();
    }
}

void benchLanguage(const QImage& page, const QString& pagePath, int runs)
{
    std::printf("Default languages (deu+eng), A4 page at 300 dpi, %d runs, medians\n", runs);
    ExtractionOptions options;
    const Figures accurate = timeRecognition(page, options, runs);
    printRow("Quillarc accurate", accurate);
    std::printf("    (first call, loading the languages: %.0f ms wall)\n", accurate.firstMs);
    options.ocrPrioritiseAccuracy = false;
    printRow("Quillarc fast", timeRecognition(page, options, runs), accurate.cpuMs);
    options = ExtractionOptions();
    options.ocrLanguageKind = 1;
    printRow("Quillarc English only (kind 1)", timeRecognition(page, options, runs), accurate.cpuMs);

    const QString tesseract = QStandardPaths::findExecutable(QStringLiteral("tesseract"));
    if (tesseract.isEmpty()) {
        std::printf("  tesseract program not found\n");
        return;
    }
    QTemporaryDir dir;
    const QString outBase = dir.filePath(QStringLiteral("cli"));
    for (const QByteArray& threadLimit : { QByteArray(), QByteArray("1") }) {
        // The program as installed, then pinned to one thread like Quillarc on two cores.
        if (threadLimit.isEmpty())
            qunsetenv("OMP_THREAD_LIMIT");
        else
            qputenv("OMP_THREAD_LIMIT", threadLimit);
        QList<double> wall;
        QList<double> cpu;
        for (int run = 0; run < runs; ++run) {
            const double cpuStart = childCpuMs();
            wall.append(bench::timeCommandMs(
                tesseract, { pagePath, outBase, QStringLiteral("-l"), QStringLiteral("deu+eng") }));
            cpu.append(childCpuMs() - cpuStart);
        }
        QFile out(outBase + QLatin1String(".txt"));
        const QString text = out.open(QIODevice::ReadOnly) ? QString::fromUtf8(out.readAll()) : QString();
        const Figures figures { bench::median(wall), bench::median(cpu), 0, wordRecall(text) };
        printRow(threadLimit.isEmpty() ? "tesseract -l deu+eng (whole run)" : "  same, OMP_THREAD_LIMIT=1", figures,
            accurate.cpuMs);
    }
    qunsetenv("OMP_THREAD_LIMIT");
}

void benchOrientation(const QImage& page, int runs)
{
    std::printf("Turned pages, default languages, %d runs, medians (CPU relative to upright)\n", runs);
    Figures upright;
    for (const int turn : { 0, 90, 180, 270 }) {
        const QImage turned = turn == 0 ? page : page.transformed(QTransform().rotate(turn));
        const Figures figures = timeRecognition(turned, {}, runs);
        if (turn == 0)
            upright = figures;
        const QByteArray label = turn == 0 ? QByteArray("upright") : "turned " + QByteArray::number(turn);
        printRow(label.constData(), figures, turn == 0 ? 0 : upright.cpuMs);
    }
    const QImage grey = page.convertToFormat(QImage::Format_Grayscale8);
    PageOrientation::clockwiseTurn(grey, 300); // loads the orientation data
    QList<double> wall;
    QList<double> cpu;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        const double cpuStart = cpuMs();
        PageOrientation::clockwiseTurn(grey, 300);
        wall.append(bench::elapsedMs(timer));
        cpu.append(cpuMs() - cpuStart);
    }
    std::printf("  %-34s %6.0f ms wall %6.0f ms CPU  CPU x%.2f of an upright pass\n", "orientation detection alone",
        bench::median(wall), bench::median(cpu), bench::median(cpu) / upright.cpuMs);
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

void benchPdf(int runs)
{
    QTemporaryDir dir;
    const QString pdfPath = dir.filePath(QStringLiteral("hundred.pdf"));
    if (!writeTextPdf(pdfPath, 100)) {
        std::printf("could not write the 100-page PDF\n");
        return;
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
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    // Each figure shows as soon as it is measured; a loaded machine makes this slow.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const QStringList arguments = app.arguments();
    if (arguments.size() == 5 && arguments.at(1) == QLatin1String("--child"))
        return recogniseInChild(arguments.at(2), arguments.at(3).toInt(), arguments.at(4).toInt());
    int runs = 3;
    if (const qsizetype at = arguments.indexOf(QStringLiteral("--runs")); at >= 0 && at + 1 < arguments.size())
        runs = qMax(1, arguments.at(at + 1).toInt());
    QString section;
    if (const qsizetype at = arguments.indexOf(QStringLiteral("--section")); at >= 0 && at + 1 < arguments.size())
        section = arguments.at(at + 1);
    const auto wanted = [&section](const char* name) { return section.isEmpty() || section == QLatin1String(name); };

    QTemporaryDir dir;
    const QString pagePath = dir.filePath(QStringLiteral("page.png"));
    const QImage page = scannedPage();
    page.save(pagePath);
    if (wanted("threads"))
        benchThreads(pagePath, runs);
    if (wanted("language"))
        benchLanguage(page, pagePath, runs);
    if (wanted("orientation"))
        benchOrientation(page, runs);
    if (wanted("pdf"))
        benchPdf(runs);
    return 0;
}
