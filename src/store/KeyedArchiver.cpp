#include "store/KeyedArchiver.h"

#include "model/QuillarcDatabaseObject.h"

#include <cstring>

namespace {
constexpr qsizetype maxSharedStringLength = 256;

QString escapedKey(const QString& key)
{
    // Keys starting with "$" are reserved by the format and get one more "$".
    return key.startsWith(QLatin1Char('$')) ? QLatin1Char('$') + key : key;
}
} // namespace

QByteArray KeyedArchiver::archivedDataWithRootObject(const Value& root, const FieldSource* fields)
{
    KeyedArchiver archiver;
    archiver.m_fields = fields;
    archiver.m_objects.push_back(archiver.m_writer.addString(QStringLiteral("$null")));
    archiver.m_classKey = archiver.m_writer.addString(QStringLiteral("$class"));
    archiver.m_timeKey = archiver.m_writer.addString(QStringLiteral("NS.time"));
    archiver.m_keysKey = archiver.m_writer.addString(QStringLiteral("NS.keys"));
    archiver.m_objectsKey = archiver.m_writer.addString(QStringLiteral("NS.objects"));
    const quint64 rootUid = archiver.encode(root);
    return archiver.finish(rootUid);
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

quint64 KeyedArchiver::classUid(const QString& className, const QStringList& chain)
{
    const auto it = m_classUids.constFind(className);
    if (it != m_classUids.constEnd())
        return it.value();
    std::vector<Ref> chainRefs;
    for (const QString& name : chain)
        chainRefs.push_back(m_writer.addString(name));
    const Ref description = m_writer.addDictionary(
        { m_writer.addString(QStringLiteral("$classes")), m_writer.addString(QStringLiteral("$classname")) },
        { m_writer.addArray(chainRefs), m_writer.addString(className) });
    const quint64 uid = appendSlot(description);
    m_classUids.insert(className, uid);
    return uid;
}

void KeyedArchiver::finishRecord(quint64 uid, std::vector<Ref>& keys, std::vector<Ref>& values,
    const QString& className, const QStringList& chain)
{
    // The class description follows the record's children, and only once per class.
    keys.push_back(m_classKey);
    values.push_back(m_writer.addUid(classUid(className, chain)));
    m_writer.setDictionary(m_objects[size_t(uid)], keys, values);
}

void KeyedArchiver::finishContainerRecord(quint64 uid, std::vector<Ref>& keys, std::vector<Ref>& values,
    const QString& immutableName, bool isMutable)
{
    // "NSMutableArray" derives from "NSArray", likewise for dictionaries.
    if (!isMutable) {
        finishRecord(uid, keys, values, immutableName, { immutableName, QStringLiteral("NSObject") });
        return;
    }
    const QString name = QStringLiteral("NSMutable") + immutableName.mid(2);
    finishRecord(uid, keys, values, name, { name, immutableName, QStringLiteral("NSObject") });
}

quint64 KeyedArchiver::encode(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::Nil:
        return 0;
    case Value::Kind::String: {
        const QString text = value.toString();
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
    case Value::Kind::Bool:
    case Value::Kind::Integer:
    case Value::Kind::Real: {
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
    case Value::Kind::Data:
        return appendSlot(m_writer.addData(value.toData()));
    case Value::Kind::Date: {
        const quint64 uid = reserveSlot();
        std::vector<Ref> keys { m_timeKey };
        std::vector<Ref> values { m_writer.addReal(value.toDate(), false) };
        finishRecord(uid, keys, values, QStringLiteral("NSDate"), { QStringLiteral("NSDate"), QStringLiteral("NSObject") });
        return uid;
    }
    case Value::Kind::Array: {
        const quint64 uid = reserveSlot();
        std::vector<Ref> items;
        const ValueList& list = value.toArray();
        items.reserve(size_t(list.size()));
        for (const Value& item : list)
            items.push_back(m_writer.addUid(encode(item)));
        std::vector<Ref> keys { m_objectsKey };
        std::vector<Ref> values { m_writer.addArray(items) };
        finishContainerRecord(uid, keys, values, QStringLiteral("NSArray"), value.isMutableContainer());
        return uid;
    }
    case Value::Kind::Dictionary: {
        const quint64 uid = reserveSlot();
        const ValueMap& map = value.toDictionary();
        std::vector<Ref> keyUids;
        std::vector<Ref> valueUids;
        for (auto it = map.constBegin(); it != map.constEnd(); ++it)
            keyUids.push_back(m_writer.addUid(encode(Value::string(it.key()))));
        for (auto it = map.constBegin(); it != map.constEnd(); ++it)
            valueUids.push_back(m_writer.addUid(encode(it.value())));
        std::vector<Ref> keys { m_keysKey, m_objectsKey };
        std::vector<Ref> values { m_writer.addArray(keyUids), m_writer.addArray(valueUids) };
        finishContainerRecord(uid, keys, values, QStringLiteral("NSDictionary"), value.isMutableContainer());
        return uid;
    }
    case Value::Kind::Object: {
        const ObjectPtr object = value.toObject();
        const auto known = m_objectUids.constFind(object.get());
        if (known != m_objectUids.constEnd())
            return known.value();
        const quint64 uid = reserveSlot();
        m_objectUids.insert(object.get(), uid);
        const ClassInfo& info = object->classInfo();
        std::vector<Ref> keys;
        std::vector<Ref> values;
        const auto& fields = info.fields();
        keys.reserve(fields.size() + 1);
        values.reserve(fields.size() + 1);
        const std::vector<Ref>& fieldKeyRefs = fieldKeys(info);
        const std::shared_ptr<const FieldValues> own = m_fields ? nullptr : object->sharedFields();
        const FieldValues& fieldValues = m_fields ? m_fields->fieldsOf(*object) : *own;
        for (size_t i = 0; i < fields.size(); ++i) {
            keys.push_back(fieldKeyRefs[i]);
            values.push_back(m_writer.addUid(encode(fieldValues[i])));
        }
        finishRecord(uid, keys, values, info.className(), info.classChain());
        return uid;
    }
    }
    return 0;
}

const std::vector<BinaryPlistWriter::Ref>& KeyedArchiver::fieldKeys(const ClassInfo& info)
{
    auto it = m_fieldKeys.find(&info);
    if (it == m_fieldKeys.end()) {
        std::vector<Ref> refs;
        for (const FieldInfo& field : info.fields())
            refs.push_back(m_writer.addString(escapedKey(QString(field.key))));
        it = m_fieldKeys.insert(&info, refs);
    }
    return it.value();
}

QByteArray KeyedArchiver::finish(quint64 rootUid)
{
    const Ref objects = m_writer.addArray(m_objects);
    const Ref top = m_writer.addDictionary({ m_writer.addString(QStringLiteral("root")) }, { m_writer.addUid(rootUid) });
    const Ref archive = m_writer.addDictionary(
        { m_writer.addString(QStringLiteral("$version")), m_writer.addString(QStringLiteral("$objects")),
            m_writer.addString(QStringLiteral("$archiver")), m_writer.addString(QStringLiteral("$top")) },
        { m_writer.addInteger(100000), objects, m_writer.addString(QStringLiteral("NSKeyedArchiver")), top });
    return m_writer.write(archive);
}
