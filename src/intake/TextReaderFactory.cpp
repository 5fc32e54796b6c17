#include "intake/DocReader.h"
#include "intake/DocxReader.h"
#include "intake/HtmlReader.h"
#include "intake/PlainTextReader.h"
#include "intake/RtfReader.h"
#include "intake/TextReader.h"
#include "intake/WebArchiveReader.h"

std::unique_ptr<TextReader> textReaderForExtension(const QString& extension)
{
    // Exact, case-sensitive matches only: "DOC" or "Txt" have no reader.
    if (extension == QLatin1String("doc"))
        return std::make_unique<DocReader>();
    if (extension == QLatin1String("docx"))
        return std::make_unique<DocxReader>();
    if (extension == QLatin1String("rtf"))
        return std::make_unique<RtfReader>();
    if (extension == QLatin1String("html") || extension == QLatin1String("htm"))
        return std::make_unique<HtmlReader>();
    if (extension == QLatin1String("webarchive"))
        return std::make_unique<WebArchiveReader>();
    if (extension == QLatin1String("txt") || extension == QLatin1String("md") || extension == QLatin1String("xml")
        || extension == QLatin1String("eml"))
        return std::make_unique<PlainTextReader>();
    return nullptr;
}
