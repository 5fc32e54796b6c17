#include "intake/TextDecoding.h"

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QString text;
    QString error;
    const bool decoded = TextDecoding::decodeDetected(bytes, &text, &error);
    if (!decoded && error.isEmpty())
        __builtin_trap(); // a failure always explains itself
    TextDecoding::decodeWindows1252(bytes.constData(), bytes.size());
    return 0;
}
