#include "app/models/SearchHitModel.h"

#include "model/QuillarcDocument.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QLocale>
#include <QPoint>
#include <QTimer>

namespace {
/// Excerpts kept at most: a long scroll through the hits must not hold one
/// for every document.
constexpr qsizetype matchCacheLimit = 2000;
} // namespace

SearchHitModel::SearchHitModel(QObject* parent)
    : QAbstractListModel(parent)
    , m_continue(new QTimer(this))
{
    // A search never holds the main thread longer than a step; the rest follows in steps.
    m_search.setDirectTimeBudget(directStepMs);
    m_continue->setInterval(0);
    m_continue->setSingleShot(true);
    connect(m_continue, &QTimer::timeout, this, &SearchHitModel::continueSearch);
}

void SearchHitModel::resetArrayAndFilter(const Document& archive)
{
    resetArrayAndFilter(archive.allDocuments(), archive.allFileKinds());
}

void SearchHitModel::resetArrayAndFilter(const QList<DocumentPtr>& documents, const QList<ValueMap>& fileKinds)
{
    beginResetModel();
    m_search.resetArrayAndFilter(documents, fileKinds);
    showHits();
}

void SearchHitModel::searchDocuments()
{
    beginResetModel();
    m_search.searchDocuments();
    showHits();
}

void SearchHitModel::setSortDescriptor(const SortDescriptor& descriptor)
{
    if (descriptor == m_search.sortDescriptor())
        return;
    beginResetModel();
    m_search.setSortDescriptor(descriptor);
    showHits();
}

void SearchHitModel::useSharedIndex(const SearchIndex* index)
{
    beginResetModel();
    m_search.useSharedIndex(index);
    showHits();
}

void SearchHitModel::showHits()
{
    takeHits();
    endResetModel();
    if (m_search.isComplete())
        m_continue->stop();
    else
        m_continue->start();
    Q_EMIT hitsChanged();
}

void SearchHitModel::continueSearch()
{
    beginResetModel();
    m_search.continueSearch();
    showHits();
}

void SearchHitModel::takeHits()
{
    m_positions = m_search.arrangedPositions();
    // Excerpts depend on the words only; a period or kind change keeps them.
    const QString text = DocumentSearch::normalizedSearchText(m_search.searchText());
    if (text != m_matchText || m_matches.size() > matchCacheLimit) {
        m_matches.clear();
        m_matchText = text;
    }
}

DocumentPtr SearchHitModel::documentAt(int row) const
{
    if (row < 0 || size_t(row) >= m_positions.size())
        return nullptr;
    return m_search.content().at(m_positions[size_t(row)]);
}

int SearchHitModel::rowOf(const QuillarcDocument* document) const
{
    const QList<DocumentPtr>& content = m_search.content();
    for (size_t row = 0; row < m_positions.size(); ++row) {
        if (content.at(m_positions[row]).get() == document)
            return int(row);
    }
    return -1;
}

QList<DocumentPtr> SearchHitModel::hits() const
{
    QList<DocumentPtr> result;
    result.reserve(qsizetype(m_positions.size()));
    for (const quint32 position : m_positions)
        result.append(m_search.content().at(position));
    return result;
}

SearchExcerpt::Match SearchHitModel::matchAt(int row) const
{
    if (row < 0 || size_t(row) >= m_positions.size() || m_matchText.isEmpty())
        return {};
    const quint32 position = m_positions[size_t(row)];
    auto cached = m_matches.constFind(position);
    if (cached == m_matches.constEnd())
        cached = m_matches.insert(position, SearchExcerpt::match(*m_search.content().at(position), m_matchText));
    return *cached;
}

QString SearchHitModel::fieldNameKey(const QString& fieldKey)
{
    return QStringLiteral("SEARCH_FIELD_") + fieldKey;
}

int SearchHitModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_positions.size());
}

QVariant SearchHitModel::data(const QModelIndex& index, int role) const
{
    const DocumentPtr document = documentAt(index.row());
    if (!document || index.column() != 0)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case TitleRole: {
        const QString title = document->title();
        return title.isEmpty() ? document->name() : title;
    }
    case Qt::ToolTipRole:
        return QStringLiteral("%1.%2").arg(document->name(), document->extension());
    case DocumentRole:
        return QVariant::fromValue(document);
    case SlipNumberRole:
        return document->slipNumber();
    case FileDateRole: {
        const Value& date = document->field(QuillarcDocument::FileDate);
        return date.kind() == Value::Kind::Date
            ? QLocale().toString(Clock::toDateTime(date.toDate()).date(), QLocale::ShortFormat)
            : QString();
    }
    case FileKindRole:
        return document->fileKind();
    case MatchFieldRole: {
        const SearchExcerpt::Match match = matchAt(index.row());
        return match.isNull() ? QString() : localizedString(fieldNameKey(match.fieldKey));
    }
    case ExcerptRole:
        return matchAt(index.row()).excerpt;
    case MarksRole: {
        QList<QPoint> marks;
        for (const SearchExcerpt::Mark& mark : matchAt(index.row()).marks)
            marks.append(QPoint(int(mark.start), int(mark.length)));
        return QVariant::fromValue(marks);
    }
    default:
        return {};
    }
}
