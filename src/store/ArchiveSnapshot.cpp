#include "store/ArchiveSnapshot.h"

#include "model/QuillarcDocument.h"

#include <algorithm>

namespace {
// Records nest container, group list, group, document list, document and
// its tags: far below this.
constexpr int maxDepth = 512; // beyond what decoding accepts
} // namespace

void ArchiveSnapshot::captureObjects()
{
    static quint64 walks = 0; // captures run on the main thread only
    m_walk = ++walks;
    m_objects.clear();
    m_objects.reserve(1024);
    m_reachedContainers.clear();
    captureValue(container, 0);
    captureValue(preferences, 0);
}

bool ArchiveSnapshot::firstVisit(const Value& container)
{
    // Lists of texts (tags) are leaves and need no bookkeeping; a list that
    // leads further is walked once however often it is shared.
    if (!container.hasNestedValues())
        return false;
    const void* identity = container.containerIdentity();
    if (m_reachedContainers.contains(identity))
        return false;
    m_reachedContainers.insert(identity);
    return true;
}

void ArchiveSnapshot::captureValue(const Value& value, int depth)
{
    if (depth > maxDepth)
        return;
    switch (value.kind()) {
    case Value::Kind::Array:
        if (!firstVisit(value))
            break;
        for (const Value& item : value.toArray()) {
            if (item.kind() >= Value::Kind::Array)
                captureValue(item, depth + 1);
        }
        break;
    case Value::Kind::Dictionary:
        if (!firstVisit(value))
            break;
        for (const Value& item : value.toDictionary()) {
            if (item.kind() >= Value::Kind::Array)
                captureValue(item, depth + 1);
        }
        break;
    case Value::Kind::Object: {
        // The object carries the mark of this walk: no lookups on the main
        // thread, and an object met twice is recorded and walked once.
        const ObjectPtr object = value.toObject();
        if (!object->markReached(m_walk))
            break;
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
