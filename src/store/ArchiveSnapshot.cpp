#include "store/ArchiveSnapshot.h"

#include "model/QuillarcDocument.h"

#include <algorithm>

namespace {
// Records nest container, group list, group, document list, document and
// its tags: far below this. Deeper values are not records of an archive.
constexpr int maxDepth = 64;
} // namespace

void ArchiveSnapshot::captureObjects()
{
    m_objects.clear();
    m_objects.reserve(1024);
    captureValue(container, 0);
    captureValue(preferences, 0);
}

void ArchiveSnapshot::captureValue(const Value& value, int depth)
{
    if (depth > maxDepth)
        return;
    switch (value.kind()) {
    case Value::Kind::Array:
        for (const Value& item : value.toArray()) {
            if (item.kind() >= Value::Kind::Array)
                captureValue(item, depth + 1);
        }
        break;
    case Value::Kind::Dictionary:
        for (const Value& item : value.toDictionary()) {
            if (item.kind() >= Value::Kind::Array)
                captureValue(item, depth + 1);
        }
        break;
    case Value::Kind::Object: {
        // No lookups here: an object met twice is simply recorded twice and
        // sorted out on the save thread, which keeps the main thread's share
        // to one shared reference per object.
        const ObjectPtr object = value.toObject();
        std::shared_ptr<const FieldValues> fields = object->sharedFields();
        const FieldValues& values = *fields;
        m_objects.push_back({ object.get(), std::move(fields) });
        // Fields hold the kind their table gives them (decoding and setValue
        // see to that), so only lists, dictionaries and objects are looked into.
        for (const int index : object->classInfo().nestingFields())
            captureValue(values[size_t(index)], depth + 1);
        break;
    }
    default:
        break;
    }
}

void ArchiveSnapshot::prepareLookups()
{
    std::sort(m_objects.begin(), m_objects.end(),
        [](const Captured& a, const Captured& b) { return std::less<const void*>()(a.object, b.object); });
    m_objects.erase(std::unique(m_objects.begin(), m_objects.end(),
                        [](const Captured& a, const Captured& b) { return a.object == b.object; }),
        m_objects.end());
}

std::vector<ArchiveSnapshot::Captured>::const_iterator ArchiveSnapshot::find(const QuillarcDatabaseObject& object) const
{
    const auto it = std::lower_bound(m_objects.begin(), m_objects.end(), &object,
        [](const Captured& entry, const QuillarcDatabaseObject* key) { return std::less<const void*>()(entry.object, key); });
    return it != m_objects.end() && it->object == &object ? it : m_objects.end();
}

const FieldValues* ArchiveSnapshot::fieldsOf(const QuillarcDatabaseObject& object) const
{
    const auto it = find(object);
    return it != m_objects.end() ? it->fields.get() : nullptr;
}

QSet<QString> ArchiveSnapshot::documentIDs() const
{
    QSet<QString> ids;
    ids.reserve(qsizetype(m_objects.size()));
    for (const Captured& entry : m_objects) {
        if (&entry.object->classInfo() == &QuillarcDocument::staticClassInfo())
            ids.insert((*entry.fields)[QuillarcDocument::UniqueID].toString());
    }
    return ids;
}
