#include "store/KeyedUnarchiver.h"

#include "model/Logging.h"
#include "model/QuillarcDatabaseObject.h"
#include "store/XmlPlistReader.h"


namespace {
using Type = BinaryPlistReader::Type;

bool kindFits(Value::Kind expected, Value::Kind actual)
{
    if (actual == Value::Kind::Nil || expected == actual)
        return true;
    const auto isNumber = [](Value::Kind k) { return k == Value::Kind::Bool || k == Value::Kind::Integer || k == Value::Kind::Real; };
    // Numbers are read leniently: a flag stored as an integer, an integer stored as a real...
    return isNumber(expected) && isNumber(actual);
}

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

    Object top;
    if (!m_reader.object(m_reader.topObject(), &top) || top.type != Type::Dictionary)
        return fail(QStringLiteral("not a keyed archive: the top object is not a dictionary"));
    Object archiver;
    if (recordValue(top, QLatin1StringView("$archiver"), &archiver)
        && (!BinaryPlistReader::isString(archiver.type) || m_reader.stringValue(archiver) != QLatin1String("NSKeyedArchiver")))
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

QString KeyedUnarchiver::keyAt(const Object& dictionary, quint64 i, qsizetype* keyOffset)
{
    Object key;
    *keyOffset = -1;
    if (!m_reader.object(m_reader.ref(dictionary, i), &key)) {
        fail(m_reader.errorString()); // damage, unlike a key that is no text
        return QString();
    }
    if (!BinaryPlistReader::isString(key.type))
        return QString();
    *keyOffset = key.offset;
    auto it = m_keyStrings.constFind(key.offset);
    if (it == m_keyStrings.constEnd())
        it = m_keyStrings.insert(key.offset, m_reader.stringValue(key));
    return it.value();
}

bool KeyedUnarchiver::recordValue(const Object& record, QLatin1StringView key, Object* value)
{
    qsizetype keyOffset = 0;
    for (quint64 i = 0; i < record.count; ++i) {
        ++m_steps;
        if (keyAt(record, i, &keyOffset) == key)
            return m_reader.object(m_reader.ref(record, record.count + i), value) || fail(m_reader.errorString());
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

Value KeyedUnarchiver::plainValue(const Object& object)
{
    if (!isPlain(object.type))
        return Value();
    // Texts and bytes can be long: each stored one is converted once.
    const auto known = m_values.constFind(object.offset);
    if (known != m_values.constEnd())
        return known.value();
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
        value = Value::data(m_dataAsView ? m_reader.dataView(object) : m_reader.dataValue(object));
        break;
    default:
        value = Value::string(m_reader.stringValue(object));
        break;
    }
    m_values.insert(object.offset, value);
    return value;
}

bool KeyedUnarchiver::classOf(quint64 classUid, ClassEntry* entry)
{
    if (classUid == 0 || classUid >= m_objectRefs.size())
        return fail(QStringLiteral("class reference out of range"));
    Object description;
    if (!m_reader.object(m_objectRefs[size_t(classUid)], &description) || description.type != Type::Dictionary)
        return fail(QStringLiteral("damaged class description"));
    const auto known = m_classes.constFind(description.offset);
    if (known != m_classes.constEnd()) {
        *entry = known.value();
        return true;
    }
    Object nameObject;
    if (!recordValue(description, QLatin1StringView("$classname"), &nameObject) || !BinaryPlistReader::isString(nameObject.type))
        return fail(QStringLiteral("damaged class description"));
    // Class names of the platform's own values, with whether they are the mutable kind.
    static const QHash<QString, QPair<ClassEntry::Kind, bool>> platformClasses = {
        { QStringLiteral("NSDate"), { ClassEntry::Date, false } },
        { QStringLiteral("NSArray"), { ClassEntry::Array, false } },
        { QStringLiteral("NSMutableArray"), { ClassEntry::Array, true } },
        { QStringLiteral("NSDictionary"), { ClassEntry::Dictionary, false } },
        { QStringLiteral("NSMutableDictionary"), { ClassEntry::Dictionary, true } },
        { QStringLiteral("NSString"), { ClassEntry::String, false } },
        { QStringLiteral("NSMutableString"), { ClassEntry::String, true } },
        { QStringLiteral("NSData"), { ClassEntry::Data, false } },
        { QStringLiteral("NSMutableData"), { ClassEntry::Data, true } },
        { QStringLiteral("NSNumber"), { ClassEntry::Number, false } },
    };
    ClassEntry resolved;
    resolved.name = m_reader.stringValue(nameObject);
    if ((resolved.info = ClassInfo::forClassName(resolved.name))) {
        resolved.kind = ClassEntry::Model;
    } else {
        const auto platform = platformClasses.constFind(resolved.name);
        if (platform != platformClasses.constEnd()) {
            resolved.kind = platform->first;
            resolved.isMutable = platform->second;
        }
    }
    m_classes.insert(description.offset, resolved);
    *entry = resolved;
    return true;
}

bool KeyedUnarchiver::decodeUid(quint64 uid, Value* out, int depth)
{
    *out = Value();
    if (uid == 0)
        return true;
    if (uid >= m_objectRefs.size())
        return fail(QStringLiteral("reference past the object list"));
    Object object;
    if (!m_reader.object(m_objectRefs[size_t(uid)], &object))
        return fail(m_reader.errorString());
    const auto known = m_values.constFind(object.offset);
    if (known != m_values.constEnd()) {
        *out = known.value();
        return true;
    }
    if (isPlain(object.type)) {
        *out = plainValue(object);
        return true;
    }
    if (object.type != Type::Dictionary)
        return fail(QStringLiteral("unexpected object in the object list"));
    if (m_inProgress.contains(object.offset))
        return fail(QStringLiteral("an object contains itself"));
    if (depth >= maxDepth)
        return fail(QStringLiteral("objects nested more than %1 levels deep").arg(maxDepth));
    m_inProgress.insert(object.offset);
    const bool decoded = decodeRecord(object, out, depth);
    m_inProgress.remove(object.offset);
    if (decoded)
        m_values.insert(object.offset, *out);
    return decoded;
}

bool KeyedUnarchiver::decodeRecord(const Object& record, Value* out, int depth)
{
    Object classRef;
    quint64 classUid = 0;
    if (!recordValue(record, QLatin1StringView("$class"), &classRef) || !uidOf(classRef, &classUid))
        return fail(QStringLiteral("record without a class"));
    ClassEntry entry;
    if (!classOf(classUid, &entry))
        return false;

    switch (entry.kind) {
    case ClassEntry::Model:
        return decodeModelObject(record, entry, out, depth);
    case ClassEntry::Array:
    case ClassEntry::Dictionary:
        return decodeContainer(record, entry, out, depth);
    case ClassEntry::Date: {
        Object time;
        if (!recordValue(record, QLatin1StringView("NS.time"), &time)
            || (time.type != Type::Real && time.type != Type::Integer && time.type != Type::Date))
            return fail(QStringLiteral("date without a time"));
        *out = Value::date(m_reader.realValue(time));
        return true;
    }
    case ClassEntry::String: {
        Object text;
        if (!recordValue(record, QLatin1StringView("NS.string"), &text) || !BinaryPlistReader::isString(text.type))
            return fail(QStringLiteral("text record without text"));
        *out = plainValue(text);
        return true;
    }
    case ClassEntry::Data: {
        Object bytes;
        const bool found = recordValue(record, QLatin1StringView("NS.data"), &bytes)
            || (m_error.isEmpty() && recordValue(record, QLatin1StringView("NS.bytes"), &bytes));
        if (!found || bytes.type != Type::Data)
            return fail(QStringLiteral("data record without bytes"));
        *out = plainValue(bytes);
        return true;
    }
    case ClassEntry::Number: {
        // Number records carry their value under one NS.* key; take the first number found.
        qsizetype keyOffset = 0;
        for (quint64 i = 0; i < record.count; ++i) {
            ++m_steps;
            Object value;
            if (keyAt(record, i, &keyOffset) == QLatin1String("$class"))
                continue;
            if (!m_reader.object(m_reader.ref(record, record.count + i), &value))
                return fail(m_reader.errorString());
            if (value.type == Type::Integer || value.type == Type::Real || value.type == Type::Bool) {
                *out = plainValue(value);
                return true;
            }
        }
        return fail(QStringLiteral("number record without a number"));
    }
    case ClassEntry::Unknown:
        break;
    }
    return fail(QStringLiteral("unknown class %1").arg(entry.name));
}

bool KeyedUnarchiver::findList(const Object& record, QLatin1StringView key, Object* list)
{
    if (!recordValue(record, key, list)) {
        if (!m_error.isEmpty())
            return false;
        *list = Object(); // a missing list is an empty one
        list->type = Type::Array;
        list->offset = -1;
        return true;
    }
    return list->type == Type::Array || fail(QStringLiteral("%1 is not a list").arg(key));
}

bool KeyedUnarchiver::decodeList(const Object& list, QLatin1StringView key, ValueList* out, int depth)
{
    // Records may share one stored list: its entries are decoded once.
    const auto known = m_lists.constFind(list.offset);
    if (known != m_lists.constEnd()) {
        *out = known.value();
        return true;
    }
    ValueList items;
    items.reserve(qsizetype(list.count));
    for (quint64 i = 0; i < list.count; ++i) {
        ++m_steps;
        Object item;
        quint64 uid = 0;
        if (!m_reader.object(m_reader.ref(list, i), &item) || !uidOf(item, &uid))
            return fail(QStringLiteral("%1 holds something other than references").arg(key));
        Value value;
        if (!decodeUid(uid, &value, depth + 1))
            return false;
        items.append(value);
    }
    m_lists.insert(list.offset, items);
    *out = items;
    return true;
}

bool KeyedUnarchiver::decodeContainer(const Object& record, const ClassEntry& entry, Value* out, int depth)
{
    const QLatin1StringView objectsKey("NS.objects");
    const QLatin1StringView keysKey("NS.keys");
    Object valueList;
    ValueList values;
    if (!findList(record, objectsKey, &valueList))
        return false;
    if (entry.kind == ClassEntry::Array) {
        if (!decodeList(valueList, objectsKey, &values, depth))
            return false;
        *out = Value::array(values, entry.isMutable);
        return true;
    }
    Object keyList;
    if (!findList(record, keysKey, &keyList))
        return false;
    if (keyList.count != valueList.count)
        return fail(QStringLiteral("dictionary with unequal keys and values"));
    ValueList keys;
    if (!decodeList(keyList, keysKey, &keys, depth) || !decodeList(valueList, objectsKey, &values, depth))
        return false;
    // Records may also share both lists: the dictionary is then built once.
    const QPair<qsizetype, qsizetype> lists(keyList.offset, valueList.offset);
    auto known = m_maps.constFind(lists);
    if (known == m_maps.constEnd()) {
        ValueMap map;
        for (qsizetype i = 0; i < keys.size(); ++i) {
            ++m_steps;
            if (keys[i].kind() != Value::Kind::String)
                return fail(QStringLiteral("dictionary key that is not a text"));
            map.insert(keys[i].toString(), values[i]);
        }
        known = m_maps.insert(lists, map);
    }
    *out = Value::dictionary(known.value(), entry.isMutable);
    return true;
}

int KeyedUnarchiver::fieldIndex(qsizetype keyOffset, const QString& key, const ClassInfo* info)
{
    const QPair<qsizetype, const ClassInfo*> slot(keyOffset, info);
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

bool KeyedUnarchiver::decodeModelObject(const Object& record, const ClassEntry& entry, Value* out, int depth)
{
    const ObjectPtr object = entry.info->makeEmpty();
    const auto& fields = entry.info->fields();
    for (quint64 i = 0; i < record.count; ++i) {
        ++m_steps;
        qsizetype keyOffset = 0;
        const QString key = keyAt(record, i, &keyOffset);
        if (!m_error.isEmpty())
            return false;
        const int index = keyOffset < 0 ? -1 : fieldIndex(keyOffset, key, entry.info);
        if (index < 0)
            continue;
        Object reference;
        if (!m_reader.object(m_reader.ref(record, record.count + i), &reference))
            return fail(m_reader.errorString());
        Value value;
        if (reference.type == Type::Uid) {
            quint64 valueUid = 0;
            if (!uidOf(reference, &valueUid))
                return fail(QStringLiteral("reference out of range"));
            if (!decodeUid(valueUid, &value, depth + 1))
                return false;
        } else if (reference.type != Type::Data && reference.type != Type::Date) {
            value = plainValue(reference); // scalars encoded inline rather than as objects
        }
        const FieldInfo& field = fields[size_t(index)];
        if (!kindFits(field.kind, value.kind())) {
            qCWarning(lcQuillarc).noquote() << QStringLiteral("%1.%2: expected %3, found %4; read as nil")
                                                   .arg(entry.name, QString(field.key), Value::kindName(field.kind),
                                                       Value::kindName(value.kind()));
            value = Value();
        }
        object->setField(index, value);
    }
    *out = Value::object(object);
    return true;
}
