#include "output/DragReordering.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/DocumentOrdering.h"
#include "store/Document.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"

#include <algorithm>

QByteArray DragReordering::archivedRows(const QList<qsizetype>& rows)
{
    QList<qsizetype> sorted = rows;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    ValueList items;
    for (const qsizetype row : std::as_const(sorted))
        items.append(Value::integer(row));
    return KeyedArchiver::archivedDataWithRootObject(Value::array(items, false));
}

QList<qsizetype> DragReordering::rowsFromArchive(const QByteArray& bytes)
{
    QList<qsizetype> rows;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes);
    if (root.kind() != Value::Kind::Array)
        return rows;
    for (const Value& item : root.toArray()) {
        if (item.kind() == Value::Kind::Integer && item.toInteger() >= 0)
            rows.append(qsizetype(item.toInteger()));
    }
    return rows;
}

QByteArray DragReordering::archivedDocuments(const QList<DocumentPtr>& documents)
{
    ValueList items;
    for (const DocumentPtr& document : documents)
        items.append(Value::object(document));
    return KeyedArchiver::archivedDataWithRootObject(Value::array(items, false));
}

QList<DocumentPtr> DragReordering::documentsFromArchive(const QByteArray& bytes)
{
    QList<DocumentPtr> documents;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes);
    for (const Value& item : root.toArray()) {
        if (auto document = item.toObjectOf<QuillarcDocument>())
            documents.append(document);
    }
    return documents;
}

DragReordering::DragReordering(Document& archive)
    : m_archive(archive)
{
}

QList<qsizetype> DragReordering::moveGroups(const QList<qsizetype>& rows, qsizetype dropRow)
{
    const ContainerPtr container = m_archive.container();
    if (!container || rows.isEmpty())
        return {};
    Value groups = container->field(QuillarcContainer::Groups);
    if (groups.kind() != Value::Kind::Array)
        return {};
    const QList<qsizetype> destination
        = DocumentOrdering::moveObjectsInArrangedObjectsFromIndexes(groups.mutableArray(), rows, qMax<qsizetype>(0, dropRow));
    container->setValue(QuillarcContainer::Groups, groups);
    return destination;
}

bool DragReordering::moveDocumentToGroup(
    const DocumentPtr& copy, const DocumentPtr& original, const GroupPtr& source, const GroupPtr& target)
{
    if (!copy || !target)
        return false;
    const QString uniqueID = copy->uniqueID();
    for (const DocumentPtr& held : target->documents()) {
        if (held->uniqueID() == uniqueID)
            return false;
    }
    copy->setParent(target.get());
    if (source && original) {
        Value documents = source->field(QuillarcGroup::Documents);
        documents.mutableArray().removeIf([&](const Value& item) { return item.toObject() == original; });
        source->setValue(QuillarcGroup::Documents, documents);
    }
    Value documents = target->field(QuillarcGroup::Documents);
    if (documents.kind() != Value::Kind::Array)
        documents = Value::array();
    documents.mutableArray().append(Value::object(copy));
    target->setValue(QuillarcGroup::Documents, documents);
    m_archive.updateChangeCount();
    return true;
}
