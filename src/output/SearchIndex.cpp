#include "output/SearchIndex.h"

#include "model/QuillarcDocument.h"
#include "output/SearchSegment.h"
#include "output/TextFolding.h"

#include <bit>
#include <cmath>
#include <functional>
#include <system_error>
#include <thread>
#include <unordered_map>

namespace {

using Bits = SearchSlotSet::Bits;

template<typename T> qint64 capacityBytes(const std::vector<T>& items)
{
    return qint64(items.capacity() * sizeof(T));
}

/// Runs job(i) for i in [0, count) on up to @p threads threads.
template<typename Job> void runParallel(int count, int threads, Job job)
{
    if (threads <= 1 || count <= 1) {
        for (int i = 0; i < count; ++i)
            job(i);
        return;
    }
    std::vector<std::thread> workers;
    const int used = std::min(threads, count);
    std::vector<bool> started(size_t(used), false);
    for (int t = 1; t < used; ++t) {
        try {
            workers.emplace_back([&job, t, used, count] {
                for (int i = t; i < count; i += used)
                    job(i);
            });
            started[size_t(t)] = true;
        } catch (const std::system_error&) {
            // No thread to be had: this thread does that share as well.
        }
    }
    for (int t = 0; t < used; ++t) {
        if (!started[size_t(t)]) {
            for (int i = t; i < count; i += used)
                job(i);
        }
    }
    for (std::thread& worker : workers)
        worker.join();
}

/// What one search has found out about one segment: the tokens holding a
/// needle, and the documents a needle and field mask give. Word groups share
/// needles (the phrase tested against the note, the words inside it).
struct SegmentCache
{
    TokenVocabulary::MatchCache tokens;
    std::unordered_map<std::string, Bits> results;
};

} // namespace

/// A predicate prepared for the index: needles folded once, kind patterns
/// matched once per distinct kind.
struct SearchIndex::Compiled
{
    enum class Kind
    {
        All,
        Nothing,
        And,
        Or,
        Contains,
        KindIn,
        DateAtLeast,
        DateAtMost,
        Generic
    };
    Kind kind = Kind::All;
    std::vector<Compiled> operands;
    std::string needle;
    quint8 mask = 0;
    std::vector<quint8> kindMatches; ///< per kind id, plus one for nil at the end
    double date = 0;
    const SearchPredicate* predicate = nullptr;
};

SearchIndex::Compiled SearchIndex::compile(const SearchPredicate& predicate) const
{
    using K = Compiled::Kind;
    Compiled compiled;
    switch (predicate.type()) {
    case SearchPredicate::Type::Null:
        compiled.kind = K::All;
        return compiled;
    case SearchPredicate::Type::And:
    case SearchPredicate::Type::Or: {
        const bool isOr = predicate.type() == SearchPredicate::Type::Or;
        compiled.kind = isOr ? K::Or : K::And;
        for (const SearchPredicate& operand : predicate.operands()) {
            Compiled part = compile(operand);
            // One pass per distinct needle: its fields are merged into one mask.
            if (isOr && part.kind == K::Contains) {
                auto same
                    = std::find_if(compiled.operands.begin(), compiled.operands.end(), [&part](const Compiled& other) {
                          return other.kind == K::Contains && other.needle == part.needle;
                      });
                if (same != compiled.operands.end()) {
                    same->mask |= part.mask;
                    continue;
                }
            }
            compiled.operands.push_back(std::move(part));
        }
        return compiled;
    }
    case SearchPredicate::Type::Comparison:
        break;
    }

    const Value& argument = predicate.argument();
    const int field = fieldIndex(predicate.key());
    switch (predicate.op()) {
    case SearchPredicate::Operator::ContainsCD:
        if (field < 0)
            break;
        compiled.kind = K::Nothing;
        if (argument.kind() == Value::Kind::String) {
            compiled.needle = TextFolding::foldedUtf8(argument.toString());
            if (!compiled.needle.empty()) {
                compiled.kind = K::Contains;
                compiled.mask = quint8(1u << field);
            }
        }
        return compiled;
    case SearchPredicate::Operator::Like:
        if (predicate.key() != QLatin1String("fileKind"))
            break;
        compiled.kind = K::Nothing;
        if (argument.kind() == Value::Kind::String) {
            compiled.kind = K::KindIn;
            for (const QString& kind : m_kinds)
                compiled.kindMatches.push_back(SearchPredicate::matchesLike(kind, argument.toString()) ? 1 : 0);
            compiled.kindMatches.push_back(0); // nil
        }
        return compiled;
    case SearchPredicate::Operator::GreaterOrEqual:
    case SearchPredicate::Operator::LessOrEqual:
        if (predicate.key() != QLatin1String("fileDate"))
            break;
        compiled.kind = K::Nothing;
        if (argument.kind() == Value::Kind::Date) {
            compiled.kind
                = predicate.op() == SearchPredicate::Operator::GreaterOrEqual ? K::DateAtLeast : K::DateAtMost;
            compiled.date = argument.toDate();
        }
        return compiled;
    }
    compiled.kind = K::Generic;
    compiled.predicate = &predicate;
    return compiled;
}

// ---------------------------------------------------------------------------

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
}

void SearchIndex::appendSlot(const DocumentPtr& document)
{
    const quint32 slot = quint32(m_documents.size());
    m_documents.push_back(document);
    const Value& date = document->field(QuillarcDocument::FileDate);
    m_fileDates.push_back(date.kind() == Value::Kind::Date ? date.toDate() : std::nan(""));
    const Value& kind = document->field(QuillarcDocument::FileKind);
    qint32 kindId = -1;
    if (kind.kind() == Value::Kind::String) {
        const QString text = kind.toString();
        kindId = m_kindLookup.value(text, -1);
        if (kindId < 0) {
            kindId = qint32(m_kinds.size());
            m_kinds.append(text);
            m_kindLookup.insert(text, kindId);
        }
    }
    m_kindIds.push_back(kindId);
    m_slotOf.insert(document.get(), slot);
    m_live.resize(slot + 1);
    m_live.insert(slot);
}

void SearchIndex::build(const QList<DocumentPtr>& documents)
{
    clear();
    m_documents.reserve(size_t(documents.size()));
    m_fileDates.reserve(size_t(documents.size()));
    m_kindIds.reserve(size_t(documents.size()));
    for (const DocumentPtr& document : documents) {
        if (document)
            appendSlot(document);
    }
    const quint32 total = slotCount();
    if (!total)
        return;
    const quint32 parts = total >= 2048 ? quint32(m_threads) : 1;
    for (quint32 part = 0; part < parts; ++part)
        m_segments.push_back(std::make_unique<SearchSegment>(quint32(quint64(total) * part / parts)));
    runParallel(int(parts), m_threads, [this, total, parts](int part) {
        SearchSegment& segment = *m_segments[size_t(part)];
        const quint32 first = segment.firstSlot();
        const quint32 count = quint32(quint64(total) * quint32(part + 1) / parts) - first;
        size_t estimate = 0;
        for (quint32 i = 0; i < count; ++i) {
            const QuillarcDocument& document = *m_documents[first + i];
            estimate += size_t(document.field(QuillarcDocument::ContentString).toString().size()) + 64;
        }
        segment.reserve(estimate + estimate / 32, count);
        for (quint32 i = 0; i < count; ++i)
            segment.append(*m_documents[first + i]);
        segment.buildIndex();
    });
}

void SearchIndex::addDocument(const DocumentPtr& document)
{
    if (!document)
        return;
    if (m_slotOf.contains(document.get()))
        return refreshDocument(document);
    const quint32 slot = slotCount();
    appendSlot(document);
    if (m_segments.empty() || m_segments.back()->isIndexed())
        m_segments.push_back(std::make_unique<SearchSegment>(slot));
    m_segments.back()->append(*document);
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
}

SearchIndex::SlotSet SearchIndex::filter(const SearchPredicate& predicate) const
{
    const Compiled compiled = compile(predicate);
    using K = Compiled::Kind;

    std::vector<Bits> results(m_segments.size());
    // Several word groups test the same phrase against the note: each needle
    // and field mask is searched once per segment.
    using Cache = SegmentCache;
    auto containing = [](const SearchSegment& segment, const Compiled& node, Cache& cache) -> const Bits& {
        std::string key = node.needle;
        key.push_back(char(node.mask));
        auto found = cache.results.find(key);
        if (found == cache.results.end()) {
            Bits bits = SearchSlotSet::emptyBits(segment.count());
            segment.contains(node.needle, node.mask, bits, cache.tokens);
            found = cache.results.emplace(std::move(key), std::move(bits)).first;
        }
        return found->second;
    };
    // Within an AND, later operands only matter for the documents still in:
    // when few are left, a needle is checked in their text directly.
    struct Within
    {
        const Bits* bits = nullptr;
        bool few = false;
    };
    std::function<Bits(const SearchSegment&, const Compiled&, Cache&, Within)> evaluate
        = [&](const SearchSegment& segment, const Compiled& node, Cache& cache, Within within) {
              const quint32 count = segment.count();
              auto needleBits = [&](const Compiled& needle, Bits& bits) {
                  if (within.few && segment.isIndexed()) {
                      segment.scan(needle.needle, needle.mask, bits, within.bits);
                      return;
                  }
                  const Bits& part = containing(segment, needle, cache);
                  for (size_t i = 0; i < bits.size(); ++i)
                      bits[i] |= part[i];
              };
              switch (node.kind) {
              case K::All:
                  return SearchSlotSet::fullBits(count);
              case K::Nothing:
                  return SearchSlotSet::emptyBits(count);
              case K::And: {
                  Bits bits = SearchSlotSet::fullBits(count);
                  bool narrowed = false;
                  for (const Compiled& operand : node.operands) {
                      Within inner = within;
                      if (narrowed) {
                          quint64 population = 0;
                          for (const quint64 word : bits)
                              population += quint64(std::popcount(word));
                          inner = { &bits, population <= count / 64 };
                      }
                      const Bits part = evaluate(segment, operand, cache, inner);
                      for (size_t i = 0; i < bits.size(); ++i)
                          bits[i] &= part[i];
                      narrowed = true;
                      if (SearchSlotSet::allZero(bits))
                          break;
                  }
                  return bits;
              }
              case K::Or: {
                  Bits bits = SearchSlotSet::emptyBits(count);
                  for (const Compiled& operand : node.operands) {
                      if (operand.kind == K::Contains) {
                          needleBits(operand, bits);
                          continue;
                      }
                      const Bits part = evaluate(segment, operand, cache, within);
                      for (size_t i = 0; i < bits.size(); ++i)
                          bits[i] |= part[i];
                  }
                  return bits;
              }
              case K::Contains: {
                  Bits bits = SearchSlotSet::emptyBits(count);
                  needleBits(node, bits);
                  return bits;
              }
              case K::KindIn: {
                  // Word by word without branches: these loops run over every document.
                  Bits bits = SearchSlotSet::emptyBits(count);
                  const qint32* ids = m_kindIds.data() + segment.firstSlot();
                  const quint8* matches = node.kindMatches.data();
                  const size_t nilEntry = node.kindMatches.size() - 1;
                  for (quint32 doc = 0; doc < count; ++doc) {
                      const size_t id = ids[doc] < 0 ? nilEntry : std::min(size_t(ids[doc]), nilEntry);
                      bits[doc >> 6] |= quint64(matches[id]) << (doc & 63);
                  }
                  return bits;
              }
              case K::DateAtLeast:
              case K::DateAtMost: {
                  Bits bits = SearchSlotSet::emptyBits(count);
                  const double* dates = m_fileDates.data() + segment.firstSlot();
                  const double bound = node.date;
                  if (node.kind == K::DateAtLeast) {
                      for (quint32 doc = 0; doc < count; ++doc) // NaN compares false
                          bits[doc >> 6] |= quint64(dates[doc] >= bound) << (doc & 63);
                  } else {
                      for (quint32 doc = 0; doc < count; ++doc)
                          bits[doc >> 6] |= quint64(dates[doc] <= bound) << (doc & 63);
                  }
                  return bits;
              }
              case K::Generic: {
                  Bits bits = SearchSlotSet::emptyBits(count);
                  for (quint32 doc = 0; doc < count; ++doc) {
                      if (node.predicate->evaluate(*m_documents[segment.firstSlot() + doc]))
                          SearchSlotSet::setBit(bits, doc);
                  }
                  return bits;
              }
              }
              return SearchSlotSet::emptyBits(count);
          };

    // Large archives are searched on several threads, one segment each.
    const int threads = slotCount() >= 8192 ? m_threads : 1;
    runParallel(int(m_segments.size()), threads, [&](int i) {
        Cache cache;
        results[size_t(i)] = evaluate(*m_segments[size_t(i)], compiled, cache, Within());
    });

    SlotSet hits(slotCount());
    std::vector<quint64>& words = hits.words();
    for (size_t i = 0; i < m_segments.size(); ++i) {
        const quint32 first = m_segments[i]->firstSlot();
        const quint32 shift = first & 63;
        const size_t base = first >> 6;
        const Bits& local = results[i];
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
