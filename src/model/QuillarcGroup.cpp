#include "model/QuillarcGroup.h"

#include "model/QuillarcDocument.h"

using K = Value::Kind;
using D = FieldDefault;

QuillarcGroup::QuillarcGroup()
    : QuillarcDatabaseObject(staticClassInfo())
{
}

const ClassInfo& QuillarcGroup::staticClassInfo()
{
    static const ClassInfo info("QuillarcGroup",
        {
            { QLatin1StringView("uniqueID"), K::String, D::NewUniqueID },
            { QLatin1StringView("creationDate"), K::Date, D::Now },
            { QLatin1StringView("groupTitle"), K::String, D::LocalizedString, 0, "NEW_GROUP_TITLE" },
            { QLatin1StringView("groupDescription"), K::String, D::EmptyString },
            { QLatin1StringView("documents"), K::Array, D::EmptyArray },
            { QLatin1StringView("groupColorTag"), K::Integer, D::Integer, 7 },
            { QLatin1StringView("isLocked"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("hasMonitoredFolder"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("folderPath"), K::String, D::EmptyString },
            { QLatin1StringView("properties"), K::Dictionary, D::EmptyDictionary },
        },
        [] { return ObjectPtr(std::make_shared<QuillarcGroup>()); });
    return info;
}

std::shared_ptr<QuillarcGroup> QuillarcGroup::create()
{
    return std::static_pointer_cast<QuillarcGroup>(createWithDefaults<QuillarcGroup>());
}

QList<DocumentPtr> QuillarcGroup::documents() const
{
    QList<DocumentPtr> result;
    const ValueList& items = field(Documents).toArray();
    result.reserve(items.size());
    for (const Value& item : items) {
        if (auto document = item.toObjectOf<QuillarcDocument>())
            result.append(document);
    }
    return result;
}

QStringList QuillarcGroup::folderFileIDs() const
{
    QStringList ids;
    for (const DocumentPtr& document : documents()) {
        const QString id = document->fileID();
        if (!id.isEmpty())
            ids.append(id);
    }
    return ids;
}

Value QuillarcGroup::valueForKey(const QString& key) const
{
    if (key == QLatin1String("documentCount"))
        return Value::integer(documentCount());
    return QuillarcDatabaseObject::valueForKey(key);
}
