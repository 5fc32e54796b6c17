#include "store/RecordTree.h"

#include "model/QuillarcContainer.h"

#include <QSet>

bool RecordTree::check(const QuillarcContainer& container, QString* error)
{
    QSet<const void*> groups;
    for (const Value& item : container.field(QuillarcContainer::Groups).toArray()) {
        const ObjectPtr group = item.toObject();
        if (!group)
            continue;
        if (groups.contains(group.get())) {
            *error = QStringLiteral("the group %1 is listed more than once").arg(group->databaseObjectUniqueID());
            return false;
        }
        groups.insert(group.get());
    }
    return true;
}
