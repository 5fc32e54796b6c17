#include "store/KeyedUnarchiver.h"

#include "model/QuillarcDatabaseObject.h"
#include "store/XmlPlistReader.h"
#include "text/Logging.h"

namespace {
using Type = BinaryPlistReader::Type;
constexpr quint64 noList = ~quint64(0);
/// Dictionaries this small are rebuilt at each reference; larger ones once per pair of lists.
constexpr quint64 smallDictionary = 8;

bool isPlain(Type type)
{
    return type == Type::Bool || type == Type::Integer || type == Type::Real || type == Type::Date || type == Type::Data
        || BinaryPlistReader::isString(type);
}
} // namespace

bool KeyedUnarchiver::fail(const QString& message)
{
    if (m_error.isEmpty())
        m_error = message;
    return false;
}

bool KeyedUnarchiver::spend(qint64 work)
{
    return m_ledger.spend(work) || fail(QStringLiteral("objects overlap or repeat beyond what the file's size allows"));
}

Value KeyedUnarchiver::unarchiveObjectWithData(const QByteArray& bytes, QString* error)
{
    KeyedUnarchiver unarchiver;
    if (!unarchiver.decode(bytes)) {
        if (error)
            *error = unarchiver.errorString();
        return {};
    }
    return unarchiver.root();
}

bool KeyedUnarchiver::decode(const QByteArray& bytes)
{
    const bool dataAsView = m_dataAsView;
    *this = KeyedUnarchiver();
    m_dataAsView = dataAsView;
    QByteArray binary = bytes;
    if (!bytes.startsWith("bplist")) {
        if (!XmlPlistReader::looksLikeXml(bytes))
            return fail(QStringLiteral("not a keyed archive"));
        QString error;
        if (!XmlPlistReader::toBinary(bytes, &binary, &error))
            return fail(error);
    }
    if (!m_reader.open(binary))
        return fail(m_reader.errorString());
    m_ledger.reset(m_reader, workPerByte * binary.size());

    Object top;
    if (!m_reader.object(m_reader.topObject(), &top) || top.type != Type::Dictionary)
        return fail(QStringLiteral("not a keyed archive: the top object is not a dictionary"));
    Object archiver;
    if (recordValue(top, QLatin1StringView("$archiver"), &archiver)
        && (!BinaryPlistReader::isString(archiver.type)
            || m_reader.stringValue(archiver) != QLatin1String("NSKeyedArchiver")))
        return fail(QStringLiteral("not a keyed archive: unknown archiver"));
    Object objects;
    if (!recordValue(top, QLatin1StringView("$objects"), &objects) || objects.type != Type::Array)
        return fail(QStringLiteral("not a keyed archive: no object list"));
    m_objectRefs.resize(size_t(objects.count));
    for (quint64 i = 0; i < objects.count; ++i)
        m_objectRefs[size_t(i)] = m_reader.ref(objects, i);

    Object topRecord;
    if (!recordValue(top, QLatin1StringView("$top"), &topRecord) || topRecord.type != Type::Dictionary)
        return fail(QStringLiteral("not a keyed archive: no top record"));
    Object rootRef;
    quint64 rootUid = 0;
    if (!recordValue(topRecord, QLatin1StringView("root"), &rootRef) || !uidOf(rootRef, &rootUid))
        return fail(QStringLiteral("not a keyed archive: no root object"));
    // Damage met where a value was optional still fails the whole archive.
    if (!decodeUid(rootUid, &m_root, 0) || !m_error.isEmpty()) {
        m_root = Value();
        return fail(m_error);
    }
    return true;
}

QString KeyedUnarchiver::keyAt(const Object& dictionary, quint64 i, quint64* keyIndex)
{
    const quint64 ref = m_reader.ref(dictionary, i);
    *keyIndex = noList;
    if (ref >= m_reader.objectCount()) {
        fail(QStringLiteral("object reference out of range"));
        return QString();
    }
    *keyIndex = m_ledger.slot(ref);
    const auto known = m_keyStrings.constFind(*keyIndex);
    if (known != m_keyStrings.constEnd())
        return known.value();
    Object key;
    if (!m_reader.object(ref, &key)) {
        fail(m_reader.errorString()); // damage, unlike a key that is no text
        return QString();
    }
    QString text;
    if (BinaryPlistReader::isString(key.type) && spend(qint64(key.count)))
        text = m_reader.stringValue(key);
    m_keyStrings.insert(*keyIndex, text);
    return text;
}

bool KeyedUnarchiver::recordValue(const Object& record, QLatin1StringView key, Object* value, quint64* index)
{
    quint64 keyIndex = 0;
    for (quint64 i = 0; i < record.count; ++i) {
        if (!spend(1))
            return false;
        if (keyAt(record, i, &keyIndex) == key) {
            const quint64 ref = m_reader.ref(record, record.count + i);
            if (index)
                *index = ref;
            return m_reader.object(ref, value) || fail(m_reader.errorString());
        }
    }
    return false;
}

bool KeyedUnarchiver::uidOf(const Object& object, quint64* uid) const
{
    if (object.type != Type::Uid)
        return false;
    *uid = m_reader.uidValue(object);
    return object.width <= 4 || *uid < (quint64(1) << 32);
}

Value KeyedUnarchiver::plainValue(const Object& object, quint64 index)
{
    if (!isPlain(object.type))
        return Value();
    const quint64 slot = m_ledger.slot(index);
    if (m_ledger.state(slot) == State::Value)
        return m_ledger.value(slot);
    // Texts and bytes can be long: each stored one is converted once.
    Value value;
    switch (object.type) {
    case Type::Bool:
        value = Value::boolean(object.boolean);
        break;
    case Type::Integer:
        value = Value::integer(m_reader.integerValue(object));
        break;
    case Type::Real:
        value = Value::real(m_reader.realValue(object), object.width == 4);
        break;
    case Type::Date: // written inline by some archivers
        value = Value::date(m_reader.realValue(object));
        break;
    case Type::Data:
        if (spend(qint64(object.count)))
            value = Value::data(m_dataAsView ? m_reader.dataView(object) : m_reader.dataValue(object));
        break;
    default:
        if (spend(qint64(object.count)))
            value = Value::string(m_reader.stringValue(object));
        break;
    }
    m_ledger.setValue(slot, value);
    return value;
}

bool KeyedUnarchiver::classOf(quint64 classUid, ArchiveClass* entry)
{
    if (classUid == 0 || classUid >= m_objectRefs.size())
        return fail(QStringLiteral("class reference out of range"));
    const quint64 index = m_objectRefs[size_t(classUid)];
    Object description;
    if (!m_reader.object(index, &description) || description.type != Type::Dictionary)
        return fail(QStringLiteral("damaged class description"));
    const quint64 slot = m_ledger.slot(index);
    const auto known = m_classes.constFind(slot);
    if (known != m_classes.constEnd()) {
        *entry = known.value();
        return true;
    }
    Object name;
    if (!recordValue(description, QLatin1StringView("$classname"), &name) || !BinaryPlistReader::isString(name.type))
        return fail(QStringLiteral("damaged class description"));
    if (!spend(qint64(name.count)))
        return false;
    *entry = ArchiveClass::forName(m_reader.stringValue(name));
    m_classes.insert(slot, *entry);
    return true;
}

bool KeyedUnarchiver::decodeUid(quint64 uid, Value* out, int depth)
{
    *out = Value();
    if (uid == 0)
        return true;
    if (uid >= m_objectRefs.size())
        return fail(QStringLiteral("reference past the object list"));
    const quint64 index = m_objectRefs[size_t(uid)];
    if (index >= m_reader.objectCount())
        return fail(QStringLiteral("object reference out of range"));
    const quint64 slot = m_ledger.slot(index);
    switch (m_ledger.state(slot)) {
    case State::Value:
        *out = m_ledger.value(slot);
        return true;
    case State::InProgress:
        return fail(QStringLiteral("an object contains itself"));
    case State::List:
        return fail(QStringLiteral("unexpected object in the object list"));
    case State::Unseen:
        break;
    }
    Object object;
    if (!m_reader.object(index, &object))
        return fail(m_reader.errorString());
    if (isPlain(object.type)) {
        *out = plainValue(object, index);
        return true;
    }
    if (object.type != Type::Dictionary)
        return fail(QStringLiteral("unexpected object in the object list"));
    if (depth >= maxDepth)
        return fail(QStringLiteral("objects nested more than %1 levels deep").arg(maxDepth));
    m_ledger.setInProgress(slot);
    if (!decodeRecord(object, out, depth))
        return false;
    m_ledger.setValue(slot, *out);
    return true;
}

bool KeyedUnarchiver::decodeRecord(const Object& record, Value* out, int depth)
{
    Object classRef;
    quint64 classUid = 0;
    if (!recordValue(record, QLatin1StringView("$class"), &classRef) || !uidOf(classRef, &classUid))
        return fail(QStringLiteral("record without a class"));
    ArchiveClass entry;
    if (!classOf(classUid, &entry))
        return false;
    switch (entry.kind) {
    case ArchiveClass::Model:
        return decodeModelObject(record, entry, out, depth);
    case ArchiveClass::Array:
    case ArchiveClass::Dictionary:
        return decodeContainer(record, entry, out, depth);
    case ArchiveClass::Unknown:
        return fail(QStringLiteral("unknown class %1").arg(entry.name));
    default:
        return decodePlatformValue(record, entry, out);
    }
}

bool KeyedUnarchiver::decodePlatformValue(const Object& record, const ArchiveClass& entry, Value* out)
{
    Object value;
    quint64 index = 0;
    switch (entry.kind) {
    case ArchiveClass::Date:
        if (!recordValue(record, QLatin1StringView("NS.time"), &value)
            || (value.type != Type::Real && value.type != Type::Integer && value.type != Type::Date))
            return fail(QStringLiteral("date without a time"));
        *out = Value::date(m_reader.realValue(value));
        return true;
    case ArchiveClass::String:
        if (!recordValue(record, QLatin1StringView("NS.string"), &value, &index)
            || !BinaryPlistReader::isString(value.type))
            return fail(QStringLiteral("text record without text"));
        *out = plainValue(value, index);
        return true;
    case ArchiveClass::Data: {
        const bool found = recordValue(record, QLatin1StringView("NS.data"), &value, &index)
            || (m_error.isEmpty() && recordValue(record, QLatin1StringView("NS.bytes"), &value, &index));
        if (!found || value.type != Type::Data)
            return fail(QStringLiteral("data record without bytes"));
        *out = plainValue(value, index);
        return true;
    }
    default: {
        // Number records carry their value under one NS.* key; take the first number found.
        quint64 keyIndex = 0;
        for (quint64 i = 0; i < record.count; ++i) {
            if (!spend(1))
                return false;
            if (keyAt(record, i, &keyIndex) == QLatin1String("$class"))
                continue;
            index = m_reader.ref(record, record.count + i);
            if (!m_reader.object(index, &value))
                return fail(m_reader.errorString());
            if (value.type == Type::Integer || value.type == Type::Real || value.type == Type::Bool) {
                *out = plainValue(value, index);
                return true;
            }
        }
        return fail(QStringLiteral("number record without a number"));
    }
    }
}

bool KeyedUnarchiver::findList(const Object& record, QLatin1StringView key, Object* list, quint64* index)
{
    if (!recordValue(record, key, list, index)) {
        if (!m_error.isEmpty())
            return false;
        *list = Object(); // a missing list is an empty one
        list->type = Type::Array;
        *index = noList;
        return true;
    }
    return list->type == Type::Array || fail(QStringLiteral("%1 is not a list").arg(key));
}

bool KeyedUnarchiver::decodeList(const Object& list, quint64 index, QLatin1StringView key, ValueList* out, int depth)
{
    if (index == noList) {
        out->clear();
        return true;
    }
    // Records may share one stored list: its entries are decoded once.
    const quint64 slot = m_ledger.slot(index);
    if (m_ledger.state(slot) == State::List) {
        *out = m_ledger.value(slot).toArray();
        return true;
    }
    ValueList items;
    items.reserve(qsizetype(list.count));
    for (quint64 i = 0; i < list.count; ++i) {
        if (!spend(1))
            return false;
        Object item;
        quint64 uid = 0;
        if (!m_reader.object(m_reader.ref(list, i), &item) || !uidOf(item, &uid))
            return fail(QStringLiteral("%1 holds something other than references").arg(key));
        Value value;
        if (!decodeUid(uid, &value, depth + 1))
            return false;
        items.append(value);
    }
    m_ledger.setList(slot, items);
    *out = items;
    return true;
}

bool KeyedUnarchiver::decodeContainer(const Object& record, const ArchiveClass& entry, Value* out, int depth)
{
    const QLatin1StringView objectsKey("NS.objects");
    const QLatin1StringView keysKey("NS.keys");
    Object valueList;
    quint64 valueIndex = noList;
    ValueList values;
    if (!findList(record, objectsKey, &valueList, &valueIndex))
        return false;
    if (entry.kind == ArchiveClass::Array) {
        if (!decodeList(valueList, valueIndex, objectsKey, &values, depth))
            return false;
        *out = Value::array(values, entry.isMutable);
        return true;
    }
    Object keyList;
    quint64 keyIndex = noList;
    if (!findList(record, keysKey, &keyList, &keyIndex))
        return false;
    if (keyList.count != valueList.count)
        return fail(QStringLiteral("dictionary with unequal keys and values"));
    ValueList keys;
    if (!decodeList(keyList, keyIndex, keysKey, &keys, depth)
        || !decodeList(valueList, valueIndex, objectsKey, &values, depth))
        return false;
    // Records may also share both lists: a large dictionary is then built once.
    const QPair<quint64, quint64> lists(keyIndex == noList ? noList : m_ledger.slot(keyIndex),
        valueIndex == noList ? noList : m_ledger.slot(valueIndex));
    const bool remember = keyList.count > smallDictionary;
    if (remember) {
        const auto known = m_maps.constFind(lists);
        if (known != m_maps.constEnd()) {
            *out = Value::dictionary(known.value(), entry.isMutable);
            return true;
        }
    }
    ValueMap map;
    for (qsizetype i = 0; i < keys.size(); ++i) {
        if (!spend(1))
            return false;
        if (keys[i].kind() != Value::Kind::String)
            return fail(QStringLiteral("dictionary key that is not a text"));
        map.insert(keys[i].toString(), values[i]);
    }
    if (remember)
        m_maps.insert(lists, map);
    *out = Value::dictionary(map, entry.isMutable);
    return true;
}

int KeyedUnarchiver::fieldIndex(quint64 keyIndex, const QString& key, const ClassInfo* info)
{
    const QPair<quint64, const ClassInfo*> slot(keyIndex, info);
    const auto known = m_fieldIndexes.constFind(slot);
    if (known != m_fieldIndexes.constEnd())
        return known.value();
    int index = -1;
    if (key.startsWith(QLatin1String("$$")))
        index = info->indexOf(key.mid(1)); // "$" escapes keys that start with "$"
    else if (!key.startsWith(QLatin1Char('$')))
        index = info->indexOf(key); // keys this version does not know are ignored
    m_fieldIndexes.insert(slot, index);
    return index;
}

bool KeyedUnarchiver::decodeModelObject(const Object& record, const ArchiveClass& entry, Value* out, int depth)
{
    const ObjectPtr object = entry.info->makeEmpty();
    const auto& fields = entry.info->fields();
    for (quint64 i = 0; i < record.count; ++i) {
        quint64 keyIndex = 0;
        if (!spend(1))
            return false;
        const QString key = keyAt(record, i, &keyIndex);
        if (!m_error.isEmpty())
            return false;
        const int index = fieldIndex(keyIndex, key, entry.info);
        if (index < 0)
            continue;
        const quint64 valueIndex = m_reader.ref(record, record.count + i);
        Object reference;
        if (!m_reader.object(valueIndex, &reference))
            return fail(m_reader.errorString());
        Value value;
        if (reference.type == Type::Uid) {
            quint64 valueUid = 0;
            if (!uidOf(reference, &valueUid))
                return fail(QStringLiteral("reference out of range"));
            if (!decodeUid(valueUid, &value, depth + 1))
                return false;
        } else if (reference.type != Type::Data && reference.type != Type::Date) {
            value = plainValue(reference, valueIndex); // scalars encoded inline rather than as objects
        }
        const FieldInfo& field = fields[size_t(index)];
        if (!ClassInfo::kindFits(field.kind, value.kind())) {
            qCWarning(lcQuillarc).noquote()
                << QStringLiteral("%1.%2: expected %3, found %4; read as nil")
                       .arg(entry.name, QString(field.key), Value::kindName(field.kind), Value::kindName(value.kind()));
            value = Value();
        }
        object->setField(index, value);
    }
    *out = Value::object(object);
    return true;
}
