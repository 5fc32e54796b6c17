#include "model/QuillarcContainer.h"

#include "model/QuillarcGroup.h"
#include "model/QuillarcLogObject.h"
#include "text/Logging.h"

using K = Value::Kind;
using D = FieldDefault;

QuillarcContainer::QuillarcContainer()
    : QuillarcDatabaseObject(staticClassInfo())
{
}

const ClassInfo& QuillarcContainer::staticClassInfo()
{
    static const ClassInfo info("QuillarcContainer",
        {
            { QLatin1StringView("uniqueID"), K::String, D::NewUniqueID },
            { QLatin1StringView("creationDate"), K::Date, D::Now },
            { QLatin1StringView("containerTitle"), K::String, D::LocalizedString, 0, "NEW_CONTAINER_TITLE" },
            { QLatin1StringView("containerDescription"), K::String, D::EmptyString },
            { QLatin1StringView("groups"), K::Array, D::EmptyArray },
            { QLatin1StringView("logs"), K::Array, D::EmptyArray },
            { QLatin1StringView("properties"), K::Dictionary, D::EmptyDictionary },
        },
        [] { return ObjectPtr(std::make_shared<QuillarcContainer>()); });
    return info;
}

std::shared_ptr<QuillarcContainer> QuillarcContainer::create()
{
    return std::static_pointer_cast<QuillarcContainer>(createWithDefaults<QuillarcContainer>());
}

QList<GroupPtr> QuillarcContainer::groups() const
{
    QList<GroupPtr> result;
    for (const Value& item : field(Groups).toArray()) {
        if (auto group = item.toObjectOf<QuillarcGroup>())
            result.append(group);
    }
    return result;
}

QList<LogObjectPtr> QuillarcContainer::logs() const
{
    QList<LogObjectPtr> result;
    for (const Value& item : field(Logs).toArray()) {
        if (auto log = item.toObjectOf<QuillarcLogObject>())
            result.append(log);
    }
    return result;
}

Document* QuillarcContainer::document() const
{
    return parent() ? parent()->document() : nullptr;
}

QuillarcGroup* QuillarcContainer::group() const
{
    qCWarning(lcQuillarc).noquote() << "Idiot!";
    return nullptr;
}

QList<GroupPtr> QuillarcContainer::folderGroupsArray() const
{
    QList<GroupPtr> result;
    for (const GroupPtr& group : groups()) {
        if (group->hasMonitoredFolder())
            result.append(group);
    }
    return result;
}
