// Feeds arbitrary bytes to the keyed-archive reader (binary and XML) and, when
// they decode, through the canonical dump and back through the writer: the
// reader must never crash, hang or read out of bounds, and what it accepts
// must survive a round trip.
#include "store/CanonicalDump.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"

#include <QByteArray>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QString error;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes, &error);
    if (root.isNil())
        return 0;
    const QByteArray dump = CanonicalDump::dump(root);
    const Value again = KeyedUnarchiver::unarchiveObjectWithData(KeyedArchiver::archivedDataWithRootObject(root), &error);
    if (CanonicalDump::dump(again) != dump)
        std::abort();
    return 0;
}
