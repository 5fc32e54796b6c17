#include "store/KeyedUnarchiver.h"

#include "model/Logging.h"
#include "model/QuillarcDatabaseObject.h"
#include "store/XmlPlistReader.h"

#include <QScopeGuard>

namespace {
using Type = BinaryPlistReader::Type;
constexpr int maxDepth = 256;

bool kindFits(Value::Kind expected, Value::Kind actual)
{
    if (actual == Value::Kind::Nil || expected == actual)
        return true;
    const auto isNumber = [](Value::Kind k) { return k == Value::Kind::Bool || k == Value::Kind::Integer || k == Value::Kind::Real; };
    // Numbers are read leniently: a flag stored as an integer, an integer stored as a real...
    return isNumber(expected) && isNumber(actual);
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

QByteArray KeyedUnarchiver::dataOf(const Object& object) const
{
    return m_dataAsView ? m_reader.dataView(object) : m_reader.dataValue(object);
}

bool KeyedUnarchiver::decode(const QByteArray& bytes)
{
    m_error.clear();
    m_root = Value();
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
    if (recordValue(top, QStringLiteral("$archiver"), &archiver)
        && (!BinaryPlistReader::isString(archiver.type) || m_reader.stringValue(archiver) != QLatin1String("NSKeyedArchiver")))
        return fail(QStringLiteral("not a keyed archive: unknown archiver"));
    Object objects;
    if (!recordValue(top, QStringLiteral("$objects"), &objects) || objects.type != Type::Array)
        return fail(QStringLiteral("not a keyed archive: no object list"));
    m_objectRefs.resize(size_t(objects.count));
    for (quint64 i = 0; i < objects.count; ++i)
        m_objectRefs[size_t(i)] = m_reader.ref(objects, i);

    Object topRecord;
    if (!recordValue(top, QStringLiteral("$top"), &topRecord) || topRecord.type != Type::Dictionary)
        return fail(QStringLiteral("not a keyed archive: no top record"));
    Object rootRef;
    quint64 rootUid = 0;
    if (!recordValue(topRecord, QStringLiteral("root"), &rootRef) || !uidOf(rootRef, &rootUid))
        return fail(QStringLiteral("not a keyed archive: no root object"));
    return decodeUid(rootUid, &m_root, 0);
}

QString KeyedUnarchiver::keyAt(const Object& dictionary, quint64 i)
{
    const quint64 ref = m_reader.ref(dictionary, i);
    const auto it = m_keyStrings.constFind(ref);
    if (it != m_keyStrings.constEnd())
        return it.value();
    Object key;
    QString text;
    if (m_reader.object(ref, &key) && BinaryPlistReader::isString(key.type))
        text = m_reader.stringValue(key);
    m_keyStrings.insert(ref, text);
    return text;
}

bool KeyedUnarchiver::recordValue(const Object& record, const QString& key, Object* value)
{
    for (quint64 i = 0; i < record.count; ++i) {
        if (keyAt(record, i) == key)
            return m_reader.object(m_reader.ref(record, record.count + i), value);
    }
    return false;
}

bool KeyedUnarchiver::uidOf(const Object& object, quint64* uid)
{
    if (object.type != Type::Uid)
        return false;
    *uid = m_reader.uidValue(object);
    return object.width <= 4 || *uid < (quint64(1) << 32);
}

bool KeyedUnarchiver::uidList(const Object& record, const QString& key, std::vector<quint64>* uids)
{
    Object list;
    if (!recordValue(record, key, &list))
        return true; // a missing list is an empty one
    if (list.type != Type::Array)
        return fail(QStringLiteral("%1 is not a list").arg(key));
    uids->reserve(size_t(list.count));
    for (quint64 i = 0; i < list.count; ++i) {
        Object item;
        quint64 uid = 0;
        if (!m_reader.object(m_reader.ref(list, i), &item) || !uidOf(item, &uid))
            return fail(QStringLiteral("%1 holds something other than references").arg(key));
        uids->push_back(uid);
    }
    return true;
}

bool KeyedUnarchiver::className(quint64 classUid, QString* name)
{
    const auto it = m_classNames.constFind(classUid);
    if (it != m_classNames.constEnd()) {
        *name = it.value();
        return true;
    }
    if (classUid == 0 || classUid >= m_objectRefs.size())
        return fail(QStringLiteral("class reference out of range"));
    Object description;
    Object nameObject;
    if (!m_reader.object(m_objectRefs[size_t(classUid)], &description) || description.type != Type::Dictionary
        || !recordValue(description, QStringLiteral("$classname"), &nameObject)
        || !BinaryPlistReader::isString(nameObject.type))
        return fail(QStringLiteral("damaged class description"));
    *name = m_reader.stringValue(nameObject);
    m_classNames.insert(classUid, *name);
    return true;
}

bool KeyedUnarchiver::decodeUid(quint64 uid, Value* out, int depth)
{
    *out = Value();
    if (uid == 0)
        return true;
    if (uid >= m_objectRefs.size())
        return fail(QStringLiteral("reference past the object list"));
    if (depth > maxDepth)
        return fail(QStringLiteral("archive nested too deeply"));
    const auto decoded = m_decodedObjects.constFind(uid);
    if (decoded != m_decodedObjects.constEnd()) {
        *out = Value::object(decoded.value());
        return true;
    }
    Object object;
    if (!m_reader.object(m_objectRefs[size_t(uid)], &object))
        return fail(m_reader.errorString());
    switch (object.type) {
    case Type::Bool:
        *out = Value::boolean(object.boolean);
        return true;
    case Type::Integer:
        *out = Value::integer(m_reader.integerValue(object));
        return true;
    case Type::Real:
        *out = Value::real(m_reader.realValue(object), object.width == 4);
        return true;
    case Type::Date: // written inline by some archivers
        *out = Value::date(m_reader.realValue(object));
        return true;
    case Type::AsciiString:
    case Type::Utf16String:
    case Type::Utf8String:
        *out = Value::string(m_reader.stringValue(object));
        return true;
    case Type::Data:
        *out = Value::data(dataOf(object));
        return true;
    case Type::Dictionary:
        return decodeRecord(uid, object, out, depth);
    default:
        return fail(QStringLiteral("unexpected object in the object list"));
    }
}

bool KeyedUnarchiver::decodeRecord(quint64 uid, const Object& record, Value* out, int depth)
{
    Object classRef;
    quint64 classUid = 0;
    if (!recordValue(record, QStringLiteral("$class"), &classRef) || !uidOf(classRef, &classUid))
        return fail(QStringLiteral("record without a class"));
    QString name;
    if (!className(classUid, &name))
        return false;

    if (const ClassInfo* info = ClassInfo::forClassName(name)) {
        Q_UNUSED(info);
        return decodeModelObject(uid, record, name, out, depth);
    }
    if (m_inProgress.contains(uid))
        return fail(QStringLiteral("a container contains itself"));
    m_inProgress.insert(uid);
    const auto done = qScopeGuard([this, uid] { m_inProgress.remove(uid); });

    if (name == QLatin1String("NSDate")) {
        Object time;
        if (!recordValue(record, QStringLiteral("NS.time"), &time)
            || (time.type != Type::Real && time.type != Type::Integer && time.type != Type::Date))
            return fail(QStringLiteral("date without a time"));
        *out = Value::date(m_reader.realValue(time));
        return true;
    }
    if (name == QLatin1String("NSArray") || name == QLatin1String("NSMutableArray")) {
        std::vector<quint64> uids;
        if (!uidList(record, QStringLiteral("NS.objects"), &uids))
            return false;
        ValueList items;
        items.reserve(qsizetype(uids.size()));
        for (const quint64 item : uids) {
            Value value;
            if (!decodeUid(item, &value, depth + 1))
                return false;
            items.append(value);
        }
        *out = Value::array(items, name == QLatin1String("NSMutableArray"));
        return true;
    }
    if (name == QLatin1String("NSDictionary") || name == QLatin1String("NSMutableDictionary")) {
        std::vector<quint64> keys;
        std::vector<quint64> values;
        if (!uidList(record, QStringLiteral("NS.keys"), &keys) || !uidList(record, QStringLiteral("NS.objects"), &values))
            return false;
        if (keys.size() != values.size())
            return fail(QStringLiteral("dictionary with unequal keys and values"));
        ValueMap map;
        for (size_t i = 0; i < keys.size(); ++i) {
            Value key;
            Value value;
            if (!decodeUid(keys[i], &key, depth + 1) || !decodeUid(values[i], &value, depth + 1))
                return false;
            if (key.kind() != Value::Kind::String)
                return fail(QStringLiteral("dictionary key that is not a text"));
            map.insert(key.toString(), value);
        }
        *out = Value::dictionary(map, name == QLatin1String("NSMutableDictionary"));
        return true;
    }
    if (name == QLatin1String("NSString") || name == QLatin1String("NSMutableString")) {
        Object text;
        if (!recordValue(record, QStringLiteral("NS.string"), &text) || !BinaryPlistReader::isString(text.type))
            return fail(QStringLiteral("text record without text"));
        *out = Value::string(m_reader.stringValue(text));
        return true;
    }
    if (name == QLatin1String("NSData") || name == QLatin1String("NSMutableData")) {
        Object bytes;
        if ((!recordValue(record, QStringLiteral("NS.data"), &bytes) && !recordValue(record, QStringLiteral("NS.bytes"), &bytes))
            || bytes.type != Type::Data)
            return fail(QStringLiteral("data record without bytes"));
        *out = Value::data(dataOf(bytes));
        return true;
    }
    if (name == QLatin1String("NSNumber")) {
        // Number records carry their value under one NS.* key; take the first number found.
        for (quint64 i = 0; i < record.count; ++i) {
            Object value;
            if (keyAt(record, i) == QLatin1String("$class") || !m_reader.object(m_reader.ref(record, record.count + i), &value))
                continue;
            if (value.type == Type::Integer) {
                *out = Value::integer(m_reader.integerValue(value));
                return true;
            }
            if (value.type == Type::Real) {
                *out = Value::real(m_reader.realValue(value), value.width == 4);
                return true;
            }
            if (value.type == Type::Bool) {
                *out = Value::boolean(value.boolean);
                return true;
            }
        }
        return fail(QStringLiteral("number record without a number"));
    }
    return fail(QStringLiteral("unknown class %1").arg(name));
}

bool KeyedUnarchiver::decodeModelObject(quint64 uid, const Object& record, const QString& name, Value* out, int depth)
{
    const ClassInfo* info = ClassInfo::forClassName(name);
    const ObjectPtr object = info->makeEmpty();
    // Registered before the fields, so references back to it resolve to it.
    m_decodedObjects.insert(uid, object);
    const auto& fields = info->fields();
    for (quint64 i = 0; i < record.count; ++i) {
        QString key = keyAt(record, i);
        if (key.startsWith(QLatin1String("$$")))
            key.remove(0, 1);
        else if (key.startsWith(QLatin1Char('$')))
            continue;
        const int index = info->indexOf(key);
        if (index < 0)
            continue; // keys this version does not know are ignored
        Object reference;
        quint64 valueUid = 0;
        if (!m_reader.object(m_reader.ref(record, record.count + i), &reference))
            return fail(m_reader.errorString());
        Value value;
        if (reference.type == Type::Uid) {
            if (!uidOf(reference, &valueUid))
                return fail(QStringLiteral("reference out of range"));
            if (!decodeUid(valueUid, &value, depth + 1))
                return false;
        } else if (reference.type == Type::Integer || reference.type == Type::Real || reference.type == Type::Bool) {
            // Scalars encoded inline rather than as objects.
            value = reference.type == Type::Bool ? Value::boolean(reference.boolean)
                : reference.type == Type::Integer ? Value::integer(m_reader.integerValue(reference))
                                                  : Value::real(m_reader.realValue(reference), reference.width == 4);
        } else if (BinaryPlistReader::isString(reference.type)) {
            value = Value::string(m_reader.stringValue(reference));
        }
        if (!kindFits(fields[size_t(index)].kind, value.kind())) {
            qCWarning(lcQuillarc).noquote() << QStringLiteral("%1.%2: expected %3, found %4; read as nil")
                                                   .arg(name, key, Value::kindName(fields[size_t(index)].kind),
                                                       Value::kindName(value.kind()));
            value = Value();
        }
        object->setField(index, value);
    }
    *out = Value::object(object);
    return true;
}
