#include "app/news/NewsList.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    qint64 number = 0;
    NewsList::readNewsUpdateNumber(bytes, &number);
    return 0;
}
