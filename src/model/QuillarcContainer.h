#pragma once

#include "model/ModelPointers.h"
#include "model/QuillarcDatabaseObject.h"

/// The root of an archive's tree: the ordered groups and the audit log.
class QuillarcContainer : public QuillarcDatabaseObject
{
public:
    enum Field
    {
        UniqueID,
        CreationDate,
        ContainerTitle,
        ContainerDescription,
        Groups,
        Logs,
        Properties
    };

    QuillarcContainer();
    static const ClassInfo& staticClassInfo();
    static std::shared_ptr<QuillarcContainer> create();

    QString containerTitle() const { return field(ContainerTitle).toString(); }
    QString containerDescription() const { return field(ContainerDescription).toString(); }
    QList<GroupPtr> groups() const;
    QList<LogObjectPtr> logs() const;

    Document* document() const override;
    QuillarcContainer* container() { return this; }
    /// Asking the root for a group is a programming error: logged, answered with nothing.
    QuillarcGroup* group() const;
    /// The groups that watch a folder, in list order.
    QList<GroupPtr> folderGroupsArray() const;
};
