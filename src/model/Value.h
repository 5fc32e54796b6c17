#pragma once

#include "model/Clock.h"
#include "model/ModelPointers.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <memory>
#include <variant>

class Value;
using ValueList = QList<Value>;
using ValueMap = QMap<QString, Value>;

/// One stored value of an archive: nil, a flag, an integer, a real (which
/// remembers whether it was stored 32 or 64 bits wide), a text, a date, bytes,
/// a list, a dictionary or an archive object. Nil is a value of its own: a
/// missing key reads as nil, and nil is kept apart from "" and 0.
///
/// Lists and dictionaries are shared until changed; archive objects are shared
/// by pointer, so an object referenced twice stays one object.
class Value
{
public:
    enum class Kind : quint8
    {
        Nil,
        Bool,
        Integer,
        Real,
        String,
        Date,
        Data,
        Array,
        Dictionary,
        Object
    };

    Value() = default;
    static Value boolean(bool flag);
    static Value integer(qint64 number);
    static Value real(double number, bool is32Bit = false);
    static Value string(const QString& text);
    static Value date(ReferenceTime seconds);
    static Value data(const QByteArray& bytes);
    /// Lists and dictionaries are mutable unless asked otherwise (the class
    /// name in an archive tells them apart).
    static Value array(const ValueList& items = {}, bool isMutable = true);
    static Value dictionary(const ValueMap& entries = {}, bool isMutable = true);
    static Value object(const ObjectPtr& object);

    Kind kind() const { return m_kind; }
    bool isNil() const { return m_kind == Kind::Nil; }
    bool isNumber() const { return m_kind == Kind::Bool || m_kind == Kind::Integer || m_kind == Kind::Real; }
    bool isReal32() const { return m_kind == Kind::Real && m_flag; }
    bool isMutableContainer() const { return m_flag; }
    /// The storage a list or dictionary shares with its copies (nullptr for
    /// other kinds): equal identities mean the very same contents.
    const void* containerIdentity() const;
    /// True when a list or dictionary holds further lists, dictionaries or objects.
    bool hasNestedValues() const;

    // Lenient readers: nil and values of another kind read as false, 0 or "".
    bool toBool() const;
    qint64 toInteger() const;
    double toReal() const;
    QString toString() const;
    ReferenceTime toDate() const;
    QByteArray toData() const;
    const ValueList& toArray() const;
    const ValueMap& toDictionary() const;
    ObjectPtr toObject() const;
    template<typename T> std::shared_ptr<T> toObjectOf() const { return std::dynamic_pointer_cast<T>(toObject()); }

    /// The list or dictionary for changing in place (copied first when shared).
    ValueList& mutableArray();
    ValueMap& mutableDictionary();

    /// Same kind, same width and same contents; objects compare by identity.
    bool operator==(const Value& other) const;
    bool operator!=(const Value& other) const { return !(*this == other); }

    static QString kindName(Kind kind);

private:
    using Storage = std::variant<std::monostate, bool, qint64, double, QString, QByteArray, std::shared_ptr<ValueList>,
        std::shared_ptr<ValueMap>, ObjectPtr>;

    Value(Kind kind, Storage storage, bool flag = false)
        : m_storage(std::move(storage))
        , m_kind(kind)
        , m_flag(flag)
    {
    }

    Storage m_storage;
    Kind m_kind = Kind::Nil;
    bool m_flag = false; ///< 32-bit real, or mutable list/dictionary
};
