#pragma once

#include "model/ModelPointers.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <memory>

class Document;

/// What dragging rows does to an archive: groups are reordered inside the
/// groups list, and a document dragged onto another group moves there. The
/// documents list accepts no drops: its order is only ever the sort order.
///
/// Drags carry the archive's own clipboard types; the row sets and the dragged
/// documents travel as keyed archives, so a dropped document is a decoded copy
/// of the one that was dragged.
class DragReordering
{
public:
    // The clipboard types of the two lists (private to the application).
    static QString movedRowsType() { return QStringLiteral("MOVED_ROWS_TYPE"); }
    static QString copiedRowsType() { return QStringLiteral("COPIED_ROWS_TYPE"); }
    static QString movedRowsItemsType() { return QStringLiteral("MOVED_ROWS_TYPE_ITEMS"); }
    static QString copiedRowsItemsType() { return QStringLiteral("COPIED_ROWS_TYPE_ITEMS"); }

    /// A keyed archive of a set of row numbers (sorted, without repeats).
    static QByteArray archivedRows(const QList<qsizetype>& rows);
    /// The rows of archivedRows(); empty for damaged or foreign bytes.
    static QList<qsizetype> rowsFromArchive(const QByteArray& bytes);
    /// A keyed archive of the dragged documents.
    static QByteArray archivedDocuments(const QList<DocumentPtr>& documents);
    /// Decoded copies of archivedDocuments(); empty for damaged or foreign bytes.
    static QList<DocumentPtr> documentsFromArchive(const QByteArray& bytes);

    explicit DragReordering(Document& archive);

    /// Moves the groups at @p rows to @p dropRow (a negative row counts as 0)
    /// and returns their new rows, which the list selects.
    QList<qsizetype> moveGroups(const QList<qsizetype>& rows, qsizetype dropRow);

    /// Moves a document to @p target: @p copy (the decoded copy the drag
    /// carried) joins the target group, and @p original leaves @p source.
    /// Refused (false, nothing changes) when the target already holds a
    /// document with the same uniqueID, which is the case for its own group.
    bool moveDocumentToGroup(
        const DocumentPtr& copy, const DocumentPtr& original, const GroupPtr& source, const GroupPtr& target);

private:
    Document& m_archive;
};
