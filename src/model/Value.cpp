#include "model/Value.h"

#include <cmath>

namespace {
const ValueList& emptyList()
{
    static const ValueList list;
    return list;
}

const ValueMap& emptyMap()
{
    static const ValueMap map;
    return map;
}
} // namespace

Value Value::boolean(bool flag)
{
    return Value(Kind::Bool, flag);
}

Value Value::integer(qint64 number)
{
    return Value(Kind::Integer, number);
}

Value Value::real(double number, bool is32Bit)
{
    return Value(Kind::Real, is32Bit ? double(float(number)) : number, is32Bit);
}

Value Value::string(const QString& text)
{
    return Value(Kind::String, text);
}

Value Value::date(ReferenceTime seconds)
{
    return Value(Kind::Date, seconds);
}

Value Value::data(const QByteArray& bytes)
{
    return Value(Kind::Data, bytes);
}

Value Value::array(const ValueList& items, bool isMutable)
{
    return Value(Kind::Array, std::make_shared<ValueList>(items), isMutable);
}

Value Value::dictionary(const ValueMap& entries, bool isMutable)
{
    return Value(Kind::Dictionary, std::make_shared<ValueMap>(entries), isMutable);
}

Value Value::object(const ObjectPtr& object)
{
    if (!object)
        return {};
    return Value(Kind::Object, object);
}

bool Value::toBool() const
{
    switch (m_kind) {
    case Kind::Bool:
        return std::get<bool>(m_storage);
    case Kind::Integer:
        return std::get<qint64>(m_storage) != 0;
    case Kind::Real:
        return std::get<double>(m_storage) != 0.0;
    default:
        return false;
    }
}

qint64 Value::toInteger() const
{
    switch (m_kind) {
    case Kind::Bool:
        return std::get<bool>(m_storage) ? 1 : 0;
    case Kind::Integer:
        return std::get<qint64>(m_storage);
    case Kind::Real: {
        const double d = std::get<double>(m_storage);
        if (!std::isfinite(d))
            return 0;
        if (d >= 9.2e18 || d <= -9.2e18)
            return d > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
        return qint64(d);
    }
    default:
        return 0;
    }
}

double Value::toReal() const
{
    switch (m_kind) {
    case Kind::Bool:
        return std::get<bool>(m_storage) ? 1.0 : 0.0;
    case Kind::Integer:
        return double(std::get<qint64>(m_storage));
    case Kind::Real:
    case Kind::Date:
        return std::get<double>(m_storage);
    default:
        return 0.0;
    }
}

QString Value::toString() const
{
    return m_kind == Kind::String ? std::get<QString>(m_storage) : QString();
}

ReferenceTime Value::toDate() const
{
    return m_kind == Kind::Date ? std::get<double>(m_storage) : 0.0;
}

QByteArray Value::toData() const
{
    return m_kind == Kind::Data ? std::get<QByteArray>(m_storage) : QByteArray();
}

const ValueList& Value::toArray() const
{
    return m_kind == Kind::Array ? *std::get<std::shared_ptr<ValueList>>(m_storage) : emptyList();
}

const ValueMap& Value::toDictionary() const
{
    return m_kind == Kind::Dictionary ? *std::get<std::shared_ptr<ValueMap>>(m_storage) : emptyMap();
}

ObjectPtr Value::toObject() const
{
    return m_kind == Kind::Object ? std::get<ObjectPtr>(m_storage) : ObjectPtr();
}

const void* Value::containerIdentity() const
{
    if (m_kind == Kind::Array)
        return std::get<std::shared_ptr<ValueList>>(m_storage).get();
    if (m_kind == Kind::Dictionary)
        return std::get<std::shared_ptr<ValueMap>>(m_storage).get();
    return nullptr;
}

bool Value::hasNestedValues() const
{
    if (m_kind == Kind::Array) {
        for (const Value& item : toArray()) {
            if (item.kind() >= Kind::Array)
                return true;
        }
    } else if (m_kind == Kind::Dictionary) {
        for (const Value& item : toDictionary()) {
            if (item.kind() >= Kind::Array)
                return true;
        }
    }
    return false;
}

ValueList& Value::mutableArray()
{
    if (m_kind != Kind::Array)
        *this = array();
    auto& list = std::get<std::shared_ptr<ValueList>>(m_storage);
    if (list.use_count() > 1)
        list = std::make_shared<ValueList>(*list);
    return *list;
}

ValueMap& Value::mutableDictionary()
{
    if (m_kind != Kind::Dictionary)
        *this = dictionary();
    auto& map = std::get<std::shared_ptr<ValueMap>>(m_storage);
    if (map.use_count() > 1)
        map = std::make_shared<ValueMap>(*map);
    return *map;
}

bool Value::operator==(const Value& other) const
{
    if (m_kind != other.m_kind)
        return false;
    switch (m_kind) {
    case Kind::Nil:
        return true;
    case Kind::Real:
        return m_flag == other.m_flag && std::get<double>(m_storage) == std::get<double>(other.m_storage);
    case Kind::Array:
        return m_flag == other.m_flag && toArray() == other.toArray();
    case Kind::Dictionary:
        return m_flag == other.m_flag && toDictionary() == other.toDictionary();
    default:
        return m_storage == other.m_storage;
    }
}

QString Value::kindName(Kind kind)
{
    static const char* const names[] = { "nil", "flag", "integer", "real", "text", "date", "data", "list", "dictionary", "object" };
    return QString::fromLatin1(names[int(kind)]);
}
