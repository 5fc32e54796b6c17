#include "output/DocumentSearch.h"

#include "model/QuillarcDocument.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"
#include "text/StringHelpers.h"

#include <algorithm>
#include <numeric>

DocumentSearch::DocumentSearch()
    : m_sortDescriptor(DocumentOrdering::sortDescriptorFor(0, 0))
{
}

bool DocumentSearch::resetArrayAndFilter(const Document& archive)
{
    return resetArrayAndFilter(archive.allDocuments(), archive.allFileKinds());
}

bool DocumentSearch::resetArrayAndFilter(const QList<DocumentPtr>& documents, const QList<ValueMap>& fileKinds)
{
    m_content = documents;
    m_fileKinds = fileKinds;
    QString failure;
    const bool built = m_index.build(m_content, &failure);
    m_slotOfPosition.resize(size_t(m_content.size()));
    std::iota(m_slotOfPosition.begin(), m_slotOfPosition.end(), 0u);
    m_order = DocumentOrdering::sortedPositions(m_content, m_sortDescriptor);
    m_filterKind = false;
    m_filterPeriod = false;

    // "@min.fileDate" and "@max.fileDate": nil values take no part.
    bool any = false;
    ReferenceTime earliest = 0, latest = 0;
    for (const DocumentPtr& document : m_content) {
        const Value& date = document->field(QuillarcDocument::FileDate);
        if (date.kind() != Value::Kind::Date)
            continue;
        earliest = any ? qMin(earliest, date.toDate()) : date.toDate();
        latest = any ? qMax(latest, date.toDate()) : date.toDate();
        any = true;
    }
    m_startDate = any ? Clock::toDateTime(earliest) : QDateTime();
    m_endDate = any ? Clock::toDateTime(latest) : QDateTime();

    m_predicate = SearchPredicate();
    m_searchText = QString();
    m_filterPredicate = SearchPredicate();
    // A failed build left the index empty, so the list shows nothing.
    return takeHits(m_index.liveSlots(), built ? QString() : failure);
}

bool DocumentSearch::takeHits(SearchIndex::SlotSet hits, const QString& failure)
{
    m_hits = std::move(hits);
    if (failure.isEmpty()) {
        m_errorString.clear();
        return true;
    }
    m_hits = SearchIndex::SlotSet(m_index.slotCount());
    m_errorString = localizedString(QStringLiteral("SEARCH_FAILED")) + QLatin1Char(' ') + failure;
    return false;
}

QString DocumentSearch::normalizedSearchText(const QString& text)
{
    QString normalized = text;
    while (normalized.contains(QLatin1String("  ")))
        normalized.replace(QLatin1String("  "), QLatin1String(" "));
    if (!normalized.isEmpty() && normalized.at(0) == QLatin1Char(' '))
        normalized.remove(0, 1);
    if (!normalized.isEmpty() && normalized.back() == QLatin1Char(' '))
        normalized.chop(1);
    return normalized;
}

SearchPredicate DocumentSearch::textPredicate(const QString& word, const QString& phrase)
{
    std::vector<SearchPredicate> fields;
    for (const QLatin1StringView key : SearchIndex::fieldKeys()) {
        const QString& argument = key == QLatin1String("note") ? phrase : word;
        fields.push_back(
            SearchPredicate::comparison(QString(key), SearchPredicate::Operator::ContainsCD, Value::string(argument)));
    }
    return SearchPredicate::orPredicate(std::move(fields));
}

SearchPredicate DocumentSearch::periodPredicate(const QDateTime& start, const QDateTime& end)
{
    const QDateTime first = dayStart(start);
    const QDateTime last = dayEnd(end);
    const Value from = first.isValid() ? Value::date(Clock::fromDateTime(first)) : Value();
    const Value to = last.isValid() ? Value::date(Clock::fromDateTime(last)) : Value();
    return SearchPredicate::andPredicate(
        { SearchPredicate::comparison(QStringLiteral("fileDate"), SearchPredicate::Operator::GreaterOrEqual, from),
            SearchPredicate::comparison(QStringLiteral("fileDate"), SearchPredicate::Operator::LessOrEqual, to) },
        false);
}

SearchPredicate DocumentSearch::kindPredicate(const QString& kind)
{
    return SearchPredicate::comparison(
        QStringLiteral("fileKind"), SearchPredicate::Operator::Like, kind.isNull() ? Value() : Value::string(kind));
}

bool DocumentSearch::searchDocuments()
{
    const QString text = normalizedSearchText(m_searchText);
    std::vector<SearchPredicate> parts;
    if (m_filterPeriod)
        parts.push_back(periodPredicate(m_startDate, m_endDate));
    if (m_filterKind)
        parts.push_back(kindPredicate(m_fileKind));

    if (!m_filterKind && text.isEmpty() && !m_filterPeriod) {
        // The list is unfiltered; the last predicate is deliberately kept.
        m_filterPredicate = SearchPredicate();
        return takeHits(m_index.liveSlots(), QString());
    }

    if (!text.isEmpty()) {
        const QStringList words = text.split(QLatin1Char(' '));
        if (words.size() == 1) {
            parts.push_back(textPredicate(text, text));
        } else {
            // The note is matched against the whole phrase, the other fields word by word.
            for (const QString& word : words)
                parts.push_back(textPredicate(word, text));
        }
    }
    m_predicate = SearchPredicate::andPredicate(std::move(parts));
    m_filterPredicate = m_predicate;
    QString failure;
    SearchIndex::SlotSet hits = m_index.filter(m_filterPredicate, &failure);
    return takeHits(std::move(hits), failure);
}

bool DocumentSearch::refreshDocument(const DocumentPtr& document)
{
    const qint64 oldSlot = m_index.slotOf(document.get());
    const auto position = std::find(m_slotOfPosition.begin(), m_slotOfPosition.end(), quint32(oldSlot));
    if (oldSlot < 0 || position == m_slotOfPosition.end())
        return true;
    m_index.refreshDocument(document);
    *position = quint32(m_index.slotOf(document.get()));
    m_order = DocumentOrdering::sortedPositions(m_content, m_sortDescriptor);
    QString failure;
    SearchIndex::SlotSet hits
        = m_filterPredicate.isNull() ? m_index.liveSlots() : m_index.filter(m_filterPredicate, &failure);
    return takeHits(std::move(hits), failure);
}

void DocumentSearch::setSortDescriptor(const SortDescriptor& descriptor)
{
    if (descriptor == m_sortDescriptor && m_order.size() == size_t(m_content.size()))
        return;
    m_sortDescriptor = descriptor;
    m_order = DocumentOrdering::sortedPositions(m_content, m_sortDescriptor);
}

QList<DocumentPtr> DocumentSearch::arrangedObjects() const
{
    const std::vector<quint32> positions = arrangedPositions();
    QList<DocumentPtr> arranged;
    arranged.reserve(qsizetype(positions.size()));
    for (const quint32 position : positions)
        arranged.append(m_content.at(position));
    return arranged;
}

std::vector<quint32> DocumentSearch::arrangedPositions() const
{
    std::vector<quint32> positions;
    positions.reserve(m_hits.count());
    for (const quint32 position : m_order) {
        if (m_hits.contains(m_slotOfPosition[position]))
            positions.push_back(position);
    }
    return positions;
}
