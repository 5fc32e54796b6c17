#include "intake/DeletionRules.h"

#include "intake/GroupEditing.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"

DeletionRules::DeletionRules(Document& archive)
    : m_archive(archive)
{
}

bool DeletionRules::canDeleteDocument(const QuillarcDocument& document, const QuillarcGroup* currentGroup)
{
    return !document.isLocked() && !(currentGroup && currentGroup->isLocked());
}

bool DeletionRules::canDeleteGroup(const QuillarcGroup& group)
{
    if (group.isLocked())
        return false;
    for (const DocumentPtr& document : group.documents()) {
        if (document->isLocked())
            return false;
    }
    return true;
}

DeletionAlert DeletionRules::deleteDocumentRefusal()
{
    return { QStringLiteral("ERROR!"), QStringLiteral("DELETE_DOCUMENT_IMPOSSIBLE_ALERT"), QStringLiteral("OK"), {},
        true };
}

DeletionAlert DeletionRules::deleteDocumentConfirmation()
{
    return { QStringLiteral("Delete Document"), QStringLiteral("DELETE_DOCUMENT_ALERT"), QStringLiteral("OK"),
        QStringLiteral("Cancel"), false };
}

DeletionAlert DeletionRules::deleteGroupRefusal()
{
    return { QStringLiteral("ERROR!"), QStringLiteral("DELETE_GROUP_IMPOSSIBLE_ALERT"), QStringLiteral("OK"), {},
        true };
}

DeletionAlert DeletionRules::deleteGroupConfirmation()
{
    return { QStringLiteral("Delete Group"), QStringLiteral("DELETE_GROUP_ALERT"), QStringLiteral("OK"), {}, false };
}

bool DeletionRules::deleteDocument(const DocumentPtr& document, const GroupPtr& currentGroup)
{
    if (!document || !currentGroup || !canDeleteDocument(*document, currentGroup.get()))
        return false;
    ValueList& documents = currentGroup->mutableField(QuillarcGroup::Documents).mutableArray();
    const qsizetype index = documents.indexOf(Value::object(document));
    if (index < 0)
        return false;
    m_archive.addToDeleteIDSArray(document->uniqueID());
    m_archive.createLogObjectForDocument(document, 1);
    documents.removeAt(index);
    currentGroup->valuesChanged(); // "documentCount"
    m_archive.updateChangeCount();
    return true;
}

bool DeletionRules::deleteGroup(const GroupPtr& group)
{
    if (!group || !canDeleteGroup(*group) || !m_archive.allGroups().contains(group))
        return false;
    // The entries follow the group's list order, so the log reads like the group did.
    for (const DocumentPtr& document : group->documents()) {
        m_archive.addToDeleteIDSArray(document->uniqueID());
        m_archive.createLogObjectForDocument(document, 1);
    }
    return GroupEditing(m_archive).removeGroup(group);
}
