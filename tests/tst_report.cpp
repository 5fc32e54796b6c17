#include "PdfPages.h"
#include "report/PrinterDocument.h"
#include "report/PrinterFont.h"
#include "report/PrinterImageItem.h"
#include "report/PrinterItem.h"
#include "report/PrinterProgress.h"
#include "report/PrinterTextView.h"

#include <QImage>
#include <QRegularExpression>
#include <QTest>
#include <QThread>
#include <memory>
#include <poppler-qt6.h>

namespace {

std::shared_ptr<PrinterItem> textItem(const QString& text, double size = 10, double top = 0)
{
    auto item = std::make_shared<PrinterItem>(PrinterAttributedString(
        text, PrinterFont::format(PrinterFont::fontWithName(QStringLiteral("WriteSans-Regular"), size), Qt::black)));
    item->setLeftMargin(72);
    item->setRightMargin(40);
    item->setTopMargin(top);
    return item;
}

std::shared_ptr<PrinterItem> rule(double top)
{
    auto item = std::make_shared<PrinterItem>();
    item->setHorizontalLineItem(true);
    item->setBackgroundColor(Qt::black);
    item->setTopMargin(top);
    return item;
}

std::shared_ptr<PrinterImageItem> imageItem(int height, double top = 0)
{
    QImage image(40, height, QImage::Format_RGB32);
    image.fill(Qt::darkBlue);
    auto item = std::make_shared<PrinterImageItem>(image);
    item->setLeftMargin(72);
    item->setTopMargin(top);
    return item;
}

/// One text item per page: "<prefix> 1", "<prefix> 2", ...
PrinterItemList onePerPage(const QString& prefix, int count)
{
    PrinterItemList items;
    for (int i = 1; i <= count; ++i) {
        items << textItem(QStringLiteral("%1 %2").arg(prefix).arg(i));
        items.last()->setPageBreakBefore(i > 1);
    }
    return items;
}

std::unique_ptr<PrinterTextView> footer(const QString& text)
{
    auto view = std::make_unique<PrinterTextView>(QRectF(72, 0, 554, 40));
    view->setAttributedString(PrinterAttributedString(text, PrinterFont::format(PrinterFont::systemFont(8))));
    return view;
}

std::unique_ptr<PrinterDocument> report(const PrinterItemList& items, int paperSize = 0)
{
    auto document = std::make_unique<PrinterDocument>(items, paperSize);
    document->setTopMargin(72);
    document->setBottomMargin(60);
    return document;
}

std::unique_ptr<Poppler::Document> load(const QByteArray& pdf)
{
    std::unique_ptr<Poppler::Document> document = Poppler::Document::loadFromData(pdf);
    if (!document || document->isLocked())
        return nullptr;
    return document;
}

/// Top edges of the item views on a page without header and footer.
QList<double> itemTops(const PrinterPage& page)
{
    QList<double> tops;
    for (const std::unique_ptr<PrinterView>& view : page.view()->subviews())
        tops << view->frame().top();
    return tops;
}

} // namespace

class TestReport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void paperSizes_data()
    {
        QTest::addColumn<int>("paperSize");
        QTest::addColumn<QSizeF>("points");
        // clang-format off
        QTest::newRow("A4")              << 0  << QSizeF(595, 842);
        QTest::newRow("Letter")          << 1  << QSizeF(612, 792);
        QTest::newRow("any other value") << -3 << QSizeF(612, 792);
        // clang-format on
    }
    void paperSizes()
    {
        QFETCH(int, paperSize);
        QFETCH(QSizeF, points);
        std::unique_ptr<Poppler::Document> pdf
            = load(report(onePerPage(QStringLiteral("Page"), 2), paperSize)->plainPDFDocument());
        QVERIFY(pdf);
        QCOMPARE(pdf->numPages(), 2);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(pdf->page(i)->pageSizeF(), points);
    }

    // Text stays real text in embedded fonts; every page has copies of the header and footer at their frames,
    // the footer's page variables filled in.
    void headerFooterAndFontsOnEveryPage()
    {
        auto document = report(onePerPage(QStringLiteral("Invoice 4711 for office chairs"), 7));
        auto header = std::make_unique<PrinterTextView>(QRectF(72, 20, 300, 30));
        header->setAttributedString(PrinterAttributedString(QStringLiteral("Header")));
        document->setHeaderView(std::move(header));
        document->setFooterView(footer(QStringLiteral("<pageNumber/>/<pageCount/> | Created with Quillarc")));
        const QByteArray pdf = document->plainPDFDocument();
        const QStringList texts = pageTexts(pdf);
        QCOMPARE(texts.size(), 7);
        for (int i = 1; i <= 7; ++i) {
            const QString& text = texts[i - 1];
            QVERIFY2(text.contains(QStringLiteral("%1/7 | Created with Quillarc").arg(i)), qPrintable(text));
            QVERIFY(text.contains(QStringLiteral("Invoice 4711 for office chairs %1").arg(i)));
            QVERIFY(text.contains(QLatin1String("Header")) && !text.contains(QLatin1String("<pageNumber/>")));
        }
        // The template keeps its tags; only the page copies are filled in.
        QVERIFY(static_cast<const PrinterTextView*>(document->footerView())
                    ->string()
                    .contains(QLatin1String("<pageNumber/>")));
        const PrinterPage& page = *document->pages().at(2);
        QCOMPARE(page.headerView()->frame(), QRectF(72, 20, 300, 30));
        QCOMPARE(page.footerView()->frame(), QRectF(72, 842 - 40, 554, 40));
        QVERIFY(page.headerView() != document->headerView());
        // One page on its own as a PDF.
        QCOMPARE(pageTexts(page.pdfPage()), QStringList { texts[2] });

        const QList<Poppler::FontInfo> fonts = load(pdf)->fonts();
        QVERIFY(!fonts.isEmpty());
        for (const Poppler::FontInfo& font : fonts) {
            QVERIFY2(font.isEmbedded(), qPrintable(font.name()));
            QVERIFY2(font.name().contains(QLatin1String("DejaVu")), qPrintable(font.name()));
        }
    }

    void pageBreakBeforeIsHonouredOnce()
    {
        auto first = textItem(QStringLiteral("Cover"));
        auto second = textItem(QStringLiteral("Entries"));
        first->setPageBreakBefore(true);
        second->setPageBreakBefore(true);
        auto document = report({ first, second });
        document->setFooterView(footer(QStringLiteral("Footer")));
        const QStringList texts = pageTexts(document->plainPDFDocument());
        // A break on the very first item leaves a page with only the footer.
        QCOMPARE(texts.size(), 3);
        QCOMPARE(texts[0].trimmed(), QStringLiteral("Footer"));
        QVERIFY(texts[1].contains(QLatin1String("Cover")));
        QVERIFY(texts[2].contains(QLatin1String("Entries")));
        QVERIFY(!first->pageBreakBefore());
        QVERIFY(!second->pageBreakBefore());
        // The flags are consumed: the same items laid out again share one page.
        auto again = report({ first, second });
        again->layout();
        QCOMPARE(again->pages().size(), size_t(1));
    }

    void placementIsFloored_data()
    {
        QTest::addColumn<double>("pageTop");
        QTest::addColumn<double>("itemTop");
        QTest::addColumn<QList<double>>("tops");
        // clang-format off
        QTest::newRow("whole")                << 72.0 << 2.0 << QList<double> { 74, 77, 80, 83 };
        QTest::newRow("fractions accumulate") << 72.7 << 0.4 << QList<double> { 73, 74, 75, 77 };
        QTest::newRow("no margin")            << 10.5 << 0.0 << QList<double> { 10, 11, 12, 13 };
        // clang-format on
    }
    void placementIsFloored()
    {
        QFETCH(double, pageTop);
        QFETCH(double, itemTop);
        QFETCH(QList<double>, tops);
        PrinterDocument document({ rule(itemTop), rule(itemTop), rule(itemTop), rule(itemTop) }, 0);
        document.setTopMargin(pageTop);
        document.layout();
        QCOMPARE(document.pages().size(), size_t(1));
        QCOMPARE(itemTops(*document.pages()[0]), tops);
    }

    void blockHeights()
    {
        auto text = textItem(QStringLiteral("One\nTwo\nThree"), 10);
        text->setBottomMargin(40);
        text->setVerticalInset(7);
        const std::unique_ptr<PrinterView> textView = text->viewForWidth(595);
        const auto* view = dynamic_cast<PrinterTextView*>(textView.get());
        QVERIFY(view);
        QCOMPARE(view->frame().height(), view->usedHeight() + 40);
        QVERIFY(view->usedHeight() > 3 * 10 && view->usedHeight() < 3 * 14);
        QCOMPARE(view->frame().width(), 595.0 - 112);
        QCOMPARE(rule(0)->viewForWidth(595)->frame().height(), 1.0);
        QCOMPARE(imageItem(123)->viewForWidth(595)->frame().height(), 123.0);
    }

    void fitTestAgainstBottomMargin_data()
    {
        QTest::addColumn<double>("ruleTop");
        QTest::addColumn<int>("pages");
        // The image ends at 72 + 700 = 772; the page's limit is 842 - 60 = 782.
        // clang-format off
        QTest::newRow("ends exactly at the limit") << 9.0  << 1;
        QTest::newRow("one point more")            << 10.0 << 2;
        QTest::newRow("floored back inside")       << 9.9  << 1;
        // clang-format on
    }
    void fitTestAgainstBottomMargin()
    {
        QFETCH(double, ruleTop);
        QFETCH(int, pages);
        auto document = report({ imageItem(700), rule(ruleTop) });
        document->layout();
        QCOMPARE(int(document->pages().size()), pages);
    }

    // Line-separated text and one long wrapped paragraph (a very long title) are sliced across pages.
    void overTallTextContinuesOnFollowingPages_data()
    {
        QTest::addColumn<QString>("separator");
        QTest::addColumn<int>("words");
        QTest::addColumn<double>("size");
        QTest::addColumn<int>("minimumPages");
        // clang-format off
        QTest::newRow("400 lines")        << "\n" << 400  << 12.0 << 7;
        QTest::newRow("10000 characters") << " "  << 1112 << 17.0 << 6;
        // clang-format on
    }
    void overTallTextContinuesOnFollowingPages()
    {
        QFETCH(QString, separator);
        QFETCH(int, words);
        QFETCH(double, size);
        QFETCH(int, minimumPages);
        QStringList lines;
        for (int i = 0; i < words; ++i)
            lines << QStringLiteral("Word%1").arg(i, 4, 10, QLatin1Char('0'));
        auto document = report({ textItem(QStringLiteral("Before")), textItem(lines.join(separator), size, 30),
            textItem(QStringLiteral("After")) });
        const QStringList texts = pageTexts(document->plainPDFDocument());
        QVERIFY2(texts.size() >= minimumPages, qPrintable(QString::number(texts.size())));
        // Every word appears exactly once: nothing lost, nothing repeated at page ends.
        const QString all = texts.join(u'\n');
        for (const QString& line : std::as_const(lines))
            QVERIFY2(all.count(line) == 1, qPrintable(line));
        QVERIFY(texts.first().contains(QLatin1String("Before")));
        QVERIFY(texts.last().contains(QLatin1String("After")));
        // No slice reaches below the page's limit.
        for (const std::unique_ptr<PrinterPage>& page : document->pages()) {
            for (const std::unique_ptr<PrinterView>& view : page->view()->subviews())
                QVERIFY(view->frame().bottom() <= 842 - 60);
        }
    }

    void overTallImageAndImpossibleMarginsEnd()
    {
        auto image = report({ imageItem(2000) });
        image->layout();
        QCOMPARE(image->pages().size(), size_t(1));
        QCOMPARE(image->pages()[0]->view()->subviews().at(0)->frame().height(), 842.0 - 60 - 72);

        // No room at all below the top margin: the items are left out, the builder still ends.
        auto cramped = report({ textItem(QStringLiteral("A")), rule(0), imageItem(10) });
        cramped->setTopMargin(800);
        const QByteArray pdf = cramped->plainPDFDocument();
        QVERIFY(cramped->pages().size() <= 3);
        QVERIFY(load(pdf));
    }

    void unbreakableTextWraps()
    {
        auto document = report({ textItem(QString(3000, u'X'), 17) });
        document->layout();
        QVERIFY(!document->pages().empty());
        const QRectF frame = document->pages()[0]->view()->subviews().at(0)->frame();
        QVERIFY(frame.right() <= 595 - 40);
    }

    void difficultTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("tabs")          << "A\tB\t\t\tC"               << "C";
        QTest::newRow("line breaks")   << "one\r\ntwo\rthree\n\nfour" << "four";
        QTest::newRow("right to left") << "Note: שלום مرحبا"          << "Note:";
        QTest::newRow("CJK")           << "Archive 文件归档"              << "Archive";
        QTest::newRow("empty")         << QString()                   << QString();
        // clang-format on
    }
    void difficultTexts()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        auto document = report({ textItem(text) });
        const QStringList texts = pageTexts(document->plainPDFDocument());
        QCOMPARE(texts.size(), 1);
        QVERIFY2(texts[0].contains(expected), qPrintable(texts[0]));
    }

    void noItemsGiveNoPages()
    {
        auto document = report({});
        document->setFooterView(footer(QStringLiteral("<pageNumber/>/<pageCount/>")));
        const QByteArray pdf = document->plainPDFDocument();
        QVERIFY(document->pages().empty());
        QVERIFY(load(pdf) && load(pdf)->numPages() == 0);
    }

    void progressOnTheMainThread()
    {
        std::shared_ptr<PrinterDocument> document = report(onePerPage(QStringLiteral("Page"), 5));
        PrinterProgress progress;
        progress.setProgress(0.5);
        QList<double> values;
        bool onMainThread = true;
        connect(&progress, &PrinterProgress::progressChanged, this, [&](double value) {
            values << value;
            onMainThread = onMainThread && QThread::currentThread() == thread();
        });
        QByteArray pdf;
        PrinterDocument::pdfDocumentInBackground(
            document, &progress, this, [&](const QByteArray& result) { pdf = result; });
        QTRY_VERIFY_WITH_TIMEOUT(!pdf.isEmpty(), 30000);
        QVERIFY(onMainThread);
        QCOMPARE(values.size(), 5);
        for (qsizetype i = 0; i < values.size(); ++i)
            QVERIFY(qAbs(values[i] - (0.5 + 0.1 * double(i + 1))) < 1e-9);
        QCOMPARE(progress.progress(), 1.0);
        QCOMPARE(pageTexts(pdf).size(), 5);
    }
};

QTEST_MAIN(TestReport)
#include "tst_report.moc"
