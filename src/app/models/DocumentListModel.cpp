#include "app/models/DocumentListModel.h"

#include "app/models/DateFormatters.h"
#include "app/models/ListMimeData.h"
#include "app/views/ThumbnailCache.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/DragReordering.h"
#include "store/ArchivedFile.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QLocale>
#include <QUrl>

DocumentListModel::DocumentListModel(Document* archive, QObject* parent)
    : ArchiveListModel(archive, parent)
{
}

void DocumentListModel::setGroup(const GroupPtr& group)
{
    if (group == m_group)
        return;
    m_group = group;
    resetRows();
}

void DocumentListModel::setSortDescriptor(const SortDescriptor& descriptor)
{
    m_sortDescriptor = descriptor;
    rearrangeObjects();
}

void DocumentListModel::rearrangeObjects()
{
    applyRows(targetRows());
}

void DocumentListModel::setThumbnailCache(ThumbnailCache* cache)
{
    if (m_thumbnails)
        disconnect(m_thumbnails, nullptr, this, nullptr);
    m_thumbnails = cache;
    if (m_thumbnails)
        connect(m_thumbnails, &ThumbnailCache::thumbnailReady, this, &DocumentListModel::onThumbnailReady);
}

void DocumentListModel::onThumbnailReady(const QString& uniqueID, const void* document)
{
    const int row = rowOf(static_cast<const QuillarcDatabaseObject*>(document));
    // The address may have been reused by another record since the request.
    if (row < 0 || documentAt(row)->uniqueID() != uniqueID)
        return;
    const QModelIndex cell = index(row, TitleColumn);
    Q_EMIT dataChanged(cell, cell, { Qt::DecorationRole });
}

QList<ObjectPtr> DocumentListModel::targetRows() const
{
    QList<ObjectPtr> rows;
    if (!m_group)
        return rows;
    const QList<DocumentPtr> documents = m_group->documents();
    rows.reserve(documents.size());
    for (const quint32 position : DocumentOrdering::sortedPositions(documents, m_sortDescriptor))
        rows.append(documents.at(position));
    return rows;
}

bool DocumentListModel::affectsRows(const QuillarcDatabaseObject* object) const
{
    return m_group && object == m_group.get();
}

DocumentPtr DocumentListModel::documentAt(int row) const
{
    return std::static_pointer_cast<QuillarcDocument>(objectAt(row));
}

int DocumentListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString DocumentListModel::columnKey(int column)
{
    switch (column) {
    case TitleColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_TITLE");
    case SlipNumberColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_SLIP");
    case FileDateColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_DATE");
    case KindColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_KIND");
    case SizeColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_SIZE");
    case TagsColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_TAGS");
    case ColorTagColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_COLOR");
    case LockColumn:
        return QStringLiteral("DOCUMENTS_COLUMN_LOCK");
    default:
        return {};
    }
}

QVariant DocumentListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::DisplayRole && section < ColorTagColumn)
        return localizedString(columnKey(section));
    if (role == Qt::ToolTipRole || role == Qt::AccessibleTextRole)
        return localizedString(columnKey(section));
    return {};
}

QVariant DocumentListModel::data(const QModelIndex& index, int role) const
{
    const DocumentPtr document = checkIndex(index, CheckIndexOption::IndexIsValid) ? documentAt(index.row()) : nullptr;
    if (!document)
        return {};
    const int column = index.column();
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole || role == Qt::AccessibleTextRole) {
        switch (column) {
        case TitleColumn:
            return document->title();
        case SlipNumberColumn:
            return document->slipNumber();
        case FileDateColumn:
            return DateFormatters::mediumDate(document->field(QuillarcDocument::FileDate));
        case KindColumn:
            return document->fileKind();
        case SizeColumn: {
            const Value size = document->field(QuillarcDocument::FileSize);
            return size.isNumber() ? QLocale().formattedDataSize(qint64(size.toReal())) : QString();
        }
        case TagsColumn:
            return document->tagsAsString();
        case ColorTagColumn:
            return role == Qt::DisplayRole
                ? QVariant()
                : QVariant(colorTagImageName(document->field(QuillarcDocument::DocumentColorTag)));
        case LockColumn:
            return role == Qt::DisplayRole || !document->isFileLocked()
                ? QVariant()
                : QVariant(localizedString(QStringLiteral("LOCKED_LABEL")));
        default:
            return {};
        }
    }
    switch (role) {
    case Qt::DecorationRole:
        if (column == TitleColumn && m_thumbnails)
            return m_thumbnails->thumbnail(document);
        return {};
    case Qt::TextAlignmentRole:
        return column == SizeColumn ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case TagsRole:
        return document->tags();
    case ColorTagRole: {
        const Value tag = document->field(QuillarcDocument::DocumentColorTag);
        return int(tag.isNumber() ? tag.toInteger() : 7);
    }
    case LockedRole:
        return document->isFileLocked();
    case UniqueIDRole:
        return document->uniqueID();
    default:
        return {};
    }
}

Qt::ItemFlags DocumentListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

QStringList DocumentListModel::mimeTypes() const
{
    return { DragReordering::copiedRowsItemsType(), DragReordering::movedRowsItemsType(),
        QStringLiteral("text/uri-list") };
}

QMimeData* DocumentListModel::mimeData(const QModelIndexList& indexes) const
{
    QList<qsizetype> rows;
    QList<DocumentPtr> documents;
    for (const QModelIndex& index : indexes) {
        if (index.isValid() && !rows.contains(index.row())) {
            rows.append(index.row());
            documents.append(documentAt(index.row()));
        }
    }
    if (documents.isEmpty())
        return nullptr;
    auto* data = new ListMimeData(this, documents.first());
    data->setData(DragReordering::movedRowsItemsType(), DragReordering::archivedRows(rows));
    data->setData(DragReordering::copiedRowsItemsType(), DragReordering::archivedDocuments(documents));
    // Another application receives a plain copy of the file.
    QList<QUrl> urls;
    for (const DocumentPtr& document : std::as_const(documents))
        urls.append(QUrl::fromLocalFile(ArchivedFile::fileRepresentationPath(*document)));
    data->setUrls(urls);
    return data;
}

Qt::DropActions DocumentListModel::supportedDragActions() const
{
    return Qt::CopyAction | Qt::LinkAction | Qt::MoveAction;
}

Qt::DropActions DocumentListModel::supportedDropActions() const
{
    return Qt::IgnoreAction;
}

bool DocumentListModel::canDropMimeData(const QMimeData*, Qt::DropAction, int, int, const QModelIndex&) const
{
    return false;
}

bool DocumentListModel::dropMimeData(const QMimeData*, Qt::DropAction, int, int, const QModelIndex&)
{
    return false;
}
