#include "TestSupport.h"
#include "text/KVLocalizationDictionary.h"
#include "text/StringHelpers.h"

#include <QSet>
#include <QTest>
#include <QTimeZone>
#include <ctime>

namespace {

// A text of @p length characters of which exactly @p capitals are upper-case letters.
QString textWithCapitals(int length, int capitals)
{
    QString text;
    for (int i = 0; i < length; ++i)
        text += i < capitals ? QLatin1Char('K') : QLatin1Char(i % 7 == 3 ? ' ' : 'x');
    return text;
}

QDateTime iso(const char* text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODateWithMs);
}

} // namespace

class TestStringHelpers : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home; // the shared dictionary reads the application settings

private Q_SLOTS:
    void initTestCase()
    {
        // Day bounds are checked in a zone with daylight saving time.
        qputenv("TZ", "Europe/Berlin");
        tzset();
        QCOMPARE(QDateTime(QDate(2024, 7, 1), QTime(12, 0)).offsetFromUtc(), 2 * 3600);
        // A recognisable ellipsis shows where it was appended and that it is upper-cased.
        KVLocalizationDictionary::sharedLocalizationDictionary().setLocalizationDictionary(
            { { QStringLiteral("PRINTOUT_LOCALIZED_ELLIPSES"), QStringLiteral("etc") } });
    }

    void shorteningSetHas51DistinctCharacters()
    {
        QSet<QChar> distinct(csvShorteningCharacters.begin(), csvShorteningCharacters.end());
        QCOMPARE(csvShorteningCharacters.size(), 51);
        QCOMPARE(distinct.size(), 51);
    }

    // "kind" picks the function: nonNilString, csvString, allowedPathString, URLDecodedString or
    // extensionUPPERCASEString.
    void cleaning_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const QString set = csvShorteningCharacters.toString();
        // clang-format off
        QTest::newRow("nonnil null")        << "nonnil" << QString()                      << "";
        QTest::newRow("nonnil text")        << "nonnil" << "Beleg"                        << "Beleg";
        QTest::newRow("csv null")           << "csv"    << QString()                      << "";
        QTest::newRow("csv one line")       << "csv"    << "Müller & Söhne\tGmbH\r\n2024" << "Müller & SöhneGmbH2024";
        QTest::newRow("csv set kept")       << "csv"    << set                            << set;
        QTest::newRow("csv dropped")        << "csv"    << "a*b~c^d{e}f\"g\\h`i"          << "abcdefghi";
        QTest::newRow("csv combining")      << "csv"    << "Cafe\u0301"                   << "Cafe\u0301";
        QTest::newRow("csv scripts")        << "csv"    << "Δ日本١٢½"                       << "Δ日本١٢½";
        QTest::newRow("csv emoji dropped")  << "csv"    << "Rechnung 😀 5€"                << "Rechnung  5€";
        QTest::newRow("csv beyond BMP")     << "csv"    << "x𝐀y"                          << "x𝐀y";
        QTest::newRow("csv lone surrogate") << "csv"    << QString(QChar(0xD835)) + "a"   << "a";
        QTest::newRow("path title")         << "path"   << "Invoice: 7/8 (copy)"          << "Invoice 78 copy";
        QTest::newRow("path slip number")   << "path"   << "A/17"                         << "A17";
        QTest::newRow("path kept")          << "path"   << "Ärger-ß_é.2024 x"             << "Ärger-ß_é.2024 x";
        QTest::newRow("path no csv set")    << "path"   << "5€ & §3, [a]|b"               << "5  3 ab";
        QTest::newRow("path control")       << "path"   << "a\tb\nc"                      << "abc";
        QTest::newRow("path null")          << "path"   << QString()                      << "";
        QTest::newRow("url space")          << "url"    << "a%20b"                        << "a b";
        QTest::newRow("url utf-8")          << "url"    << "%C3%A4rger"                   << "ärger";
        QTest::newRow("url lower hex")      << "url"    << "%e2%82%ac"                    << "€";
        QTest::newRow("url plus stays")     << "url"    << "a+b"                          << "a+b";
        QTest::newRow("url raw non-ASCII")  << "url"    << "ä%21"                         << "ä!";
        QTest::newRow("url empty")          << "url"    << ""                             << "";
        QTest::newRow("url lone percent")   << "url"    << "%"                            << QString();
        QTest::newRow("url short escape")   << "url"    << "ab%2"                         << QString();
        QTest::newRow("url trailing %")     << "url"    << "100%"                         << QString();
        QTest::newRow("url not hex")        << "url"    << "%zz"                          << QString();
        QTest::newRow("url half UTF-8")     << "url"    << "%C3"                          << QString();
        QTest::newRow("url invalid byte")   << "url"    << "%FF"                          << QString();
        QTest::newRow("url null")           << "url"    << QString()                      << QString();
        QTest::newRow("ext pdf")            << "ext"    << "pdf"                          << "PDF";
        QTest::newRow("ext five")           << "ext"    << "heics"                        << "HEICS";
        QTest::newRow("ext six")            << "ext"    << "docxml"                       << "DOCETC";
        QTest::newRow("ext seven")          << "ext"    << "numbers"                      << "NUMETC";
        QTest::newRow("ext empty")          << "ext"    << ""                             << "";
        // clang-format on
    }
    void cleaning()
    {
        QFETCH(QString, kind);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const QString result = kind == QLatin1String("nonnil") ? ::nonNilString(text)
            : kind == QLatin1String("csv")                     ? ::csvString(text)
            : kind == QLatin1String("path")                    ? ::allowedPathString(text)
            : kind == QLatin1String("url")                     ? ::URLDecodedString(text)
                                                               : ::extensionUPPERCASEString(text);
        QCOMPARE(result.isNull(), expected.isNull());
        QCOMPARE(result, expected);
    }

    void csvStringIsShortened_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("shorten");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("expected");
        const QString t101 = textWithCapitals(101, 10);
        const QString t102 = textWithCapitals(102, 10);
        const QString c102 = textWithCapitals(102, 11);
        const QString c30 = textWithCapitals(30, 11);
        const QString few30 = textWithCapitals(30, 3);
        QString wide;
        for (int i = 0; i < 102; ++i)
            wide += QStringLiteral("𝐀"); // capital letters outside the basic plane, two UTF-16 units each
        // clang-format off
        QTest::newRow("101 kept")               << t101                 << true  << 100 << t101;
        QTest::newRow("102, 10 capitals")       << t102                 << true  << 100 << t102.left(100) + "etc";
        QTest::newRow("102, 11 capitals")       << c102                 << true  << 100 << c102.left(75) + "etc";
        QTest::newRow("not shortened")          << c102 + c102          << false << 100 << c102 + c102;
        QTest::newRow("cleaned first")          << "\t\t" + t101 + "\n" << true  << 100 << t101;
        QTest::newRow("index 20, capitals")     << c30                  << true  << 20  << c30.left(10) + "etc";
        QTest::newRow("index 25, capitals")     << c30                  << true  << 25  << c30.left(10) + "etc";
        QTest::newRow("index 26, capitals")     << c30                  << true  << 26  << c30.left(1) + "etc";
        QTest::newRow("index 20, few capitals") << few30                << true  << 20  << few30.left(20) + "etc";
        QTest::newRow("code points")            << wide                 << true  << 100 << wide.left(150) + "etc";
        QTest::newRow("null")                   << QString()            << true  << 100 << "";
        // clang-format on
    }
    void csvStringIsShortened()
    {
        QFETCH(QString, text);
        QFETCH(bool, shorten);
        QFETCH(int, index);
        QFETCH(QString, expected);
        QCOMPARE(::csvStringIsShortened(text, shorten, index), expected);
    }

    void dayBounds_data()
    {
        QTest::addColumn<QDateTime>("moment");
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("end");
        QTest::addColumn<int>("seconds");
        const int day = 24 * 3600 - 1;
        // clang-format off
        QTest::newRow("winter")         << iso("2024-01-15T13:14:15.678+01:00") << iso("2024-01-15T00:00:00+01:00")
                                        << iso("2024-01-15T23:59:59+01:00") << day;
        QTest::newRow("midnight")       << iso("2024-01-15T00:00:00+01:00")     << iso("2024-01-15T00:00:00+01:00")
                                        << iso("2024-01-15T23:59:59+01:00") << day;
        QTest::newRow("last second")    << iso("2024-01-15T23:59:59.999+01:00") << iso("2024-01-15T00:00:00+01:00")
                                        << iso("2024-01-15T23:59:59+01:00") << day;
        QTest::newRow("spring forward") << iso("2024-03-31T12:00:00+02:00")     << iso("2024-03-31T00:00:00+01:00")
                                        << iso("2024-03-31T23:59:59+02:00") << day - 3600;
        QTest::newRow("fall back")      << iso("2024-10-27T02:30:00+01:00")     << iso("2024-10-27T00:00:00+02:00")
                                        << iso("2024-10-27T23:59:59+01:00") << day + 3600;
        QTest::newRow("UTC input, next local day") << iso("2024-06-30T23:30:00Z") << iso("2024-07-01T00:00:00+02:00")
                                        << iso("2024-07-01T23:59:59+02:00") << day;
        QTest::newRow("invalid") << QDateTime() << QDateTime() << QDateTime() << 0;
        // clang-format on
    }
    void dayBounds()
    {
        QFETCH(QDateTime, moment);
        QFETCH(QDateTime, start);
        QFETCH(QDateTime, end);
        QFETCH(int, seconds);
        QCOMPARE(dayStart(moment).isValid(), moment.isValid());
        QCOMPARE(dayEnd(moment).isValid(), moment.isValid());
        if (!moment.isValid())
            return;
        QCOMPARE(dayStart(moment).toMSecsSinceEpoch(), start.toMSecsSinceEpoch());
        QCOMPARE(dayEnd(moment).toMSecsSinceEpoch(), end.toMSecsSinceEpoch());
        QCOMPARE(dayEnd(moment).toLocalTime().time(), QTime(23, 59, 59));
        QCOMPARE(dayStart(moment).toLocalTime().time(), QTime(0, 0));
        QCOMPARE(dayStart(moment).secsTo(dayEnd(moment)), seconds);
    }

    void flagsAsText()
    {
        KVLocalizationDictionary& table = KVLocalizationDictionary::sharedLocalizationDictionary();
        const QHash<QString, QString> before = table.localizationDictionary();
        QHash<QString, QString> flags = before;
        flags.insert(QStringLiteral("BOOL_STRING_TRUE"), QStringLiteral("Ja"));
        flags.insert(QStringLiteral("BOOL_STRING_FALSE"), QStringLiteral("Nein"));
        table.setLocalizationDictionary(flags);
        const QStringList shown { boolStringValue(true), boolStringValue(false), boolStringValueInverted(true),
            boolStringValueInverted(false) };
        table.setLocalizationDictionary(before);
        QCOMPARE(shown, QStringList({ "Ja", "Nein", "Nein", "Ja" }));
    }
};

QTEST_GUILESS_MAIN(TestStringHelpers)
#include "tst_stringhelpers.moc"
