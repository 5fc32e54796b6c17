#pragma once

#include "model/QuillarcDatabaseObject.h"

/// One audit-log entry: what happened to which document, and when. Written
/// once, complete, and never edited afterwards.
class QuillarcLogObject : public QuillarcDatabaseObject
{
public:
    enum Field { UniqueID, CreationDate, LogKind, ObjectUniqueID, LogText, Properties };
    enum Kind { Created = 0, Deleted = 1 };

    QuillarcLogObject();
    static const ClassInfo& staticClassInfo();
    static std::shared_ptr<QuillarcLogObject> create();

    ReferenceTime creationDate() const { return field(CreationDate).toDate(); }
    qint64 logKind() const { return field(LogKind).toInteger(); }
    QString objectUniqueID() const { return field(ObjectUniqueID).toString(); }
    QString logText() const { return field(LogText).toString(); }
};
