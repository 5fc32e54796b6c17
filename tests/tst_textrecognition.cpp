#include "TextImages.h"
#include "intake/PageOrientation.h"
#include "intake/RecognitionThreads.h"
#include "intake/TextRecognizer.h"

#include <QDir>
#include <QTest>
#include <thread>

namespace {

/// A short letter at about 10 pt in a 300 dpi scan.
const QStringList kPage {
    QStringLiteral("Rechnung 2024-118 vom 12. März 2024"),
    QStringLiteral("Lieferung von Büromöbeln und Montage"),
    QStringLiteral("Gesamtbetrag 1.250,00 EUR netto"),
    QStringLiteral("Zahlbar innerhalb von 30 Tagen"),
};
constexpr int kPagePixels = 40;

QImage grey(const QImage& image)
{
    return image.convertToFormat(QImage::Format_Grayscale8);
}

/// Threads of this process right now.
qsizetype threadCount()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

} // namespace

class TestTextRecognition : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { RecognitionThreads::setLimit(-1); }

    // "short" lines hold too few characters for the orientation detector to
    // tell; they are tried upside down instead.
    void turnedPagesAreReadUpright_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("pixelSize");
        QTest::addColumn<int>("turn");
        QTest::addColumn<bool>("accurate");
        QTest::addColumn<QStringList>("words");
        const QStringList pageWords { "Rechnung", "Lieferung", "Büromöbeln", "Gesamtbetrag", "Zahlbar", "Tagen" };
        const QStringList line { QStringLiteral("Übergabe 4711") };
        const QStringList lineWords { "Übergabe", "4711" };
        // clang-format off
        QTest::newRow("page 90")        << kPage << kPagePixels << 90  << true  << pageWords;
        QTest::newRow("page 180")       << kPage << kPagePixels << 180 << true  << pageWords;
        QTest::newRow("page 270")       << kPage << kPagePixels << 270 << true  << pageWords;
        QTest::newRow("page 180, fast") << kPage << kPagePixels << 180 << false << pageWords;
        QTest::newRow("short 180")      << line  << 80          << 180 << true  << lineWords;
        QTest::newRow("short 270")      << line  << 80          << 270 << true  << lineWords;
        // clang-format on
    }
    void turnedPagesAreReadUpright()
    {
        QFETCH(QStringList, lines);
        QFETCH(int, pixelSize);
        QFETCH(int, turn);
        QFETCH(bool, accurate);
        QFETCH(QStringList, words);
        ExtractionOptions options;
        options.ocrPrioritiseAccuracy = accurate;
        const QImage page = renderedLines(lines, pixelSize);
        const QString upright = TextRecognizer::textForImage(page, options);
        const QString turned = TextRecognizer::textForImage(turnedClockwise(page, turn), options);
        for (const QString& word : words) {
            QVERIFY2(upright.contains(word), qPrintable(word + " not in the upright page:" + upright));
            QVERIFY2(turned.contains(word), qPrintable(word + " not in the turned page:" + turned));
        }
    }

    void orientationIsDetected_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<int>("turn");
        QTest::addColumn<int>("detected");
        const QStringList word { QStringLiteral("Total") };
        // clang-format off
        QTest::newRow("upright")      << kPage << 0   << 0;
        QTest::newRow("90")           << kPage << 90  << 90;
        QTest::newRow("180")          << kPage << 180 << 180;
        QTest::newRow("270")          << kPage << 270 << 270;
        QTest::newRow("one word 180") << word  << 180 << -1;
        // clang-format on
    }
    void orientationIsDetected()
    {
        QFETCH(QStringList, lines);
        QFETCH(int, turn);
        QFETCH(int, detected);
        const QImage page = grey(renderedLines(lines, kPagePixels));
        const QImage turned = grey(turnedClockwise(page, turn));
        QCOMPARE(PageOrientation::clockwiseTurn(turned, 300), detected);
        // Turning back restores the very pixels.
        QCOMPARE(PageOrientation::upright(turned, turn), page);
    }

    // Each recognition runs on a thread of its own, so the OpenMP workers it
    // starts are its own (they live as long as the thread that started them).
    void recognitionStaysWithinItsThreadLimit_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("mostExtraThreads");
        QTest::newRow("one thread") << 1 << 0;
        QTest::newRow("two threads") << 2 << 1;
    }
    void recognitionStaysWithinItsThreadLimit()
    {
        QFETCH(int, limit);
        QFETCH(int, mostExtraThreads);
        RecognitionThreads::setLimit(limit);
        const QImage page = renderedLines(kPage, kPagePixels);
        QString text;
        qsizetype before = 0;
        qsizetype after = 0;
        std::thread recognising([&] {
            before = threadCount();
            text = TextRecognizer::textForImage(page, {});
            after = threadCount();
        });
        recognising.join();
        QVERIFY2(text.contains(QLatin1String("Gesamtbetrag")), qPrintable(text));
        QVERIFY2(
            after - before <= mostExtraThreads, qPrintable(QStringLiteral("%1 threads started").arg(after - before)));
    }
};

QTEST_MAIN(TestTextRecognition)
#include "tst_textrecognition.moc"
