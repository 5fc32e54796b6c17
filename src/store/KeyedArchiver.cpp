#include "store/KeyedArchiver.h"

#include "model/QuillarcDatabaseObject.h"

#include <cstring>

namespace {
// Short texts (extensions, kinds, tags, names) repeat across records and are
// stored once; longer ones (identifiers, paths, contents) hardly ever do, and
// looking each of them up would cost more time than the bytes it could save.
constexpr qsizetype maxSharedStringLength = 32;

QString escapedKey(const QString& key)
{
    // Keys starting with "$" are reserved by the format and get one more "$".
    return key.startsWith(QLatin1Char('$')) ? QLatin1Char('$') + key : key;
}
} // namespace

QByteArray KeyedArchiver::archivedDataWithRootObject(const Value& root, const FieldSource* fields, QString* error)
{
    KeyedArchiver archiver(fields);
    const Ref top = archiver.archive(root);
    if (!archiver.errorString().isEmpty()) {
        if (error)
            *error = archiver.errorString();
        return QByteArray();
    }
    return archiver.writer().write(top);
}

KeyedArchiver::KeyedArchiver(const FieldSource* fields)
    : m_fields(fields)
{
    m_objects.push_back(m_writer.addString(QStringLiteral("$null")));
    m_classKey = m_writer.addString(QStringLiteral("$class"));
    m_timeKey = m_writer.addString(QStringLiteral("NS.time"));
    m_keysKey = m_writer.addString(QStringLiteral("NS.keys"));
    m_objectsKey = m_writer.addString(QStringLiteral("NS.objects"));
}

void KeyedArchiver::setDeferredData(const QByteArray& marker, qint64 size)
{
    m_deferredData = marker;
    m_deferredSize = size;
}

void KeyedArchiver::setDeferredString(const QString& marker)
{
    m_deferredString = marker;
}

KeyedArchiver::Ref KeyedArchiver::archive(const Value& root)
{
    const quint64 rootUid = encode(root);
    const Ref objects = m_writer.addArray(m_objects);
    const Ref top = m_writer.addDictionary({ m_writer.addString(QStringLiteral("root")) }, { m_writer.addUid(rootUid) });
    return m_writer.addDictionary(
        { m_writer.addString(QStringLiteral("$version")), m_writer.addString(QStringLiteral("$objects")),
            m_writer.addString(QStringLiteral("$archiver")), m_writer.addString(QStringLiteral("$top")) },
        { m_writer.addInteger(100000), objects, m_writer.addString(QStringLiteral("NSKeyedArchiver")), top });
}

quint64 KeyedArchiver::appendSlot(Ref ref)
{
    m_objects.push_back(ref);
    return m_objects.size() - 1;
}

quint64 KeyedArchiver::reserveSlot()
{
    return appendSlot(m_writer.reserve());
}

quint64 KeyedArchiver::classDescription(const QString& className, const QStringList& chain)
{
    std::vector<Ref> chainRefs;
    for (const QString& name : chain)
        chainRefs.push_back(m_writer.addString(name));
    const Ref description = m_writer.addDictionary(
        { m_writer.addString(QStringLiteral("$classes")), m_writer.addString(QStringLiteral("$classname")) },
        { m_writer.addArray(chainRefs), m_writer.addString(className) });
    return appendSlot(description);
}

quint64 KeyedArchiver::platformClass(PlatformClass which)
{
    quint64& uid = m_platformClasses[which];
    if (uid != 0) // slot 0 is "$null", never a class
        return uid;
    // "NSMutableArray" derives from "NSArray", likewise for dictionaries.
    const QString object = QStringLiteral("NSObject");
    switch (which) {
    case NSDate:
        uid = classDescription(QStringLiteral("NSDate"), { QStringLiteral("NSDate"), object });
        break;
    case NSArray:
        uid = classDescription(QStringLiteral("NSArray"), { QStringLiteral("NSArray"), object });
        break;
    case NSMutableArray:
        uid = classDescription(QStringLiteral("NSMutableArray"), { QStringLiteral("NSMutableArray"), QStringLiteral("NSArray"), object });
        break;
    case NSDictionary:
        uid = classDescription(QStringLiteral("NSDictionary"), { QStringLiteral("NSDictionary"), object });
        break;
    case NSMutableDictionary:
        uid = classDescription(QStringLiteral("NSMutableDictionary"),
            { QStringLiteral("NSMutableDictionary"), QStringLiteral("NSDictionary"), object });
        break;
    case PlatformClassCount:
        break;
    }
    return uid;
}

KeyedArchiver::ModelClass& KeyedArchiver::modelClass(const ClassInfo& info)
{
    auto it = m_modelClasses.find(&info);
    if (it == m_modelClasses.end()) {
        ModelClass added;
        for (const FieldInfo& field : info.fields())
            added.keys.push_back(m_writer.addString(escapedKey(QString(field.key))));
        added.keys.push_back(m_classKey);
        it = m_modelClasses.insert(&info, std::move(added));
    }
    return it.value();
}

void KeyedArchiver::finishRecord(quint64 uid, const Ref* keys, const Ref* values, quint32 count)
{
    m_writer.setDictionary(m_objects[size_t(uid)], keys, values, count);
}

quint64 KeyedArchiver::encodeString(const QString& text)
{
    if (!m_deferredString.isNull() && text.isSharedWith(m_deferredString)) {
        // A placeholder of its own, never shared with an equal text.
        m_deferredStringNode = m_writer.addString(text, false);
        return appendSlot(m_deferredStringNode);
    }
    const bool share = text.size() <= maxSharedStringLength;
    if (share) {
        const auto it = m_stringUids.constFind(text);
        if (it != m_stringUids.constEnd())
            return it.value();
    }
    const quint64 uid = appendSlot(m_writer.addString(text, false)); // shared here already
    if (share)
        m_stringUids.insert(text, uid);
    return uid;
}

quint64 KeyedArchiver::encodeNumber(const Value& value)
{
    int slot;
    quint64 bits;
    if (value.kind() == Value::Kind::Bool) {
        slot = 0;
        bits = value.toBool();
    } else if (value.kind() == Value::Kind::Integer) {
        slot = 1;
        bits = quint64(value.toInteger());
    } else if (value.isReal32()) {
        slot = 2;
        const float f = float(value.toReal());
        quint32 b;
        std::memcpy(&b, &f, 4);
        bits = b;
    } else {
        slot = 3;
        const double d = value.toReal();
        std::memcpy(&bits, &d, 8);
    }
    const auto it = m_numberUids[slot].constFind(bits);
    if (it != m_numberUids[slot].constEnd())
        return it.value();
    const Ref ref = slot == 0 ? m_writer.addBool(value.toBool())
        : slot == 1           ? m_writer.addInteger(value.toInteger())
                              : m_writer.addReal(value.toReal(), slot == 2);
    const quint64 uid = appendSlot(ref);
    m_numberUids[slot].insert(bits, uid);
    return uid;
}

quint64 KeyedArchiver::encodeObject(const ObjectPtr& object)
{
    const auto known = m_objectUids.constFind(object.get());
    if (known != m_objectUids.constEnd())
        return known.value();
    const quint64 uid = reserveSlot();
    m_objectUids.insert(object.get(), uid);
    const ClassInfo& info = object->classInfo();
    const std::shared_ptr<const FieldValues> own = m_fields ? nullptr : object->sharedFields();
    const FieldValues* fields = m_fields ? m_fields->fieldsOf(*object) : own.get();
    if (!fields || fields->size() != info.fields().size()) {
        m_errorString = QStringLiteral("an archive object was not captured for saving");
        return uid;
    }
    const size_t start = m_scratch.size();
    for (const Value& field : *fields) {
        const quint64 fieldUid = encode(field);
        m_scratch.push_back(m_writer.addUid(fieldUid));
    }
    // The class description follows the record's children, and only once per class.
    ModelClass& modelClassRecord = modelClass(info);
    if (modelClassRecord.uid == 0)
        modelClassRecord.uid = classDescription(info.className(), info.classChain());
    m_scratch.push_back(m_writer.addUid(modelClassRecord.uid));
    finishRecord(uid, modelClassRecord.keys.data(), m_scratch.data() + start, quint32(m_scratch.size() - start));
    m_scratch.resize(start);
    return uid;
}

bool KeyedArchiver::knownContainer(const Value& container, quint64* uid)
{
    // A list or dictionary that leads further is stored once however often
    // it is shared, as an object is: sharing never multiplies its contents.
    // Lists of texts are simply written again, which costs no more than a
    // reference each.
    if (!container.hasNestedValues()) {
        *uid = reserveSlot();
        return false;
    }
    const quintptr key = quintptr(container.containerIdentity()) | (container.isMutableContainer() ? 1 : 0);
    const auto it = m_containerUids.constFind(key);
    if (it != m_containerUids.constEnd()) {
        *uid = it.value();
        return true;
    }
    *uid = reserveSlot();
    m_containerUids.insert(key, *uid);
    return false;
}

quint64 KeyedArchiver::encode(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::Nil:
        return 0;
    case Value::Kind::String:
        return encodeString(value.toString());
    case Value::Kind::Bool:
    case Value::Kind::Integer:
    case Value::Kind::Real:
        return encodeNumber(value);
    case Value::Kind::Data: {
        const QByteArray bytes = value.toData();
        if (m_deferredSize >= 0 && !m_deferredData.isEmpty() && bytes.isSharedWith(m_deferredData))
            return appendSlot(m_writer.addDeferredData(m_deferredSize));
        return appendSlot(m_writer.addData(bytes));
    }
    case Value::Kind::Date: {
        const quint64 uid = reserveSlot();
        const Ref time = m_writer.addReal(value.toDate(), false);
        const Ref keys[] = { m_timeKey, m_classKey };
        const Ref values[] = { time, m_writer.addUid(platformClass(NSDate)) };
        finishRecord(uid, keys, values, 2);
        return uid;
    }
    case Value::Kind::Array: {
        quint64 uid = 0;
        if (knownContainer(value, &uid))
            return uid;
        const size_t start = m_scratch.size();
        for (const Value& item : value.toArray()) {
            const quint64 itemUid = encode(item);
            m_scratch.push_back(m_writer.addUid(itemUid));
        }
        const Ref items = m_writer.addArray(m_scratch.data() + start, quint32(m_scratch.size() - start));
        m_scratch.resize(start);
        const Ref keys[] = { m_objectsKey, m_classKey };
        const Ref values[] = { items, m_writer.addUid(platformClass(value.isMutableContainer() ? NSMutableArray : NSArray)) };
        finishRecord(uid, keys, values, 2);
        return uid;
    }
    case Value::Kind::Dictionary: {
        quint64 uid = 0;
        if (knownContainer(value, &uid))
            return uid;
        const ValueMap& map = value.toDictionary();
        const size_t start = m_scratch.size();
        // All keys first, then all values, as the reference archiver does.
        for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
            const quint64 keyUid = encodeString(it.key());
            m_scratch.push_back(m_writer.addUid(keyUid));
        }
        for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
            const quint64 valueUid = encode(it.value());
            m_scratch.push_back(m_writer.addUid(valueUid));
        }
        const quint32 count = quint32(map.size());
        const Ref keyArray = m_writer.addArray(m_scratch.data() + start, count);
        const Ref valueArray = m_writer.addArray(m_scratch.data() + start + count, count);
        m_scratch.resize(start);
        const Ref keys[] = { m_keysKey, m_objectsKey, m_classKey };
        const Ref values[] = { keyArray, valueArray,
            m_writer.addUid(platformClass(value.isMutableContainer() ? NSMutableDictionary : NSDictionary)) };
        finishRecord(uid, keys, values, 3);
        return uid;
    }
    case Value::Kind::Object:
        return encodeObject(value.toObject());
    }
    return 0;
}
