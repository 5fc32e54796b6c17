#include "output/SearchQuery.h"

#include "model/QuillarcDocument.h"
#include "output/SearchIndex.h"
#include "output/SearchPredicate.h"
#include "output/SearchSegment.h"
#include "output/TextFolding.h"

#include <algorithm>
#include <bit>

namespace {

using Bits = SearchSlotSet::Bits;

} // namespace

SearchQuery::SearchQuery(const SearchPredicate& predicate, const QStringList& kinds)
    : m_root(compile(predicate, kinds))
{
}

SearchQuery::Node SearchQuery::compile(const SearchPredicate& predicate, const QStringList& kinds)
{
    using K = Node::Kind;
    Node compiled;
    switch (predicate.type()) {
    case SearchPredicate::Type::Null:
        compiled.kind = K::All;
        return compiled;
    case SearchPredicate::Type::And:
    case SearchPredicate::Type::Or: {
        const bool isOr = predicate.type() == SearchPredicate::Type::Or;
        compiled.kind = isOr ? K::Or : K::And;
        for (const SearchPredicate& operand : predicate.operands()) {
            Node part = compile(operand, kinds);
            // One pass per distinct needle: its fields are merged into one mask.
            if (isOr && part.kind == K::Contains) {
                auto same = std::find_if(compiled.operands.begin(), compiled.operands.end(),
                    [&part](const Node& other) { return other.kind == K::Contains && other.needle == part.needle; });
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
    const int field = SearchIndex::fieldIndex(predicate.key());
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
            for (const QString& kind : kinds)
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

Bits SearchQuery::evaluate(const SearchSegment& segment, const Columns& columns) const
{
    SegmentCache cache;
    return evaluate(m_root, segment, columns, cache, Within());
}

// Several word groups test the same phrase against the note: each needle and
// field mask is searched once per segment.
const Bits& SearchQuery::containing(const SearchSegment& segment, const Node& node, SegmentCache& cache)
{
    std::string key = node.needle;
    key.push_back(char(node.mask));
    auto found = cache.results.find(key);
    if (found == cache.results.end()) {
        Bits bits = SearchSlotSet::emptyBits(segment.count());
        segment.contains(node.needle, node.mask, bits, cache.tokens);
        found = cache.results.emplace(std::move(key), std::move(bits)).first;
    }
    return found->second;
}

Bits SearchQuery::evaluate(
    const Node& node, const SearchSegment& segment, const Columns& columns, SegmentCache& cache, Within within) const
{
    using K = Node::Kind;
    const quint32 count = segment.count();
    auto needleBits = [&](const Node& needle, Bits& bits) {
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
        for (const Node& operand : node.operands) {
            Within inner = within;
            if (narrowed) {
                quint64 population = 0;
                for (const quint64 word : bits)
                    population += quint64(std::popcount(word));
                inner = { &bits, population <= count / 64 };
            }
            const Bits part = evaluate(operand, segment, columns, cache, inner);
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
        for (const Node& operand : node.operands) {
            if (operand.kind == K::Contains) {
                needleBits(operand, bits);
                continue;
            }
            const Bits part = evaluate(operand, segment, columns, cache, within);
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
        const qint32* ids = columns.kindIds + segment.firstSlot();
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
        const double* dates = columns.fileDates + segment.firstSlot();
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
            if (node.predicate->evaluate(*columns.documents[segment.firstSlot() + doc]))
                SearchSlotSet::setBit(bits, doc);
        }
        return bits;
    }
    }
    return SearchSlotSet::emptyBits(count);
}
