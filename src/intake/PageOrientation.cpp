#include "intake/PageOrientation.h"

#include "intake/TextRecognizer.h"
#include "text/Logging.h"

#include <QFile>
#include <QTransform>
#include <memory>
#include <tesseract/baseapi.h>

namespace {

/// The detector keeps its classifier loaded; each thread has its own.
tesseract::TessBaseAPI* detector()
{
    thread_local std::unique_ptr<tesseract::TessBaseAPI> engine;
    thread_local bool unavailable = false;
    if (engine || unavailable)
        return engine.get();
    auto created = std::make_unique<tesseract::TessBaseAPI>();
    const QByteArray path = QFile::encodeName(TextRecognizer::dataPath());
    // The orientation data exists only for the older character classifier.
    if (created->Init(path.constData(), "osd", tesseract::OEM_TESSERACT_ONLY) != 0) {
        qCWarning(lcQuillarc, "%s",
            qPrintable(
                QStringLiteral("Page orientation could not load \"osd\" from %1").arg(TextRecognizer::dataPath())));
        unavailable = true;
        return nullptr;
    }
    created->SetVariable("debug_file", "/dev/null");
    created->SetPageSegMode(tesseract::PSM_OSD_ONLY);
    engine = std::move(created);
    return engine.get();
}

} // namespace

int PageOrientation::clockwiseTurn(const QImage& bitmap, int dotsPerInch)
{
    if (bitmap.isNull() || bitmap.format() != QImage::Format_Grayscale8)
        return -1;
    tesseract::TessBaseAPI* engine = detector();
    if (!engine)
        return -1;
    int degrees = -1;
    try {
        engine->SetImage(bitmap.constBits(), bitmap.width(), bitmap.height(), 1, int(bitmap.bytesPerLine()));
        engine->SetSourceResolution(dotsPerInch);
        float confidence = 0;
        const char* script = nullptr;
        float scriptConfidence = 0;
        if (!engine->DetectOrientationScript(&degrees, &confidence, &script, &scriptConfidence))
            degrees = -1;
    } catch (...) {
        degrees = -1;
    }
    engine->Clear();
    return degrees == 0 || degrees == 90 || degrees == 180 || degrees == 270 ? degrees : -1;
}

QImage PageOrientation::upright(const QImage& bitmap, int clockwiseTurn)
{
    if (clockwiseTurn == 180)
        return bitmap.mirrored(true, true);
    if (clockwiseTurn != 90 && clockwiseTurn != 270)
        return bitmap;
    QImage turned = bitmap.transformed(QTransform().rotate(360 - clockwiseTurn));
    if (turned.format() != QImage::Format_Grayscale8)
        turned = turned.convertToFormat(QImage::Format_Grayscale8);
    return turned;
}
