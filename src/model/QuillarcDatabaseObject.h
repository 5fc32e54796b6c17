#pragma once

#include "model/ChangeNode.h"
#include "model/Value.h"

#include <QHash>
#include <QLatin1StringView>

#include <vector>

/// How a field is filled when a new object is created.
enum class FieldDefault : quint8 {
    Nil,
    NewUniqueID,     ///< a new UUID in text form
    Now,             ///< the current moment
    EmptyString,
    LocalizedString, ///< the localized text of FieldInfo::text
    EmptyArray,
    EmptyDictionary,
    Integer,         ///< FieldInfo::number as an integer
    Real,            ///< FieldInfo::number as a 64-bit real
    Flag,            ///< FieldInfo::number != 0
};

/// One row of a persisted class's field table: coding key, the kind of value
/// the field holds, and its default. Coding, defaults and key-value access all
/// run off these tables, in row order.
struct FieldInfo
{
    QLatin1StringView key;
    Value::Kind kind;
    FieldDefault defaultKind;
    double number = 0;
    const char* text = nullptr;
};

class QuillarcDatabaseObject;

/// The field values of one object, in its class's table order.
using FieldValues = std::vector<Value>;

/// Everything the store needs to know about one persisted class.
class ClassInfo
{
public:
    ClassInfo(const char* className, std::vector<FieldInfo> fields, ObjectPtr (*factory)());

    QString className() const { return m_className; }
    const std::vector<FieldInfo>& fields() const { return m_fields; }
    /// Index of the field with this coding key, or -1.
    int indexOf(const QString& key) const { return m_index.value(key, -1); }
    /// The fields that hold lists, dictionaries or objects: the only ones
    /// that can lead to further archive objects.
    const std::vector<int>& nestingFields() const { return m_nestingFields; }
    /// A new object of the class with every field nil (for decoding).
    ObjectPtr makeEmpty() const { return m_factory(); }

    /// Whether a field of kind @p expected may hold a value of kind @p actual:
    /// nil always, numbers of any kind for a number field, else the same kind.
    static bool kindFits(Value::Kind expected, Value::Kind actual);

    /// The class chain written into archives: own name, the base class, NSObject.
    QStringList classChain() const;

    /// Every persisted class, for decoding by class name.
    static const ClassInfo* forClassName(const QString& name);

private:
    QString m_className;
    std::vector<FieldInfo> m_fields;
    std::vector<int> m_nestingFields;
    QHash<QString, int> m_index;
    ObjectPtr (*m_factory)();
};

/// Base of every persisted archive class. Fields live in a table-ordered
/// list of values; typed accessors in the subclasses are thin wrappers.
///
/// Every change made through setValue() assigns and then calls
/// valuesChanged(), which climbs the parent chain one level per event-loop
/// turn up to the archive, which marks itself edited.
///
/// The values are shared until changed: sharedFields() hands out the values
/// as they are now for nothing, and the next change copies them first, so a
/// save can encode a consistent picture of the archive on another thread
/// while the window goes on editing.
class QuillarcDatabaseObject : public ChangeNode, public std::enable_shared_from_this<QuillarcDatabaseObject>
{
public:
    explicit QuillarcDatabaseObject(const ClassInfo& classInfo);
    ~QuillarcDatabaseObject() override;

    const ClassInfo& classInfo() const { return m_classInfo; }

    QString databaseObjectUniqueID() const { return field(0).toString(); }
    ReferenceTime databaseObjectCreationDate() const { return field(1).toDate(); }

    /// The open archive, asked of the parent; nullptr until parents are set.
    Document* document() const override;

    /// Default end of a change: passes it on to the parent at the next loop turn.
    void valuesChanged() override;
    void noteObjectChanged(QuillarcDatabaseObject* object) override;

    /// The value stored under a coding key, or a derived value the class
    /// offers under that key; nil for keys it does not know.
    virtual Value valueForKey(const QString& key) const;
    /// Assigns a field by coding key and reports the change. Unknown keys are ignored.
    void setValue(const QString& key, const Value& value);
    /// "a.b": setValue("b") on the object stored under "a".
    void setValueForKeyPath(const QString& keyPath, const Value& value);
    void checkAgainstNIL() {}

    ChangeNode* parent() const { return m_parent; }
    void setParent(ChangeNode* parent) { m_parent = parent; }

    /// Raw field access by table index, without change reporting (decoding,
    /// building objects that are not in an archive yet).
    const Value& field(int index) const { return (*m_values)[size_t(index)]; }
    void setField(int index, const Value& value) { detach()[size_t(index)] = value; }
    Value& mutableField(int index) { return detach()[size_t(index)]; }
    /// Every field as it is now; later changes leave the returned values alone.
    std::shared_ptr<const FieldValues> sharedFields() const { return m_values; }
    /// Assigns by index and reports the change.
    void setValue(int index, const Value& value);

    /// Fills every field with its default (new objects).
    void applyDefaults();

    /// Marks the object as reached by the walk numbered @p walk over the
    /// object graph; false when that walk reached it before. Walks run on the
    /// main thread only.
    bool markReached(quint64 walk) const
    {
        if (m_reachedBy == walk)
            return false;
        m_reachedBy = walk;
        return true;
    }

    static QString newUniqueID();

protected:
    template<typename T> static ObjectPtr createWithDefaults()
    {
        auto object = std::make_shared<T>();
        object->applyDefaults();
        return object;
    }

private:
    /// The values for changing: copied first while a snapshot shares them.
    FieldValues& detach()
    {
        if (m_values.use_count() > 1)
            m_values = std::make_shared<FieldValues>(*m_values);
        return *m_values;
    }

    const ClassInfo& m_classInfo;
    std::shared_ptr<FieldValues> m_values;
    ChangeNode* m_parent = nullptr;
    mutable quint64 m_reachedBy = 0;
};
