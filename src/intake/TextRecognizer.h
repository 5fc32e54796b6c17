#pragma once

#include "intake/ExtractionOptions.h"

#include <QImage>
#include <QString>

/// Recognises the text in a bitmap. Each recognised text line is one
/// observation and is appended as " " + the line, so the result starts with a
/// space whenever anything was found and never holds a line end. Pages turned
/// by 90, 180 or 270 degrees are read upright. One recognition uses at most
/// RecognitionThreads::limit() threads.
class TextRecognizer
{
public:
    /// The recognised text of image, "" when nothing was recognised. A null
    /// image logs "NO VALID IMAGE FOR TEXT RECOGNITION" and gives "".
    static QString textForImage(const QImage& image, const ExtractionOptions& options);

    /// The traineddata languages used for an ocrLanguageKind: 1 "eng", 2 "deu",
    /// every other kind the recogniser's default "deu+eng".
    static QString languageForKind(int ocrLanguageKind);

    /// Where the traineddata files are looked up; TESSDATA_PREFIX overrides it.
    static QString dataPath();
};
