#include "report/PrinterAttributedString.h"
#include "report/PrinterFont.h"
#include "report/PrinterImageView.h"
#include "report/PrinterTextView.h"

#include <QFontInfo>
#include <QTest>
#include <numeric>

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
    // A text or attributed value replaces the tag "<n/>" through replaceText(); a QVariantHash goes through
    // substituteVariables().
    void substitution_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("expected");
        const auto t = [](const char* text) { return QVariant(QString::fromUtf8(text)); };
        const QVariant pages = QVariantHash { { QStringLiteral("pageNumber"), QStringLiteral("3") },
            { QStringLiteral("pageCount"), QStringLiteral("7") } };
        const QVariant num = QVariantHash { { QStringLiteral("pageNumber"), 3 } };
        const QVariant attr = QVariantHash { { QStringLiteral("pageNumber"),
            QVariant::fromValue(PrinterAttributedString(QStringLiteral("IV"))) } };
        const QVariant tagged = QVariant::fromValue(PrinterAttributedString(QStringLiteral("<N/>")));
        // clang-format off
        QTest::newRow("one tag")          << "Page <n/>"                     << t("3")      << "Page 3";
        QTest::newRow("tag in capitals")  << "Page <N/>"                     << t("3")      << "Page 3";
        QTest::newRow("every one")        << "<n/>, <N/> and <n/>"           << t("7")      << "7, 7 and 7";
        QTest::newRow("longer value")     << "[<n/>]"                        << t("twelve") << "[twelve]";
        QTest::newRow("empty value")      << "a<n/>b"                        << t("")       << "ab";
        QTest::newRow("value holds tag")  << "a <n/> b"                      << t("<N/>!")  << "a Error: Recursion b";
        QTest::newRow("styled holds tag") << "x <n/> y"                      << tagged      << "x Error: Recursion y";
        QTest::newRow("recursion stops")  << "<n/> <n/>"                     << t("x<n/>")  << "Error: Recursion <n/>";
        QTest::newRow("unknown tag")      << "Page <m/>"                     << t("3")      << "Page <m/>";
        QTest::newRow("half a tag")       << "Page <n"                       << t("3")      << "Page <n";
        QTest::newRow("joined by value")  << "<n<n/>/>"                      << t("")       << "";
        QTest::newRow("footer line")      << "<pageNumber/>/<pageCount/>"    << pages       << "3/7";
        QTest::newRow("mixed case")       << "<PageNumber/> of <PAGECOUNT/>" << pages       << "3 of 7";
        QTest::newRow("unknown variable") << "<date/> <pageNumber/>"         << pages       << "<date/> 3";
        QTest::newRow("non-text skipped") << "<pageNumber/>"                 << num         << "<pageNumber/>";
        QTest::newRow("attributed value") << "#<pageNumber/>"                << attr        << "#IV";
        // clang-format on
    }
    void substitution()
    {
        QFETCH(QString, text);
        QFETCH(QVariant, value);
        QFETCH(QString, expected);
        PrinterTextView view;
        view.setAttributedString(PrinterAttributedString(text));
        if (value.typeId() == QMetaType::QVariantHash)
            view.substituteVariables(value.toHash());
        else if (value.metaType() == QMetaType::fromType<PrinterAttributedString>())
            view.replaceText(QStringLiteral("<n/>"), value.value<PrinterAttributedString>());
        else
            view.replaceText(QStringLiteral("<n/>"), value.toString());
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
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("length");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QList<qsizetype>>("runLengths");
        // "aaa" red, "bbb" blue, "ccc" red; the value "XY" is green.
        // clang-format off
        QTest::newRow("inside one run") << 4 << 1 << "aaabXYbccc"  << QList<qsizetype> { 3, 1, 2, 1, 3 };
        QTest::newRow("across runs")    << 2 << 5 << "aaXYcc"      << QList<qsizetype> { 2, 2, 2 };
        QTest::newRow("at the start")   << 0 << 0 << "XYaaabbbccc" << QList<qsizetype> { 2, 3, 3, 3 };
        QTest::newRow("at the end")     << 9 << 0 << "aaabbbcccXY" << QList<qsizetype> { 3, 3, 3, 2 };
        QTest::newRow("everything")     << 0 << 9 << "XY"          << QList<qsizetype> { 2 };
        // clang-format on
    }
    void replaceKeepsRuns()
    {
        QFETCH(int, position);
        QFETCH(int, length);
        QFETCH(QString, expected);
        QFETCH(QList<qsizetype>, runLengths);
        const auto colored = [](const char* text, Qt::GlobalColor color) {
            QTextCharFormat format;
            format.setForeground(color);
            return PrinterAttributedString(QString::fromLatin1(text), format);
        };
        PrinterAttributedString text = colored("aaa", Qt::red);
        text.append(colored("bbb", Qt::blue));
        text.append(colored("ccc", Qt::red));
        text.replace(position, length, colored("XY", Qt::green));
        QCOMPARE(text.string(), expected);
        QList<qsizetype> lengths;
        for (const PrinterAttributedString::Run& run : text.runs())
            lengths << run.length;
        QCOMPARE(lengths, runLengths);
        QCOMPARE(std::accumulate(lengths.cbegin(), lengths.cend(), qsizetype(0)), text.length());
        QCOMPARE(text.formatAt(expected.indexOf(u'X')).foreground().color(), QColor(Qt::green));
    }

    void fontNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("bold");
        QTest::addColumn<bool>("italic");
        // clang-format off
        QTest::newRow("regular")     << "WriteSans-Regular"    << false << false;
        QTest::newRow("bold")        << "WriteSans-Bold"       << true  << false;
        QTest::newRow("bold italic") << "WriteSans-BoldItalic" << true  << true;
        QTest::newRow("family only") << "WriteSans"            << false << false;
        // clang-format on
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
