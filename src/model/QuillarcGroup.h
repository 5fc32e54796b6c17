#pragma once

#include "model/ModelPointers.h"
#include "model/QuillarcDatabaseObject.h"

/// An ordered list of documents; optionally watches a folder.
class QuillarcGroup : public QuillarcDatabaseObject
{
public:
    enum Field
    {
        UniqueID,
        CreationDate,
        GroupTitle,
        GroupDescription,
        Documents,
        GroupColorTag,
        IsLocked,
        HasMonitoredFolder,
        FolderPath,
        Properties
    };

    QuillarcGroup();
    static const ClassInfo& staticClassInfo();
    static std::shared_ptr<QuillarcGroup> create();

    QString groupTitle() const { return field(GroupTitle).toString(); }
    QString groupDescription() const { return field(GroupDescription).toString(); }
    QList<DocumentPtr> documents() const;
    Value groupColorTag() const { return field(GroupColorTag); }
    bool isLocked() const { return field(IsLocked).toBool(); }
    bool hasMonitoredFolder() const { return field(HasMonitoredFolder).toBool(); }
    QString folderPath() const { return field(FolderPath).toString(); }

    /// Number of documents (announced as changed whenever "documents" changes).
    qint64 documentCount() const { return field(Documents).toArray().size(); }
    /// fileID of every document that has one, in document order.
    QStringList folderFileIDs() const;

    Value valueForKey(const QString& key) const override;
};
