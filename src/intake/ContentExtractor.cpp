#include "intake/ContentExtractor.h"

#include "intake/ImageLoader.h"
#include "intake/PdfPages.h"
#include "intake/TextReader.h"
#include "intake/TextRecognizer.h"

namespace {

bool holdsLetterOrDigit(const QString& text)
{
    for (auto it = text.cbegin(), end = text.cend(); it != end; ++it) {
        // Letters and digits outside the Basic Multilingual Plane come as pairs.
        char32_t code = it->unicode();
        if (it->isHighSurrogate() && it + 1 != end && (it + 1)->isLowSurrogate()) {
            code = QChar::surrogateToUcs4(*it, *(it + 1));
            ++it;
        }
        if (QChar::isLetterOrNumber(code))
            return true;
    }
    return false;
}

bool isImageExtension(const QString& extension)
{
    static const QStringList extensions { QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("png"),
        QStringLiteral("tif"), QStringLiteral("tiff"), QStringLiteral("heic") };
    return extensions.contains(extension);
}

QString pdfText(const QString& path, const ExtractionOptions& options)
{
    QString text;
    if (!PdfPages::text(path, &text))
        return {};
    if (holdsLetterOrDigit(text))
        return text;
    // No readable text layer: a scanned document. Its first page is read.
    return TextRecognizer::textForImage(PdfPages::renderFirstPage(path), options);
}

} // namespace

QString contenStringFromURL(const QString& path, const QString& extension, const ExtractionOptions& options)
{
    if (extension == QLatin1String("pdf"))
        return pdfText(path, options);
    if (isImageExtension(extension))
        return TextRecognizer::textForImage(ImageLoader::load(path), options);
    if (const std::unique_ptr<TextReader> reader = textReaderForExtension(extension))
        return reader->extract(path);
    return {};
}
