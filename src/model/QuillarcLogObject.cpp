#include "model/QuillarcLogObject.h"

using K = Value::Kind;
using D = FieldDefault;

QuillarcLogObject::QuillarcLogObject()
    : QuillarcDatabaseObject(staticClassInfo())
{
}

const ClassInfo& QuillarcLogObject::staticClassInfo()
{
    static const ClassInfo info("QuillarcLogObject",
        {
            { QLatin1StringView("uniqueID"), K::String, D::NewUniqueID },
            { QLatin1StringView("creationDate"), K::Date, D::Now },
            { QLatin1StringView("logKind"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("objectUniqueID"), K::String, D::EmptyString },
            { QLatin1StringView("logText"), K::String, D::EmptyString },
            { QLatin1StringView("properties"), K::Dictionary, D::EmptyDictionary },
        },
        [] { return ObjectPtr(std::make_shared<QuillarcLogObject>()); });
    return info;
}

std::shared_ptr<QuillarcLogObject> QuillarcLogObject::create()
{
    return std::static_pointer_cast<QuillarcLogObject>(createWithDefaults<QuillarcLogObject>());
}
