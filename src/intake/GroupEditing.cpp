#include "intake/GroupEditing.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

GroupEditing::GroupEditing(Document& archive)
    : m_archive(archive)
{
}

GroupPtr GroupEditing::addGroup()
{
    const ContainerPtr container = m_archive.container();
    if (!container)
        return nullptr;
    auto group = QuillarcGroup::create();
    group->setParent(container.get());
    if (m_archive.preferences() && m_archive.preferences()->autoLockDocuments())
        group->setValue(QuillarcGroup::IsLocked, Value::boolean(true));
    container->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    container->valuesChanged();
    m_archive.updateChangeCount();
    return group;
}

void GroupEditing::editGroup(const GroupPtr& group, const GroupValues& values)
{
    if (!group)
        return;
    if (values.title)
        group->setValue(QuillarcGroup::GroupTitle, Value::string(*values.title));
    if (values.description)
        group->setValue(QuillarcGroup::GroupDescription, Value::string(*values.description));
    if (values.colorTag)
        group->setValue(QuillarcGroup::GroupColorTag, Value::integer(*values.colorTag));
    if (values.locked)
        group->setValue(QuillarcGroup::IsLocked, Value::boolean(*values.locked));
    m_archive.updateChangeCount();
}

bool GroupEditing::cancelAddGroup(const GroupPtr& group)
{
    return removeGroup(group);
}

bool GroupEditing::removeGroup(const GroupPtr& group)
{
    const ContainerPtr container = m_archive.container();
    if (!container || !group)
        return false;
    ValueList& groups = container->mutableField(QuillarcContainer::Groups).mutableArray();
    const qsizetype removed = groups.removeIf([&](const Value& item) { return item.toObject() == group; });
    if (removed == 0)
        return false;
    group->setParent(nullptr);
    container->valuesChanged();
    m_archive.updateChangeCount();
    return true;
}

GroupPtr GroupEditing::groupWithTitle(const QString& title) const
{
    for (const GroupPtr& group : m_archive.allGroups()) {
        if (group->groupTitle() == title)
            return group;
    }
    return nullptr;
}
