#include "text/KVLocalizationTable.h"

#include <QBuffer>
#include <QByteArray>
#include <QLoggingCategory>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Ignored entries are logged; thousands of log lines per second only slow the run.
    QLoggingCategory::setFilterRules(QStringLiteral("quillarc.warning=false"));
    return 0;
}

namespace {
bool readTable(const QByteArray& bytes, KVLocalizationTable& table)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return table.read(&buffer);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    KVLocalizationTable table;
    if (!readTable(bytes, table))
        return 0;
    // Whatever was read is written so that it reads back the same.
    KVLocalizationTable again;
    if (!readTable(table.toPropertyList(), again) || again.count() != table.count()
        || again.languages() != table.languages())
        std::abort();
    for (int row = 0; row < table.count(); ++row) {
        if (again.items().at(row).base != table.items().at(row).base
            || again.items().at(row).texts != table.items().at(row).texts)
            std::abort();
    }
    return 0;
}
