#include "model/QuillarcPreferences.h"

using K = Value::Kind;
using D = FieldDefault;

QuillarcPreferences::QuillarcPreferences()
    : QuillarcDatabaseObject(staticClassInfo())
{
}

const ClassInfo& QuillarcPreferences::staticClassInfo()
{
    static const ClassInfo info("QuillarcPreferences",
        {
            { QLatin1StringView("uniqueID"), K::String, D::NewUniqueID },
            { QLatin1StringView("creationDate"), K::Date, D::Now },
            { QLatin1StringView("isFirstStartEverDone"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("isSetupDone"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("isFirstSaveDone"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("autoSaveBOOL"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("autoLockDocuments"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("autoVoucherNumbering"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("voucherNumber"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("voucherPrefix"), K::String, D::EmptyString },
            { QLatin1StringView("voucherSuffix"), K::String, D::EmptyString },
            { QLatin1StringView("readFinderTags"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("writeFinderTags"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("includeSummary"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("includeComment"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("includeTags"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("groupIndex"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("documentIndex"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("sortOrder"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("sortKind"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("validationPosssible"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("useOCR"), K::Bool, D::Flag, 0 },
            { QLatin1StringView("ocrPrioritiseAccuracy"), K::Bool, D::Flag, 1 },
            { QLatin1StringView("folderImportDateUsageKind"), K::Integer, D::Integer, 1 },
            { QLatin1StringView("ocrLanguageKind"), K::Integer, D::Integer, 0 },
            { QLatin1StringView("properties"), K::Dictionary, D::EmptyDictionary },
        },
        [] { return ObjectPtr(std::make_shared<QuillarcPreferences>()); });
    return info;
}

std::shared_ptr<QuillarcPreferences> QuillarcPreferences::create()
{
    return std::static_pointer_cast<QuillarcPreferences>(createWithDefaults<QuillarcPreferences>());
}
