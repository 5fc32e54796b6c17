#include "store/ArchiveSnapshot.h"

#include "model/QuillarcDocument.h"

void ArchiveSnapshot::captureObjects()
{
    m_fields.clear();
    documentIDs.clear();
    captureValue(container);
    captureValue(preferences);
}

void ArchiveSnapshot::captureValue(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::Array:
        for (const Value& item : value.toArray())
            captureValue(item);
        break;
    case Value::Kind::Dictionary:
        for (const Value& item : value.toDictionary())
            captureValue(item);
        break;
    case Value::Kind::Object:
        captureObject(value.toObject());
        break;
    default:
        break;
    }
}

void ArchiveSnapshot::captureObject(const ObjectPtr& object)
{
    if (m_fields.contains(object.get()))
        return;
    const std::shared_ptr<const FieldValues> shared = object->sharedFields();
    m_fields.insert(object.get(), shared);
    const FieldValues& values = *shared;
    if (&object->classInfo() == &QuillarcDocument::staticClassInfo())
        documentIDs.insert(values[QuillarcDocument::UniqueID].toString());
    for (const Value& value : values) {
        // Texts, numbers and dates hold nothing more to capture.
        if (value.kind() >= Value::Kind::Array)
            captureValue(value);
    }
}

const FieldValues& ArchiveSnapshot::fieldsOf(const QuillarcDatabaseObject& object) const
{
    const auto it = m_fields.constFind(&object);
    // Every object the encoder reaches was reached here first, from the same values.
    Q_ASSERT(it != m_fields.constEnd());
    return **it;
}
