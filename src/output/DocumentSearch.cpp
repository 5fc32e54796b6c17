#include "output/DocumentSearch.h"

#include "model/QuillarcDocument.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"
#include "text/StringHelpers.h"

#include <QElapsedTimer>
#include <QSet>
#include <algorithm>

namespace {
/// The slot of a content position the index does not hold.
constexpr quint32 noSlot = 0xffffffffu;
} // namespace

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
    m_buildError.clear();
    if (!m_sharedMode)
        buildOwnIndex();
    m_mappedIndex = nullptr;
    m_slotOfPosition.clear();
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
    m_evaluatedPredicate = SearchPredicate();
    return applyFilter();
}

void DocumentSearch::buildOwnIndex()
{
    QString failure;
    if (!m_index.build(m_content, &failure))
        m_buildError = failure;
}

bool DocumentSearch::fail(const QString& failure)
{
    // Without an answer the list shows nothing rather than a wrong part of it.
    m_hits = SearchSlotSet(quint32(m_content.size()));
    m_pending.clear();
    m_pendingNext = 0;
    m_errorString = localizedString(QStringLiteral("SEARCH_FAILED")) + QLatin1Char(' ') + failure;
    return false;
}

void DocumentSearch::useSharedIndex(const SearchIndex* index)
{
    m_sharedMode = true;
    m_shared = index;
    m_index.clear();
    m_buildError.clear();
    applyFilter();
}

void DocumentSearch::useOwnIndex()
{
    if (!m_sharedMode)
        return;
    m_sharedMode = false;
    m_shared = nullptr;
    m_buildError.clear();
    buildOwnIndex();
    applyFilter();
}

void DocumentSearch::mapPositionsToSlots()
{
    const SearchIndex* index = currentIndex();
    if (index == m_mappedIndex && (!index || index->revision() == m_mappedRevision)
        && m_slotOfPosition.size() == size_t(m_content.size()))
        return;
    m_slotOfPosition.resize(size_t(m_content.size()));
    for (qsizetype position = 0; position < m_content.size(); ++position) {
        const qint64 slot = index ? index->slotOf(m_content.at(position).get()) : -1;
        m_slotOfPosition[size_t(position)] = slot < 0 ? noSlot : quint32(slot);
    }
    m_mappedIndex = index;
    m_mappedRevision = index ? index->revision() : 0;
}

bool DocumentSearch::applyFilter()
{
    mapPositionsToSlots();
    m_errorString.clear();
    if (!m_buildError.isEmpty())
        return fail(m_buildError);
    const quint32 count = quint32(m_content.size());
    m_hits = SearchSlotSet(count);
    m_pending.clear();
    m_pendingNext = 0;
    if (m_evaluatedPredicate.isNull()) {
        for (quint32 position = 0; position < count; ++position)
            m_hits.insert(position);
        return true;
    }
    const SearchIndex* index = currentIndex();
    QString failure;
    const SearchIndex::SlotSet slotHits
        = index ? index->filter(m_evaluatedPredicate, &failure) : SearchIndex::SlotSet();
    if (!failure.isEmpty())
        return fail(failure);
    // Documents the index does not hold (yet) are asked directly, with the same
    // answer; in list order, so that the top of the list is decided first.
    for (const quint32 position : m_order) {
        const quint32 slot = m_slotOfPosition[position];
        if (slot == noSlot)
            m_pending.push_back(position);
        else if (slotHits.contains(slot))
            m_hits.insert(position);
    }
    continueSearch();
    return true;
}

bool DocumentSearch::continueSearch()
{
    QElapsedTimer timer;
    timer.start();
    while (m_pendingNext < m_pending.size()) {
        const quint32 position = m_pending[m_pendingNext++];
        if (m_evaluatedPredicate.evaluate(*m_content.at(position)))
            m_hits.insert(position);
        // The clock is read now and then only: asking one document takes microseconds.
        if (m_directBudgetMs > 0 && (m_pendingNext & 15) == 0 && timer.elapsed() >= m_directBudgetMs)
            break;
    }
    if (m_pendingNext < m_pending.size())
        return false;
    m_pending.clear();
    m_pendingNext = 0;
    return true;
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
        m_evaluatedPredicate = SearchPredicate();
        return applyFilter();
    }

    // What is evaluated leaves out repeated words: the same OR-group twice in
    // an AND changes nothing, and a pasted text may repeat a word thousands of times.
    std::vector<SearchPredicate> evaluated = parts;
    if (!text.isEmpty()) {
        const QStringList words = text.split(QLatin1Char(' '));
        if (words.size() == 1) {
            parts.push_back(textPredicate(text, text));
            evaluated.push_back(parts.back());
        } else {
            // The note is matched against the whole phrase, the other fields word by word.
            QSet<QString> seen;
            for (const QString& word : words) {
                parts.push_back(textPredicate(word, text));
                if (!seen.contains(word)) {
                    seen.insert(word);
                    evaluated.push_back(parts.back());
                }
            }
        }
    }
    m_predicate = SearchPredicate::andPredicate(std::move(parts));
    m_filterPredicate = m_predicate;
    m_evaluatedPredicate = SearchPredicate::andPredicate(std::move(evaluated));
    return applyFilter();
}

bool DocumentSearch::refreshDocument(const DocumentPtr& document)
{
    if (!m_content.contains(document))
        return true;
    // A shared index is brought up to date by its keeper.
    if (!m_sharedMode)
        m_index.refreshDocument(document);
    m_order = DocumentOrdering::sortedPositions(m_content, m_sortDescriptor);
    return applyFilter();
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
        if (m_hits.contains(position))
            positions.push_back(position);
    }
    return positions;
}
