#pragma once

#include "model/ModelPointers.h"

#include <QString>
#include <memory>
#include <optional>

class Document;

/// Creating, editing and cancelling groups of an open archive. The sheet that
/// shows the fields is the window's business; this class makes the changes the
/// sheet's buttons stand for.
class GroupEditing
{
public:
    explicit GroupEditing(Document& archive);

    /// A new group at the end of the groups list, its parent the container,
    /// locked when the archive locks new records automatically. The archive is
    /// marked changed; the group's sheet may still cancel it.
    GroupPtr addGroup();

    /// The values a group's sheet edits; fields left empty are not changed.
    struct GroupValues
    {
        std::optional<QString> title;
        std::optional<QString> description;
        std::optional<qint64> colorTag;
        std::optional<bool> locked;
    };
    /// Applies edited values to a group and marks the archive changed.
    void editGroup(const GroupPtr& group, const GroupValues& values);

    /// Undoes addGroup(): the new group leaves the list again. Only a group
    /// made by addGroup() in the same sheet may be cancelled; an edit cannot.
    bool cancelAddGroup(const GroupPtr& group);

    /// Takes a group out of the container's list and marks the archive changed;
    /// false when the group is not in the list.
    bool removeGroup(const GroupPtr& group);

    /// The first group whose title equals @p title, or nothing.
    GroupPtr groupWithTitle(const QString& title) const;

private:
    Document& m_archive;
};
