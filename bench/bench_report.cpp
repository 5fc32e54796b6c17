// Report engine figures: time, pages per second and peak memory of a log-like
// report of 1,000 / 5,000 / 10,000 entries of about nine lines each.
// With --sample OUT.pdf or --summary-sample OUT.pdf it writes a sample report
// instead (used by scripts/render-report-samples.sh to look at the pages).

#include "BenchSupport.h"
#include "report/PrinterDocument.h"
#include "report/PrinterFont.h"
#include "report/PrinterImageItem.h"
#include "report/PrinterItem.h"
#include "report/PrinterTextView.h"

#include <QCryptographicHash>
#include <QDate>
#include <QFile>
#include <QGuiApplication>
#include <QLocale>
#include <QPainter>
#include <cstdio>
#include <ctime>

namespace {

QTextCharFormat style(const char* face, double size, const QColor& color)
{
    return PrinterFont::format(PrinterFont::fontWithName(QString::fromLatin1(face), size), color);
}

std::shared_ptr<PrinterItem> textItem(const PrinterAttributedString& text, double left, double top = 0)
{
    auto item = std::make_shared<PrinterItem>(text);
    item->setLeftMargin(left);
    item->setRightMargin(40);
    item->setTopMargin(top);
    return item;
}

/// The footer every sample page carries: an application line, a small gap, the page line.
std::unique_ptr<PrinterTextView> footer(const QString& title)
{
    PrinterAttributedString text(QStringLiteral("Created with Quillarc"), style("WriteSans-Bold", 6, Qt::gray));
    text.append(QStringLiteral("\n\n"), PrinterFont::format(PrinterFont::systemFont(1)));
    text.append(QStringLiteral("<pageNumber/>/<pageCount/> | %1 | Complete log | %2")
                    .arg(QLocale().toString(QDate(2026, 11, 21), QLocale::ShortFormat), title),
        style("WriteSans-Regular", 6, Qt::gray));
    auto view = std::make_unique<PrinterTextView>(QRectF(72, 0, 554, 40));
    view->setAttributedString(text);
    return view;
}

QString logText(int i)
{
    const QByteArray digest = QCryptographicHash::hash(QByteArray::number(i), QCryptographicHash::Md5).toHex();
    return QStringLiteral("Taken in: 2026-%1-%2 10:%3\nTitle: Invoice %4 for office supplies\n"
                          "File: invoice-%4.pdf (application/pdf)\nSize: %5 bytes\nSlip number: R-%4\n"
                          "Group: Receipts 2026\nFingerprint: %6\nDocument ID: %7")
        .arg(1 + i % 12, 2, 10, QLatin1Char('0'))
        .arg(1 + i % 28, 2, 10, QLatin1Char('0'))
        .arg(i % 60, 2, 10, QLatin1Char('0'))
        .arg(i)
        .arg(1000 + i * 37)
        .arg(QString::fromLatin1(digest), QStringLiteral("%1-4F1C-9A0B-%2").arg(i, 8, 16, QLatin1Char('0')).arg(i));
}

PrinterItemList logItems(int entries, const QStringList& extraEntries = {})
{
    PrinterItemList items;
    items << textItem(
        PrinterAttributedString(QStringLiteral("Complete log"), style("WriteSans-Bold", 23, Qt::black)), 72);
    items << textItem(
        PrinterAttributedString(QStringLiteral("Jan 3, 2026 - Nov 21, 2026"), style("WriteSans-Regular", 17, Qt::gray)),
        116, 3);
    items << textItem(
        PrinterAttributedString(QStringLiteral("Business records 2026"), style("WriteSans-Bold", 11, Qt::black)), 116,
        36);
    items << textItem(PrinterAttributedString(QStringLiteral("Database created: Jan 3, 2026\nDatabase state: valid"),
                          style("WriteSans-Regular", 11, Qt::gray)),
        116, 36);
    items << textItem(
        PrinterAttributedString(QStringLiteral("Every file was fingerprinted when it was taken in; the fingerprints "
                                               "and this log show that no record was changed, replaced or removed."),
            style("WriteSans-Regular", 11, Qt::gray)),
        116, 36);
    auto heading
        = textItem(PrinterAttributedString(QStringLiteral("Complete log"), style("WriteSans-Bold", 9, Qt::black)), 72);
    heading->setPageBreakBefore(true);
    heading->setBottomMargin(40);
    items << heading;
    const QTextCharFormat entry = style("WriteSans-Regular", 8, Qt::black);
    for (int i = 0; i < entries + extraEntries.size(); ++i) {
        const bool corrupted = i % 97 == 13;
        QString text = (corrupted ? QStringLiteral("✗\tCorrupted") : QStringLiteral("✓\tValid")) + u'\n';
        text += i < extraEntries.size() ? extraEntries[i] : logText(i);
        items << textItem(PrinterAttributedString(text, entry), 72);
    }
    return items;
}

int writeSample(const QString& path, bool summary)
{
    PrinterItemList items;
    QString title;
    if (summary) {
        title = QStringLiteral("Receipts 2026");
        items << textItem(
            PrinterAttributedString(title, PrinterFont::format(PrinterFont::systemFont(17, true), Qt::black)), 72);
        items << textItem(PrinterAttributedString(QStringLiteral("All receipts of the office, paid by card or cash."),
                              PrinterFont::format(PrinterFont::systemFont(15), Qt::darkGray)),
            116, 23);
        auto totals = textItem(PrinterAttributedString(QStringLiteral("24 Files, Jan 3, 2026 - Nov 20, 2026"),
                                   PrinterFont::format(PrinterFont::systemFont(11, true), Qt::gray)),
            116, 6);
        totals->setBottomMargin(46);
        items << totals;
        const QTextCharFormat line = PrinterFont::format(PrinterFont::systemFont(8), Qt::black);
        for (int i = 0; i < 24; ++i) {
            QString text = QStringLiteral("R-%1\tJan %2, 2026\tInvoice %1 for office supplies").arg(100 + i).arg(i + 1);
            if (i % 3 == 0)
                text += QStringLiteral("\n\t\t\t\tPaid by card, booked on the cost centre 4711");
            if (i % 4 == 0)
                text += QStringLiteral("\n\t\t\t\toffice, paper, 2026");
            items << textItem(PrinterAttributedString(text, line), 72, 3);
        }
        auto rule = std::make_shared<PrinterItem>();
        rule->setHorizontalLineItem(true);
        rule->setBackgroundColor(Qt::lightGray);
        rule->setLeftMargin(72);
        rule->setRightMargin(40);
        rule->setTopMargin(12);
        items << rule;
        QImage image(160, 60, QImage::Format_RGB32);
        image.fill(QColor(230, 238, 250));
        QPainter painter(&image);
        painter.setPen(QColor(40, 80, 160));
        painter.drawRect(image.rect().adjusted(0, 0, -1, -1));
        painter.drawLine(0, 0, 159, 59);
        painter.end();
        auto picture = std::make_shared<PrinterImageItem>(image);
        picture->setLeftMargin(72);
        picture->setTopMargin(12);
        items << picture;
    } else {
        title = QStringLiteral("Business records 2026");
        const QStringList special = {
            QStringLiteral("Tabs:\tone\ttwo\tthree\nRight to left: \u05E9\u05DC\u05D5\u05DD \u05E2\u05D5\u05DC\u05DD "
                           "\u0645\u0631\u062D\u0628\u0627 (Hebrew, Arabic)\nCJK: \u6587\u4EF6\u5F52\u6863 "
                           "\u66F8\u985E"),
        };
        items = logItems(180, special);
    }
    PrinterDocument report(items, 0);
    report.setTopMargin(72);
    report.setBottomMargin(60);
    report.setFooterView(footer(title));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(report.plainPDFDocument()) < 0) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return 1;
    }
    std::printf("%s: %zu pages\n", qPrintable(path), report.pages().size());
    return 0;
}

double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

struct Run
{
    double cpuS = 0;
    double layoutMs = 0;
    double writeMs = 0;
    size_t pages = 0;
    qsizetype bytes = 0;
};

Run runOnce(int entries)
{
    const PrinterItemList items = logItems(entries);
    QElapsedTimer timer;
    timer.start();
    const double cpuStart = cpuSeconds();
    PrinterDocument report(items, 0);
    report.setTopMargin(72);
    report.setBottomMargin(60);
    report.setFooterView(footer(QStringLiteral("Business records 2026")));
    report.layout();
    Run run;
    run.layoutMs = bench::elapsedMs(timer);
    timer.restart();
    run.bytes = report.plainPDFDocument().size();
    run.writeMs = bench::elapsedMs(timer);
    run.cpuS = cpuSeconds() - cpuStart;
    run.pages = report.pages().size();
    return run;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() == 3
        && (arguments[1] == QLatin1String("--sample") || arguments[1] == QLatin1String("--summary-sample")))
        return writeSample(arguments[2], arguments[1] == QLatin1String("--summary-sample"));

    std::printf("%-8s %6s %10s %10s %10s %8s %10s %10s %9s\n", "entries", "pages", "layout s", "pdf s", "total s",
        "cpu s", "pages/s", "MiB pdf", "peak MiB");
    QList<int> sizes { 1000, 5000, 10000 };
    if (arguments.size() == 3 && arguments[1] == QLatin1String("--entries"))
        sizes = { arguments[2].toInt() };
    for (int entries : sizes) {
        QList<double> totals;
        QList<double> cpu;
        Run run;
        const int repeats = entries <= 1000 ? 3 : 1;
        for (int r = 0; r < repeats; ++r) {
            run = runOnce(entries);
            totals << (run.layoutMs + run.writeMs) / 1000.0;
            cpu << run.cpuS;
        }
        const double total = bench::median(totals);
        std::printf("%-8d %6zu %10.2f %10.2f %10.2f %8.2f %10.0f %10.1f %9.0f\n", entries, run.pages,
            run.layoutMs / 1000.0, run.writeMs / 1000.0, total, bench::median(cpu), double(run.pages) / total,
            double(run.bytes) / (1024.0 * 1024.0), bench::peakRssMiB());
    }
    return 0;
}
