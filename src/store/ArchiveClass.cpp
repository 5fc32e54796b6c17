#include "store/ArchiveClass.h"

#include "model/QuillarcDatabaseObject.h"

#include <QHash>

ArchiveClass ArchiveClass::forName(const QString& name)
{
    // The platform's class names, with whether they are the mutable kind.
    static const QHash<QString, QPair<Kind, bool>> platformClasses = {
        { QStringLiteral("NSDate"), { Date, false } },
        { QStringLiteral("NSArray"), { Array, false } },
        { QStringLiteral("NSMutableArray"), { Array, true } },
        { QStringLiteral("NSDictionary"), { Dictionary, false } },
        { QStringLiteral("NSMutableDictionary"), { Dictionary, true } },
        { QStringLiteral("NSString"), { String, false } },
        { QStringLiteral("NSMutableString"), { String, true } },
        { QStringLiteral("NSData"), { Data, false } },
        { QStringLiteral("NSMutableData"), { Data, true } },
        { QStringLiteral("NSNumber"), { Number, false } },
    };
    ArchiveClass resolved;
    resolved.name = name;
    if ((resolved.info = ClassInfo::forClassName(name))) {
        resolved.kind = Model;
    } else if (const auto platform = platformClasses.constFind(name); platform != platformClasses.constEnd()) {
        resolved.kind = platform->first;
        resolved.isMutable = platform->second;
    }
    return resolved;
}
