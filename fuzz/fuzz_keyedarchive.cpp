// Feeds arbitrary bytes to the keyed-archive reader (binary and XML) and, when
// they decode, through the canonical dump and back through the writer: the
// reader must never crash, hang or read out of bounds, and what it accepts
// must survive a round trip.
#include "model/QuillarcDatabaseObject.h"
#include "store/CanonicalDump.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"

#include <QByteArray>
#include <cstdlib>

namespace {
/// Values a full walk meets, counting a shared value at every place it is
/// referenced (as the dump prints it), stopping at `limit`.
qint64 expandedSize(const Value& value, qint64 limit)
{
    qint64 size = 1;
    auto add = [&](const Value& item) {
        if (size < limit)
            size += expandedSize(item, limit - size);
    };
    if (value.kind() == Value::Kind::Array) {
        for (const Value& item : value.toArray())
            add(item);
    } else if (value.kind() == Value::Kind::Dictionary) {
        for (const Value& item : value.toDictionary())
            add(item);
    } else if (const ObjectPtr object = value.toObject()) {
        for (int i = 0; i < int(object->classInfo().fields().size()); ++i)
            add(object->field(i));
    }
    return size;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QString error;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes, &error);
    // Values shared many levels deep decode in linear time but would print and
    // write out in full at every reference: those skip the round trip.
    if (root.isNil() || expandedSize(root, 10000) >= 10000)
        return 0;
    const QByteArray dump = CanonicalDump::dump(root);
    const Value again
        = KeyedUnarchiver::unarchiveObjectWithData(KeyedArchiver::archivedDataWithRootObject(root), &error);
    if (CanonicalDump::dump(again) != dump)
        std::abort();
    return 0;
}
