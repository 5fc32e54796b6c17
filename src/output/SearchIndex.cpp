#include "output/SearchIndex.h"

#include "model/QuillarcDocument.h"
#include "output/SearchQuery.h"
#include "output/SearchSegment.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

template<typename T> qint64 capacityBytes(const std::vector<T>& items)
{
    return qint64(items.capacity() * sizeof(T));
}

/// Runs job(i) for i in [0, count) on up to @p threads threads. A job that
/// throws does not end the process: the first failure is kept, the jobs not
/// yet begun are skipped, and false is returned with its description.
template<typename Job> bool runParallel(int count, int threads, Job job, QString* error)
{
    std::atomic<bool> failed { false };
    std::mutex errorMutex;
    QString firstError;
    auto fail = [&](const QString& what) {
        const std::lock_guard<std::mutex> lock(errorMutex);
        if (!failed.exchange(true))
            firstError = what;
    };
    // Every share runs through this, the caller's own share as well: an
    // exception must not leave this function with workers still running.
    auto runShare = [&](int first, int step) {
        for (int i = first; i < count && !failed.load(); i += step) {
            try {
                job(i);
            } catch (const std::exception& exception) {
                fail(QString::fromLocal8Bit(exception.what()));
            } catch (...) {
                fail(QStringLiteral("unknown exception"));
            }
        }
    };
    if (threads <= 1 || count <= 1) {
        runShare(0, 1);
    } else {
        std::vector<std::thread> workers;
        const int used = std::min(threads, count);
        std::vector<bool> started(size_t(used), false);
        for (int t = 1; t < used; ++t) {
            try {
                workers.emplace_back([&runShare, t, used] { runShare(t, used); });
                started[size_t(t)] = true;
            } catch (const std::system_error&) {
                // No thread to be had: this thread does that share as well.
            }
        }
        for (int t = 0; t < used; ++t) {
            if (!started[size_t(t)])
                runShare(t, used);
        }
        for (std::thread& worker : workers)
            worker.join();
    }
    if (failed.load() && error)
        *error = firstError;
    return !failed.load();
}

} // namespace

SearchIndex::SearchIndex() = default;
SearchIndex::~SearchIndex() = default;

const std::array<QLatin1StringView, SearchIndex::fieldCount>& SearchIndex::fieldKeys()
{
    static const std::array<QLatin1StringView, fieldCount> keys = {
        QLatin1StringView("tagsAsString"),
        QLatin1StringView("title"),
        QLatin1StringView("name"),
        QLatin1StringView("comment"),
        QLatin1StringView("note"),
        QLatin1StringView("extension"),
        QLatin1StringView("slipNumber"),
        QLatin1StringView("contentString"),
    };
    return keys;
}

int SearchIndex::fieldIndex(const QString& key)
{
    const auto& keys = fieldKeys();
    for (int i = 0; i < fieldCount; ++i) {
        if (key == keys[size_t(i)])
            return i;
    }
    return -1;
}

void SearchIndex::clear()
{
    m_segments.clear();
    m_documents.clear();
    m_fileDates.clear();
    m_kindIds.clear();
    m_kinds.clear();
    m_kindLookup.clear();
    m_slotOf.clear();
    m_live = SlotSet();
    ++m_revision;
}

SearchIndex::Record SearchIndex::recordOf(const DocumentPtr& document)
{
    Record record;
    record.document = document;
    record.texts = SearchSegment::textsOf(*document);
    const Value& date = document->field(QuillarcDocument::FileDate);
    record.fileDate = date.kind() == Value::Kind::Date ? date.toDate() : std::nan("");
    const Value& kind = document->field(QuillarcDocument::FileKind);
    if (kind.kind() == Value::Kind::String)
        record.fileKind = kind.toString();
    return record;
}

std::vector<SearchIndex::Record> SearchIndex::records(const QList<DocumentPtr>& documents)
{
    std::vector<Record> result;
    result.reserve(size_t(documents.size()));
    for (const DocumentPtr& document : documents) {
        if (document)
            result.push_back(recordOf(document));
    }
    return result;
}

void SearchIndex::appendSlot(const Record& record)
{
    const quint32 slot = quint32(m_documents.size());
    m_documents.push_back(record.document);
    m_fileDates.push_back(record.fileDate);
    qint32 kindId = -1;
    if (!record.fileKind.isNull()) {
        const QString& text = record.fileKind;
        kindId = m_kindLookup.value(text, -1);
        if (kindId < 0) {
            kindId = qint32(m_kinds.size());
            m_kinds.append(text);
            m_kindLookup.insert(text, kindId);
        }
    }
    m_kindIds.push_back(kindId);
    m_slotOf.insert(record.document.get(), slot);
    m_live.resize(slot + 1);
    m_live.insert(slot);
}

bool SearchIndex::build(const QList<DocumentPtr>& documents, QString* error)
{
    return build(records(documents), error);
}

bool SearchIndex::build(std::vector<Record> records, QString* error)
{
    clear();
    ++m_revision;
    m_documents.reserve(records.size());
    m_fileDates.reserve(records.size());
    m_kindIds.reserve(records.size());
    for (const Record& record : records)
        appendSlot(record);
    const quint32 total = slotCount();
    if (!total)
        return true;
    const quint32 parts = total >= 2048 ? quint32(m_threads) : 1;
    for (quint32 part = 0; part < parts; ++part)
        m_segments.push_back(std::make_unique<SearchSegment>(quint32(quint64(total) * part / parts)));
    QString failure;
    const bool built = runParallel(
        int(parts), m_threads,
        [this, total, parts, &records](int part) {
            if (m_partProbe)
                m_partProbe(part);
            SearchSegment& segment = *m_segments[size_t(part)];
            const quint32 first = segment.firstSlot();
            const quint32 count = quint32(quint64(total) * quint32(part + 1) / parts) - first;
            size_t estimate = 0;
            for (quint32 i = 0; i < count; ++i)
                estimate += size_t(records[first + i].texts[7].size()) + 64;
            segment.reserve(estimate + estimate / 32, count);
            for (quint32 i = 0; i < count; ++i)
                segment.append(records[first + i].texts);
            segment.buildIndex();
        },
        &failure);
    if (!built) {
        // Half-built segments would answer wrongly: nothing is kept.
        clear();
        if (error)
            *error = failure;
    }
    return built;
}

void SearchIndex::addDocument(const DocumentPtr& document)
{
    if (!document)
        return;
    if (m_slotOf.contains(document.get()))
        return refreshDocument(document);
    const quint32 slot = slotCount();
    const Record record = recordOf(document);
    appendSlot(record);
    ++m_revision;
    if (m_segments.empty() || m_segments.back()->isIndexed())
        m_segments.push_back(std::make_unique<SearchSegment>(slot));
    m_segments.back()->append(record.texts);
    indexTailIfFull();
}

void SearchIndex::indexTailIfFull()
{
    SearchSegment& tail = *m_segments.back();
    if (!tail.isIndexed() && tail.count() >= tailCapacity)
        tail.buildIndex();
}

void SearchIndex::refreshDocument(const DocumentPtr& document)
{
    removeDocument(document);
    addDocument(document);
}

void SearchIndex::removeDocument(const DocumentPtr& document)
{
    const qint64 slot = m_slotOf.value(document.get(), -1);
    if (slot < 0)
        return;
    m_live.remove(quint32(slot));
    m_slotOf.remove(document.get());
    ++m_revision;
}

SearchIndex::SlotSet SearchIndex::filter(const SearchPredicate& predicate, QString* error) const
{
    const SearchQuery query(predicate, m_kinds);
    const SearchQuery::Columns columns { m_documents.data(), m_fileDates.data(), m_kindIds.data() };
    std::vector<SearchSlotSet::Bits> results(m_segments.size());
    // Large archives are searched on several threads, one segment each.
    const int threads = slotCount() >= 8192 ? m_threads : 1;
    QString failure;
    const bool searched = runParallel(
        int(m_segments.size()), threads,
        [&](int i) {
            if (m_partProbe)
                m_partProbe(i);
            results[size_t(i)] = query.evaluate(*m_segments[size_t(i)], columns);
        },
        &failure);
    if (!searched) {
        if (error)
            *error = failure;
        return SlotSet(slotCount());
    }

    SlotSet hits(slotCount());
    std::vector<quint64>& words = hits.words();
    for (size_t i = 0; i < m_segments.size(); ++i) {
        const quint32 first = m_segments[i]->firstSlot();
        const quint32 shift = first & 63;
        const size_t base = first >> 6;
        const SearchSlotSet::Bits& local = results[i];
        for (size_t w = 0; w < local.size(); ++w) {
            const quint64 value = local[w];
            if (!value)
                continue;
            words[base + w] |= value << shift;
            if (shift && base + w + 1 < words.size())
                words[base + w + 1] |= value >> (64 - shift);
        }
    }
    hits &= m_live;
    return hits;
}

SearchIndex::Statistics SearchIndex::statistics() const
{
    Statistics statistics;
    statistics.documents = m_live.count();
    statistics.segments = int(m_segments.size());
    for (const auto& segment : m_segments) {
        statistics.textBytes += segment->textBytes();
        statistics.foldedBytes += segment->foldedBytes();
        statistics.vocabularyBytes += segment->vocabulary().byteSize();
        statistics.tokens += segment->vocabulary().tokenCount();
        statistics.postings += segment->vocabulary().postingCount();
        statistics.memoryBytes += segment->memoryBytes();
    }
    statistics.memoryBytes += capacityBytes(m_documents) + capacityBytes(m_fileDates) + capacityBytes(m_kindIds)
        + qint64(m_slotOf.capacity()) * 32 + capacityBytes(m_live.words());
    return statistics;
}
