#include "model/QuillarcDatabaseObject.h"

#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QUuid>

ClassInfo::ClassInfo(const char* className, std::vector<FieldInfo> fields, ObjectPtr (*factory)())
    : m_className(QString::fromLatin1(className))
    , m_fields(std::move(fields))
    , m_factory(factory)
{
    for (size_t i = 0; i < m_fields.size(); ++i) {
        m_index.insert(QString(m_fields[i].key), int(i));
        if (m_fields[i].kind == Value::Kind::Array || m_fields[i].kind == Value::Kind::Dictionary
            || m_fields[i].kind == Value::Kind::Object)
            m_nestingFields.push_back(int(i));
    }
}

bool ClassInfo::kindFits(Value::Kind expected, Value::Kind actual)
{
    if (actual == Value::Kind::Nil || expected == actual)
        return true;
    const auto isNumber = [](Value::Kind kind) {
        return kind == Value::Kind::Bool || kind == Value::Kind::Integer || kind == Value::Kind::Real;
    };
    return isNumber(expected) && isNumber(actual);
}

QStringList ClassInfo::classChain() const
{
    return { m_className, QStringLiteral("QuillarcDatabaseObject"), QStringLiteral("NSObject") };
}

QuillarcDatabaseObject::QuillarcDatabaseObject(const ClassInfo& classInfo)
    : m_classInfo(classInfo)
    , m_values(std::make_shared<FieldValues>(classInfo.fields().size()))
{
}

QuillarcDatabaseObject::~QuillarcDatabaseObject() = default;

Document* QuillarcDatabaseObject::document() const
{
    return m_parent ? m_parent->document() : nullptr;
}

void QuillarcDatabaseObject::valuesChanged()
{
    if (m_parent)
        m_parent->noteObjectChanged(this);
    scheduleValuesChanged(m_parent);
}

void QuillarcDatabaseObject::noteObjectChanged(QuillarcDatabaseObject* object)
{
    if (m_parent)
        m_parent->noteObjectChanged(object);
}

Value QuillarcDatabaseObject::valueForKey(const QString& key) const
{
    const int index = m_classInfo.indexOf(key);
    return index < 0 ? Value() : field(index);
}

void QuillarcDatabaseObject::setValue(const QString& key, const Value& value)
{
    const int index = m_classInfo.indexOf(key);
    if (index >= 0)
        setValue(index, value);
}

void QuillarcDatabaseObject::setValue(int index, const Value& value)
{
    // A field keeps the kind its table gives it, as decoding ensures too.
    const FieldInfo& info = m_classInfo.fields()[size_t(index)];
    if (!ClassInfo::kindFits(info.kind, value.kind())) {
        qCWarning(lcQuillarc).noquote() << QStringLiteral("%1.%2: a %3 cannot be stored here; ignored")
                                               .arg(m_classInfo.className(), QString(info.key),
                                                   Value::kindName(value.kind()));
        return;
    }
    setField(index, value);
    valuesChanged();
}

void QuillarcDatabaseObject::setValueForKeyPath(const QString& keyPath, const Value& value)
{
    const qsizetype dot = keyPath.indexOf(QLatin1Char('.'));
    if (dot < 0) {
        setValue(keyPath, value);
        return;
    }
    if (const ObjectPtr target = valueForKey(keyPath.left(dot)).toObject())
        target->setValueForKeyPath(keyPath.mid(dot + 1), value);
}

void QuillarcDatabaseObject::applyDefaults()
{
    const auto& fields = m_classInfo.fields();
    FieldValues& values = detach();
    for (size_t i = 0; i < fields.size(); ++i) {
        const FieldInfo& field = fields[i];
        Value& value = values[i];
        switch (field.defaultKind) {
        case FieldDefault::Nil:
            value = Value();
            break;
        case FieldDefault::NewUniqueID:
            value = Value::string(newUniqueID());
            break;
        case FieldDefault::Now:
            value = Value::date(Clock::now());
            break;
        case FieldDefault::EmptyString:
            value = Value::string(QString(""));
            break;
        case FieldDefault::LocalizedString:
            value = Value::string(localizedString(QString::fromUtf8(field.text)));
            break;
        case FieldDefault::EmptyArray:
            value = Value::array();
            break;
        case FieldDefault::EmptyDictionary:
            value = Value::dictionary();
            break;
        case FieldDefault::Integer:
            value = Value::integer(qint64(field.number));
            break;
        case FieldDefault::Real:
            value = Value::real(field.number);
            break;
        case FieldDefault::Flag:
            value = Value::boolean(field.number != 0);
            break;
        }
    }
}

QString QuillarcDatabaseObject::newUniqueID()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}
