#include "intake/WebArchiveReader.h"

#include <QByteArray>
#include <QGuiApplication>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QByteArray html;
    QByteArray encodingName;
    // The property-list walk is what is fuzzed here; the page itself goes through the HTML target.
    if (WebArchiveReader::mainResource(bytes, &html, &encodingName) && html.size() <= 4096)
        WebArchiveReader::extractFromData(bytes);
    return 0;
}
