#include "intake/TextRecognizer.h"

#include "intake/PageOrientation.h"
#include "intake/RecognitionThreads.h"
#include "text/Logging.h"

#include <QFile>
#include <QPainter>
#include <cmath>
#include <map>
#include <memory>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>
#include <utility>

namespace {

/// Fast mode works on at most this many pixels along the longer side: an A4
/// page at 150 dpi. Body text then stays 20+ pixels high, which the line
/// recogniser still reads well, while layout analysis sees a quarter of the
/// pixels of a 300 dpi scan.
constexpr int kFastLongSide = 1754;

/// Mean word confidence (0-100) below which a page may be turned. Upright
/// print reads at 80-96; the same text upside down at 20-50.
constexpr int kUprightConfidence = 60;

/// An engine is expensive to set up (100-200 ms to load the language data),
/// so each thread keeps one per language and mode for its lifetime.
tesseract::TessBaseAPI* engineFor(const QString& language, bool accurate)
{
    thread_local std::map<std::pair<QString, bool>, std::unique_ptr<tesseract::TessBaseAPI>> engines;
    auto& slot = engines[{ language, accurate }];
    if (slot)
        return slot.get();
    auto engine = std::make_unique<tesseract::TessBaseAPI>();
    const QByteArray path = QFile::encodeName(TextRecognizer::dataPath());
    if (engine->Init(path.constData(), language.toLatin1().constData(), tesseract::OEM_LSTM_ONLY) != 0) {
        qCWarning(lcQuillarc, "%s",
            qPrintable(QStringLiteral("Text recognition could not load the language \"%1\" from %2")
                           .arg(language, TextRecognizer::dataPath())));
        engines.erase({ language, accurate });
        return nullptr;
    }
    // The engine's own progress chatter ("Estimating resolution ...") is not
    // for the system log.
    engine->SetVariable("debug_file", "/dev/null");
    engine->SetPageSegMode(tesseract::PSM_AUTO);
    if (!accurate) {
        // Skips the second pass over lines that might be light text on dark.
        engine->SetVariable("tessedit_do_invert", "0");
    }
    slot = std::move(engine);
    return slot.get();
}

/// An 8-bit grey bitmap; transparent areas become white paper, not black.
QImage greyBitmap(const QImage& image)
{
    if (!image.hasAlphaChannel())
        return image.convertToFormat(QImage::Format_Grayscale8);
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.setDotsPerMeterX(image.dotsPerMeterX());
    flat.setDotsPerMeterY(image.dotsPerMeterY());
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(0, 0, image);
    painter.end();
    return flat.convertToFormat(QImage::Format_Grayscale8);
}

/// The resolution the image claims, or 300 dpi for images that claim none or
/// nonsense; the engine only uses it to estimate text sizes.
int dotsPerInch(const QImage& image)
{
    const int dpi = int(std::lround(image.dotsPerMeterX() * 0.0254));
    return dpi >= 50 && dpi <= 2400 ? dpi : 300;
}

/// The text of one recognition pass and how sure the recogniser was of its words.
struct Reading
{
    QString text;
    int confidence = 0;
};

/// One recognition pass over an 8-bit grey bitmap: each text line with its
/// line end removed, appended as " " + the line.
Reading read(tesseract::TessBaseAPI* engine, const QImage& bitmap, int dpi)
{
    Reading reading;
    try {
        engine->SetImage(bitmap.constBits(), bitmap.width(), bitmap.height(), 1, int(bitmap.bytesPerLine()));
        engine->SetSourceResolution(dpi);
        if (engine->Recognize(nullptr) != 0) {
            qCWarning(lcQuillarc, "Text recognition failed");
            engine->Clear();
            return reading;
        }
        reading.confidence = engine->MeanTextConf();
        std::unique_ptr<tesseract::ResultIterator> lines(engine->GetIterator());
        if (lines && !lines->Empty(tesseract::RIL_TEXTLINE)) {
            do {
                std::unique_ptr<char[]> utf8(lines->GetUTF8Text(tesseract::RIL_TEXTLINE));
                if (!utf8)
                    continue;
                QString line = QString::fromUtf8(utf8.get());
                while (line.endsWith(QLatin1Char('\n')) || line.endsWith(QLatin1Char('\r')))
                    line.chop(1);
                if (line.trimmed().isEmpty())
                    continue;
                reading.text += QLatin1Char(' ') + line;
            } while (lines->Next(tesseract::RIL_TEXTLINE));
        }
    } catch (const std::exception& error) {
        qCWarning(lcQuillarc, "%s", error.what());
    } catch (...) {
        qCWarning(lcQuillarc, "Text recognition failed");
    }
    engine->Clear();
    return reading;
}

} // namespace

QString TextRecognizer::languageForKind(int ocrLanguageKind)
{
    switch (ocrLanguageKind) {
    case 1:
        return QStringLiteral("eng");
    case 2:
        return QStringLiteral("deu");
    default:
        // The recogniser's default reads German and English together, so that
        // umlauts and ß survive when no language was chosen. German comes
        // first: the first language decides doubtful words.
        return QStringLiteral("deu+eng");
    }
}

QString TextRecognizer::dataPath()
{
    const QString prefix = qEnvironmentVariable("TESSDATA_PREFIX");
    if (!prefix.isEmpty())
        return prefix;
    return QStringLiteral("/usr/share/tesseract-ocr/5/tessdata");
}

QString TextRecognizer::textForImage(const QImage& image, const ExtractionOptions& options)
{
    if (image.isNull() || image.width() <= 0 || image.height() <= 0) {
        qCWarning(lcQuillarc, "NO VALID IMAGE FOR TEXT RECOGNITION");
        return {};
    }
    const bool accurate = options.ocrPrioritiseAccuracy;
    tesseract::TessBaseAPI* engine = engineFor(languageForKind(options.ocrLanguageKind), accurate);
    if (!engine)
        return {};
    RecognitionThreads::applyToCallingThread();

    QImage bitmap = greyBitmap(image);
    int dpi = dotsPerInch(image);
    const int longSide = qMax(bitmap.width(), bitmap.height());
    if (!accurate && longSide > kFastLongSide) {
        const double factor = double(kFastLongSide) / longSide;
        bitmap = bitmap.scaled(qMax(1, int(bitmap.width() * factor)), qMax(1, int(bitmap.height() * factor)),
            Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        dpi = qMax(50, int(dpi * factor));
    }

    Reading reading = read(engine, bitmap, dpi);
    if (!reading.text.isEmpty() && reading.confidence < kUprightConfidence) {
        // Text read this badly is often a page fed turned. Sideways pages the
        // first pass reads by itself; upside-down ones, and pages turned the
        // other way, need turning first. When the detector cannot tell (a line
        // or two), the page is tried upside down.
        const int turn = PageOrientation::clockwiseTurn(bitmap, dpi);
        if (turn != 0) {
            const Reading turned = read(engine, PageOrientation::upright(bitmap, turn < 0 ? 180 : turn), dpi);
            if (turned.confidence > reading.confidence)
                reading = turned;
        }
    }
    return reading.text;
}
