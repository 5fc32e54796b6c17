#pragma once

#include "model/ModelPointers.h"

#include <QString>
#include <memory>

class Document;

/// An alert as the window shows it: title, text and buttons are keys or
/// source texts that go through the localization dictionary.
struct DeletionAlert
{
    QString title;
    QString text;
    QString defaultButton;
    QString cancelButton; ///< empty when the alert cannot be declined
    bool critical = false;
};

/// Deleting documents and groups. Locks are the only guard: a locked document,
/// or any document in a locked group, is never deleted; there is no retention
/// period or other test. Every deleted document leaves an audit entry of kind 1,
/// and its stored folder goes at the next save.
class DeletionRules
{
public:
    explicit DeletionRules(Document& archive);

    /// A document may go unless it or the group it is shown in is locked.
    static bool canDeleteDocument(const QuillarcDocument& document, const QuillarcGroup* currentGroup);
    /// A group may go unless it or any one of its documents is locked.
    static bool canDeleteGroup(const QuillarcGroup& group);

    static DeletionAlert deleteDocumentRefusal();
    static DeletionAlert deleteDocumentConfirmation();
    static DeletionAlert deleteGroupRefusal();
    /// Informs only: the group alert has a single button.
    static DeletionAlert deleteGroupConfirmation();

    /// Deletes a confirmed document from its group: its ID joins the archive's
    /// deletion list, an audit entry of kind 1 is written, the record leaves
    /// the list and the archive is marked changed. False (nothing done) when
    /// the locks forbid it or the document is not in the group.
    bool deleteDocument(const DocumentPtr& document, const GroupPtr& currentGroup);
    /// Deletes a group with all its documents, one audit entry per document in
    /// list order. False (nothing done) when the locks forbid it.
    bool deleteGroup(const GroupPtr& group);

private:
    Document& m_archive;
};
