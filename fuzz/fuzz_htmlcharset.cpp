#include "intake/HtmlReader.h"

#include <QByteArray>
#include <QGuiApplication>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // Laying out markup needs a GUI application; the offscreen platform needs no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString html = HtmlReader::decodeHtml(bytes);
    // The charset sniffing is the part under test; layout of large pages only costs time.
    if (size <= 4096)
        HtmlReader::plainTextOfHtml(html);
    return 0;
}
