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

    void nonNilString()
    {
        QVERIFY(!::nonNilString(QString()).isNull());
        QCOMPARE(::nonNilString(QString()), QStringLiteral(""));
        QVERIFY(!::nonNilString(QStringLiteral("")).isNull());
        QCOMPARE(::nonNilString(QStringLiteral("Beleg")), QStringLiteral("Beleg"));
    }

    void shorteningSetHas51DistinctCharacters()
    {
        QCOMPARE(csvShorteningCharacters.size(), 51);
        QSet<QChar> distinct(csvShorteningCharacters.begin(), csvShorteningCharacters.end());
        QCOMPARE(distinct.size(), 51);
        for (const char16_t c : { u'_', u'·', u'•', u'€', u'₽', u'฿', u'₶', u'℗', u'℠', u'…', u' ' })
            QVERIFY(distinct.contains(QChar(c)));
        QVERIFY(!distinct.contains(QLatin1Char('\t')));
        QVERIFY(!distinct.contains(QLatin1Char('*')));
    }

    void csvString_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("null") << QString() << "";
        QTest::newRow("one line") << "Müller & Söhne\tGmbH\r\n2024"
                                  << "Müller & SöhneGmbH2024";
        QTest::newRow("whole set kept") << csvShorteningCharacters.toString() << csvShorteningCharacters.toString();
        QTest::newRow("others dropped") << "a*b~c^d{e}f\"g\\h`i"
                                        << "abcdefghi";
        QTest::newRow("combining mark") << "Cafe\u0301"
                                        << "Cafe\u0301";
        QTest::newRow("scripts and numbers") << "Δ日本١٢½"
                                             << "Δ日本١٢½";
        QTest::newRow("emoji dropped") << "Rechnung 😀 5€"
                                       << "Rechnung  5€";
        QTest::newRow("letter outside BMP") << "x𝐀y"
                                            << "x𝐀y";
        QTest::newRow("lone surrogate") << QString(QChar(0xD835)) + QStringLiteral("a") << "a";
    }
    void csvString()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const QString result = ::csvString(text);
        QVERIFY(!result.isNull());
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
        QTest::newRow("101 kept") << t101 << true << 100 << t101;
        QTest::newRow("102, 10 capitals") << t102 << true << 100 << t102.left(100) + "etc";
        QTest::newRow("102, 11 capitals") << c102 << true << 100 << c102.left(75) + "etc";
        QTest::newRow("not shortened") << c102 + c102 << false << 100 << c102 + c102;
        QTest::newRow("cleaned first") << "\t\t" + t101 + "\n" << true << 100 << t101;
        QTest::newRow("index 20, capitals")
            << textWithCapitals(30, 11) << true << 20 << textWithCapitals(30, 11).left(10) + "etc";
        QTest::newRow("index 25, capitals")
            << textWithCapitals(30, 11) << true << 25 << textWithCapitals(30, 11).left(10) + "etc";
        QTest::newRow("index 26, capitals")
            << textWithCapitals(30, 11) << true << 26 << textWithCapitals(30, 11).left(1) + "etc";
        QTest::newRow("index 20, few capitals")
            << textWithCapitals(30, 3) << true << 20 << textWithCapitals(30, 3).left(20) + "etc";
        QString wide;
        for (int i = 0; i < 102; ++i)
            wide += QStringLiteral("𝐀"); // capital letters outside the basic plane, two UTF-16 units each
        QTest::newRow("code points") << wide << true << 100 << wide.left(150) + "etc";
        QTest::newRow("null") << QString() << true << 100 << "";
    }
    void csvStringIsShortened()
    {
        QFETCH(QString, text);
        QFETCH(bool, shorten);
        QFETCH(int, index);
        QFETCH(QString, expected);
        QCOMPARE(::csvStringIsShortened(text, shorten, index), expected);
    }

    void allowedPathString_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("title") << "Invoice: 7/8 (copy)"
                               << "Invoice 78 copy";
        QTest::newRow("slip number") << "A/17"
                                     << "A17";
        QTest::newRow("kept") << "Ärger-ß_é.2024 x"
                              << "Ärger-ß_é.2024 x";
        QTest::newRow("no csv set") << "5€ & §3, [a]|b"
                                    << "5  3 ab";
        QTest::newRow("control") << "a\tb\nc"
                                 << "abc";
        QTest::newRow("null") << QString() << "";
    }
    void allowedPathString()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const QString result = ::allowedPathString(text);
        QVERIFY(!result.isNull());
        QCOMPARE(result, expected);
    }

    void extensionUPPERCASEString_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("expected");
        QTest::newRow("pdf") << "pdf"
                             << "PDF";
        QTest::newRow("jpeg") << "jpeg"
                              << "JPEG";
        QTest::newRow("five") << "heics"
                              << "HEICS";
        QTest::newRow("six") << "docxml"
                             << "DOCETC";
        QTest::newRow("seven") << "numbers"
                               << "NUMETC";
        QTest::newRow("empty") << ""
                               << "";
    }
    void extensionUPPERCASEString()
    {
        QFETCH(QString, extension);
        QFETCH(QString, expected);
        QCOMPARE(::extensionUPPERCASEString(extension), expected);
    }

    void URLDecodedString_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("space") << "a%20b"
                               << "a b";
        QTest::newRow("utf-8") << "%C3%A4rger"
                               << "ärger";
        QTest::newRow("lower-case hex") << "%e2%82%ac"
                                        << "€";
        QTest::newRow("plus stays") << "a+b"
                                    << "a+b";
        QTest::newRow("unescaped non-ASCII") << "ä%21"
                                             << "ä!";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("lone percent") << "%" << QString();
        QTest::newRow("short escape") << "ab%2" << QString();
        QTest::newRow("trailing percent") << "100%" << QString();
        QTest::newRow("not hex") << "%zz" << QString();
        QTest::newRow("half UTF-8") << "%C3" << QString();
        QTest::newRow("invalid byte") << "%FF" << QString();
        QTest::newRow("null") << QString() << QString();
    }
    void URLDecodedString()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const QString result = ::URLDecodedString(text);
        QCOMPARE(result.isNull(), expected.isNull());
        QCOMPARE(result, expected);
    }

    void dayBounds_data()
    {
        QTest::addColumn<QDateTime>("moment");
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("end");
        QTest::newRow("winter") << iso("2024-01-15T13:14:15.678+01:00") << iso("2024-01-15T00:00:00+01:00")
                                << iso("2024-01-15T23:59:59+01:00");
        QTest::newRow("midnight") << iso("2024-01-15T00:00:00+01:00") << iso("2024-01-15T00:00:00+01:00")
                                  << iso("2024-01-15T23:59:59+01:00");
        QTest::newRow("last second") << iso("2024-01-15T23:59:59.999+01:00") << iso("2024-01-15T00:00:00+01:00")
                                     << iso("2024-01-15T23:59:59+01:00");
        QTest::newRow("spring forward") << iso("2024-03-31T12:00:00+02:00") << iso("2024-03-31T00:00:00+01:00")
                                        << iso("2024-03-31T23:59:59+02:00");
        QTest::newRow("fall back") << iso("2024-10-27T02:30:00+01:00") << iso("2024-10-27T00:00:00+02:00")
                                   << iso("2024-10-27T23:59:59+01:00");
        QTest::newRow("UTC input, next local day")
            << iso("2024-06-30T23:30:00Z") << iso("2024-07-01T00:00:00+02:00") << iso("2024-07-01T23:59:59+02:00");
    }
    void dayBounds()
    {
        QFETCH(QDateTime, moment);
        QFETCH(QDateTime, start);
        QFETCH(QDateTime, end);
        QVERIFY(moment.isValid());
        QCOMPARE(dayStart(moment).toMSecsSinceEpoch(), start.toMSecsSinceEpoch());
        QCOMPARE(dayEnd(moment).toMSecsSinceEpoch(), end.toMSecsSinceEpoch());
        QCOMPARE(dayEnd(moment).toLocalTime().time(), QTime(23, 59, 59));
        QCOMPARE(dayStart(moment).toLocalTime().time(), QTime(0, 0));
    }

    void dayLengthFollowsDaylightSaving()
    {
        const QDateTime spring = iso("2024-03-31T10:00:00+02:00");
        QCOMPARE(dayStart(spring).secsTo(dayEnd(spring)), 23 * 3600 - 1);
        const QDateTime autumn = iso("2024-10-27T10:00:00+01:00");
        QCOMPARE(dayStart(autumn).secsTo(dayEnd(autumn)), 25 * 3600 - 1);
        QVERIFY(!dayStart(QDateTime()).isValid());
        QVERIFY(!dayEnd(QDateTime()).isValid());
    }

    void currentCalendarIsShared()
    {
        QCOMPARE(&currentCalendar(), &currentCalendar());
        QVERIFY(currentCalendar().isGregorian());
    }
};

QTEST_GUILESS_MAIN(TestStringHelpers)
#include "tst_stringhelpers.moc"
