#include "TextImages.h"
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
