#include "report/PrinterAttributedString.h"
#include "report/PrinterFont.h"
#include "report/PrinterImageView.h"
#include "report/PrinterTextView.h"

#include <QFontInfo>
#include <QTest>

namespace {

QTextCharFormat format(const char* face, double size, const QColor& color)
{
    return PrinterFont::format(PrinterFont::fontWithName(QString::fromLatin1(face), size), color);
}

} // namespace

class TestReportSubstitution : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void plainValues_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one tag") << "Page <pageNumber/>"
                                 << "<pageNumber/>"
                                 << "3"
                                 << "Page 3";
        QTest::newRow("tag in capitals") << "Page <PAGENUMBER/>"
                                         << "<pageNumber/>"
                                         << "3"
                                         << "Page 3";
        QTest::newRow("every occurrence") << "<n/>, <N/> and <n/>"
                                          << "<n/>"
                                          << "7"
                                          << "7, 7 and 7";
        QTest::newRow("value longer than tag") << "[<n/>]"
                                               << "<n/>"
                                               << "twelve thousand"
                                               << "[twelve thousand]";
        QTest::newRow("empty value") << "a<n/>b"
                                     << "<n/>"
                                     << ""
                                     << "ab";
        QTest::newRow("value holds the tag") << "a <n/> b"
                                             << "<n/>"
                                             << "<N/>!"
                                             << "a Error: Recursion b";
        QTest::newRow("recursion stops at the first") << "<n/> <n/>"
                                                      << "<n/>"
                                                      << "x<n/>"
                                                      << "Error: Recursion <n/>";
        QTest::newRow("unknown tag") << "Page <pageCount/>"
                                     << "<pageNumber/>"
                                     << "3"
                                     << "Page <pageCount/>";
        QTest::newRow("half a tag") << "Page <pageNumber"
                                    << "<pageNumber/>"
                                    << "3"
                                    << "Page <pageNumber";
        QTest::newRow("joined by the value") << "<n<n/>/>"
                                             << "<n/>"
                                             << ""
                                             << "";
    }
    void plainValues()
    {
        QFETCH(QString, text);
        QFETCH(QString, tag);
        QFETCH(QString, value);
        QFETCH(QString, expected);
        PrinterTextView view;
        view.setAttributedString(PrinterAttributedString(text));
        view.replaceText(tag, value);
        QCOMPARE(view.string(), expected);
    }

    void variables_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QVariantHash>("variables");
        QTest::addColumn<QString>("expected");
        const QVariantHash pages { { QStringLiteral("pageNumber"), QStringLiteral("3") },
            { QStringLiteral("pageCount"), QStringLiteral("7") } };
        QTest::newRow("footer line") << "<pageNumber/>/<pageCount/> | Log" << pages << "3/7 | Log";
        QTest::newRow("mixed case") << "<PageNumber/> of <PAGECOUNT/>" << pages << "3 of 7";
        QTest::newRow("no tags") << "plain text" << pages << "plain text";
        QTest::newRow("unknown variable") << "<date/> <pageNumber/>" << pages << "<date/> 3";
        QTest::newRow("other value types are skipped")
            << "<pageNumber/>" << QVariantHash { { QStringLiteral("pageNumber"), 3 } } << "<pageNumber/>";
        QTest::newRow("attributed value") << "#<pageNumber/>"
                                          << QVariantHash { { QStringLiteral("pageNumber"),
                                                 QVariant::fromValue(PrinterAttributedString(QStringLiteral("IV"))) } }
                                          << "#IV";
    }
    void variables()
    {
        QFETCH(QString, text);
        QFETCH(QVariantHash, variables);
        QFETCH(QString, expected);
        PrinterTextView view;
        view.setAttributedString(PrinterAttributedString(text));
        view.substituteVariables(variables);
        QCOMPARE(view.string(), expected);
    }

    void plainValueTakesTheTagsAttributes()
    {
        PrinterAttributedString text(QStringLiteral("Page "), format("WriteSans-Regular", 8, Qt::gray));
        text.append(QStringLiteral("<pageNumber/>"), format("WriteSans-Bold", 20, Qt::red));
        text.append(QStringLiteral(" end"), format("WriteSans-Regular", 8, Qt::gray));
        PrinterTextView view;
        view.setAttributedString(text);
        view.replaceText(QStringLiteral("<pageNumber/>"), QStringLiteral("12"));
        const PrinterAttributedString& result = view.attributedString();
        QCOMPARE(result.string(), QStringLiteral("Page 12 end"));
        QCOMPARE(result.formatAt(5).foreground().color(), QColor(Qt::red));
        QCOMPARE(result.formatAt(6).fontPointSize(), 20.0);
        QCOMPARE(result.formatAt(7).foreground().color(), QColor(Qt::gray));
        QCOMPARE(result.runs().size(), 3);
    }

    void attributedValueTakesTheTemplateLook()
    {
        QTextCharFormat templateFormat = format("WriteSans-Regular", 6, Qt::gray);
        templateFormat.setFontLetterSpacingType(QFont::AbsoluteSpacing);
        templateFormat.setFontLetterSpacing(1.5);
        QTextBlockFormat templateParagraph;
        templateParagraph.setAlignment(Qt::AlignRight);
        PrinterAttributedString text(QStringLiteral("Title: <title/>"), templateFormat, templateParagraph);

        PrinterAttributedString value(QStringLiteral("Bold"), format("OtherFace-Bold", 30, Qt::blue));
        value.append(QStringLiteral("Italic"), format("OtherFace-Italic", 30, Qt::green));
        PrinterTextView view;
        view.setAttributedString(text);
        view.replaceText(QStringLiteral("<title/>"), value);

        const PrinterAttributedString& result = view.attributedString();
        QCOMPARE(result.string(), QStringLiteral("Title: BoldItalic"));
        const QTextCharFormat bold = result.formatAt(7);
        const QTextCharFormat italic = result.formatAt(11);
        for (const QTextCharFormat& run : { bold, italic }) {
            QCOMPARE(run.foreground().color(), QColor(Qt::gray));
            QCOMPARE(run.fontFamilies().toStringList().value(0), QStringLiteral("WriteSans"));
            QCOMPARE(run.fontPointSize(), 6.0);
            QCOMPARE(run.fontLetterSpacing(), 1.5);
        }
        QVERIFY(bold.fontWeight() >= QFont::Bold);
        QVERIFY(!bold.fontItalic());
        QVERIFY(italic.fontItalic());
        QVERIFY(italic.fontWeight() < QFont::DemiBold);
        QCOMPARE(result.paragraphStyleAt(8).alignment(), Qt::AlignRight);
    }

    void attributedValueHoldingTheTag()
    {
        PrinterTextView view;
        view.setAttributedString(PrinterAttributedString(QStringLiteral("x <t/> y")));
        view.replaceText(QStringLiteral("<t/>"), PrinterAttributedString(QStringLiteral("<T/>")));
        QCOMPARE(view.string(), QStringLiteral("x Error: Recursion y"));
    }

    void otherViewsIgnoreVariables()
    {
        PrinterImageView image(QRectF(0, 0, 10, 10));
        image.substituteVariables({ { QStringLiteral("pageNumber"), QStringLiteral("1") } });
        PrinterView plain;
        plain.addSubview(std::make_unique<PrinterImageView>());
        const std::unique_ptr<PrinterView> copy = plain.copy();
        QCOMPARE(copy->subviews().size(), size_t(1));
        QVERIFY(dynamic_cast<PrinterImageView*>(copy->subviews()[0].get()));
    }

    void replaceKeepsRuns_data()
    {
        QTest::addColumn<qsizetype>("position");
        QTest::addColumn<qsizetype>("length");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QList<qsizetype>>("runLengths");
        // "aaa" red, "bbb" blue, "ccc" red; the value "XY" is green.
        QTest::newRow("inside one run") << qsizetype(4) << qsizetype(1) << "aaabXYbccc"
                                        << QList<qsizetype> { 3, 1, 2, 1, 3 };
        QTest::newRow("across runs") << qsizetype(2) << qsizetype(5) << "aaXYcc" << QList<qsizetype> { 2, 2, 2 };
        QTest::newRow("at the start") << qsizetype(0) << qsizetype(0) << "XYaaabbbccc"
                                      << QList<qsizetype> { 2, 3, 3, 3 };
        QTest::newRow("at the end") << qsizetype(9) << qsizetype(0) << "aaabbbcccXY" << QList<qsizetype> { 3, 3, 3, 2 };
        QTest::newRow("everything") << qsizetype(0) << qsizetype(9) << "XY" << QList<qsizetype> { 2 };
    }
    void replaceKeepsRuns()
    {
        QFETCH(qsizetype, position);
        QFETCH(qsizetype, length);
        QFETCH(QString, expected);
        QFETCH(QList<qsizetype>, runLengths);
        QTextCharFormat red;
        red.setForeground(Qt::red);
        QTextCharFormat blue;
        blue.setForeground(Qt::blue);
        QTextCharFormat green;
        green.setForeground(Qt::green);
        PrinterAttributedString text(QStringLiteral("aaa"), red);
        text.append(QStringLiteral("bbb"), blue);
        text.append(QStringLiteral("ccc"), red);
        text.replace(position, length, PrinterAttributedString(QStringLiteral("XY"), green));
        QCOMPARE(text.string(), expected);
        QList<qsizetype> lengths;
        qsizetype total = 0;
        for (const PrinterAttributedString::Run& run : text.runs()) {
            lengths << run.length;
            total += run.length;
        }
        QCOMPARE(lengths, runLengths);
        QCOMPARE(total, text.length());
        QCOMPARE(text.formatAt(expected.indexOf(u'X')).foreground().color(), QColor(Qt::green));
    }

    void fontNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("bold");
        QTest::addColumn<bool>("italic");
        QTest::newRow("regular") << "WriteSans-Regular" << false << false;
        QTest::newRow("bold") << "WriteSans-Bold" << true << false;
        QTest::newRow("bold italic") << "WriteSans-BoldItalic" << true << true;
        QTest::newRow("family only") << "WriteSans" << false << false;
    }
    void fontNames()
    {
        QFETCH(QString, name);
        QFETCH(bool, bold);
        QFETCH(bool, italic);
        const QFont font = PrinterFont::fontWithName(name, 11);
        QCOMPARE(font.bold(), bold);
        QCOMPARE(font.italic(), italic);
        QCOMPARE(font.pointSizeF(), 11.0);
        // The family is not installed; the substitute face answers for it.
        QCOMPARE(QFontInfo(font).family(), QStringLiteral("DejaVu Sans"));
    }
};

QTEST_MAIN(TestReportSubstitution)
#include "tst_report_substitution.moc"
