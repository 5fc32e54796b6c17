#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"

// Decoding makes an object of the class an archive names, so the list of
// persisted class names is part of the file format.
const ClassInfo* ClassInfo::forClassName(const QString& name)
{
    static const QHash<QString, const ClassInfo*> classes = [] {
        QHash<QString, const ClassInfo*> table;
        for (const ClassInfo* info :
            { &QuillarcContainer::staticClassInfo(), &QuillarcGroup::staticClassInfo(),
                &QuillarcDocument::staticClassInfo(), &QuillarcLogObject::staticClassInfo(),
                &QuillarcPreferences::staticClassInfo() })
            table.insert(info->className(), info);
        return table;
    }();
    return classes.value(name, nullptr);
}
