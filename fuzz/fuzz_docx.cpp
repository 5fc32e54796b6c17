#include "intake/DocxReader.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    // The same bytes as a whole package and as the main part's XML alone.
    DocxReader::extractFromData(bytes);
    DocxReader::textFromDocumentXml(bytes);
    return 0;
}
