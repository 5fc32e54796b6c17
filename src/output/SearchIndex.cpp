#include "output/SearchIndex.h"

#include "model/QuillarcDocument.h"
#include "output/TextFolding.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string_view>
#include <system_error>
#include <thread>
#include <unordered_map>

namespace {

using Bits = SearchSlotSet::Bits;

/// White space ends a word: the ASCII spaces and line breaks, and the NUL
/// that ends each field. Other spaces (no-break, ideographic) are folded to
/// U+0020 by the compatibility decomposition, so they count as well.
struct SeparatorTable
{
    bool separator[256];
    constexpr SeparatorTable()
        : separator()
    {
        for (const char byte : { ' ', '\t', '\n', '\r', '\v', '\f', '\0' })
            separator[static_cast<unsigned char>(byte)] = true;
    }
};
constexpr SeparatorTable separators;

inline bool isSeparator(char byte)
{
    return separators.separator[static_cast<unsigned char>(byte)];
}

/// The group of a byte of folded text: digits, five ranges of small ASCII
/// letters, bytes of multi-byte characters, and the rest of ASCII.
struct ByteGroupTable
{
    quint8 group[256];
    constexpr ByteGroupTable()
        : group()
    {
        for (int byte = 0; byte < 256; ++byte) {
            int bit = 7;
            if (byte >= '0' && byte <= '9')
                bit = 0;
            else if (byte >= 'a' && byte <= 'e')
                bit = 1;
            else if (byte >= 'f' && byte <= 'j')
                bit = 2;
            else if (byte >= 'k' && byte <= 'o')
                bit = 3;
            else if (byte >= 'p' && byte <= 't')
                bit = 4;
            else if (byte >= 'u' && byte <= 'z')
                bit = 5;
            else if (byte >= 0x80)
                bit = 6;
            group[byte] = quint8(1u << bit);
        }
    }
};
constexpr ByteGroupTable byteGroups;

/// The byte groups a text holds: a token can only contain a needle whose
/// groups are all among its own.
quint8 groupMask(std::string_view text)
{
    quint8 mask = 0;
    for (const char byte : text)
        mask |= byteGroups.group[static_cast<unsigned char>(byte)];
    return mask;
}

qint64 utf8Size(QStringView text)
{
    qint64 size = 0;
    const char16_t* units = text.utf16();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = units[i];
        size += unit < 0x80 ? 1 : unit < 0x800 ? 2 : QChar::isSurrogate(unit) ? 2 : 3;
    }
    return size;
}

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
    started[0] = true;
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
        if (t == 0 || !started[size_t(t)]) {
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
    std::unordered_map<std::string, std::vector<quint32>> tokens;
    std::unordered_map<std::string, Bits> results;
};

} // namespace

// ---------------------------------------------------------------------------

struct SearchIndex::Segment
{
    quint32 firstSlot = 0;
    quint32 count = 0;
    bool indexed = false;
    qint64 textBytes = 0;
    std::string folded; ///< fields, each ended by NUL
    std::vector<quint64> fieldStart { 0 }; ///< count * 8 + 1 offsets into folded
    std::string vocabulary; ///< tokens, each ended by '\n'
    std::vector<quint32> tokenStart; ///< tokens + 1 offsets into vocabulary
    std::vector<quint32> postingStart; ///< tokens + 1 offsets into the postings
    std::vector<quint32> postingDoc; ///< document within the segment
    std::vector<quint8> postingMask; ///< fields holding the token
    /// Vocabulary offset and first token of the tokens of each byte-group
    /// mask (the vocabulary is ordered by mask), and the ends.
    quint32 groupStart[257] = {};
    quint32 groupFirstToken[257] = {};

    void append(const QuillarcDocument& document);
    void buildTokenIndex();
    qint64 memory() const
    {
        return qint64(folded.capacity() + vocabulary.capacity()) + capacityBytes(fieldStart) + capacityBytes(tokenStart)
            + capacityBytes(postingStart) + capacityBytes(postingDoc) + capacityBytes(postingMask)
            + capacityBytes(bytePresence) + capacityBytes(pairSet) + capacityBytes(pairSets);
    }

    /// Per ASCII byte and field, the documents whose field holds the byte:
    /// one-letter needles (the first keystroke) match most tokens, so they
    /// are answered from here. Layout [byte][field][word].
    std::vector<quint64> bytePresence;
    size_t wordsPerSet() const { return (count + 63) / 64; }
    void buildBytePresence();
    /// Per pair of ASCII bytes, the documents holding it in a field other
    /// than the note (the fields a word is tested against; the note is short
    /// and scanned): two-letter needles, the second keystroke, also match
    /// most tokens. pairSet[pair] indexes sets of wordsPerSet() in pairSets;
    /// -1 for a pair no document holds.
    std::vector<qint32> pairSet;
    std::vector<quint64> pairSets;
    void buildPairPresence();
    void scanField(std::string_view needle, int field, Bits& out) const;

    const std::vector<quint32>& matchingTokens(std::string_view needle, SegmentCache& cache) const;
    void tokenUnion(std::string_view needle, quint8 mask, Bits& out, SegmentCache& cache) const;
    void scan(std::string_view needle, quint8 mask, Bits& out, const Bits* candidates) const;
    void contains(std::string_view needle, quint8 mask, Bits& out, SegmentCache& cache) const;
};

void SearchIndex::Segment::append(const QuillarcDocument& document)
{
    const QString texts[fieldCount] = {
        document.tagsAsString(),
        document.field(QuillarcDocument::Title).toString(),
        document.field(QuillarcDocument::Name).toString(),
        document.field(QuillarcDocument::Comment).toString(),
        document.field(QuillarcDocument::Note).toString(),
        document.field(QuillarcDocument::Extension).toString(),
        document.field(QuillarcDocument::SlipNumber).toString(),
        document.field(QuillarcDocument::ContentString).toString(),
    };
    for (const QString& text : texts) {
        textBytes += utf8Size(text);
        TextFolding::appendFoldedUtf8(text, folded);
        folded.push_back('\0');
        fieldStart.push_back(folded.size());
    }
    ++count;
}

void SearchIndex::Segment::buildTokenIndex()
{
    vocabulary.clear();
    tokenStart.clear();
    std::vector<quint32> table(1 << 16, 0); // open addressing: token + 1, 0 = empty
    std::vector<size_t> hashes;
    std::vector<quint32> lastDoc;
    std::vector<quint32> lastEntry;
    std::vector<quint32> entryToken;
    std::vector<quint8> entryMask;
    std::vector<quint32> docEntryStart;
    docEntryStart.reserve(count + 1);
    entryToken.reserve(folded.size() / 10);
    entryMask.reserve(folded.size() / 10);
    const std::hash<std::string_view> hasher;

    auto tokenView = [this](quint32 id) {
        const quint32 begin = tokenStart[id];
        const quint32 end = id + 1 < tokenStart.size() ? tokenStart[id + 1] : quint32(vocabulary.size());
        return std::string_view(vocabulary.data() + begin, end - begin - 1);
    };
    auto grow = [&] {
        std::vector<quint32> larger(table.size() * 2, 0);
        const size_t mask = larger.size() - 1;
        for (quint32 id = 0; id < hashes.size(); ++id) {
            size_t at = hashes[id] & mask;
            while (larger[at])
                at = (at + 1) & mask;
            larger[at] = id + 1;
        }
        table.swap(larger);
    };
    auto lookup = [&](std::string_view token) -> quint32 {
        const size_t hash = hasher(token);
        size_t mask = table.size() - 1;
        size_t at = hash & mask;
        while (const quint32 stored = table[at]) {
            if (hashes[stored - 1] == hash && tokenView(stored - 1) == token)
                return stored - 1;
            at = (at + 1) & mask;
        }
        const quint32 id = quint32(hashes.size());
        tokenStart.push_back(quint32(vocabulary.size()));
        vocabulary.append(token);
        vocabulary.push_back('\n');
        hashes.push_back(hash);
        lastDoc.push_back(std::numeric_limits<quint32>::max());
        lastEntry.push_back(0);
        table[at] = id + 1;
        if (hashes.size() * 2 > table.size())
            grow();
        return id;
    };

    const char* text = folded.data();
    for (quint32 doc = 0; doc < count; ++doc) {
        docEntryStart.push_back(quint32(entryToken.size()));
        for (int field = 0; field < fieldCount; ++field) {
            quint64 at = fieldStart[size_t(doc) * fieldCount + field];
            const quint64 end = fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
            while (at < end) {
                while (at < end && isSeparator(text[at]))
                    ++at;
                const quint64 begin = at;
                while (at < end && !isSeparator(text[at]))
                    ++at;
                if (begin == at)
                    continue;
                const quint32 id = lookup(std::string_view(text + begin, at - begin));
                if (lastDoc[id] != doc) {
                    lastDoc[id] = doc;
                    lastEntry[id] = quint32(entryToken.size());
                    entryToken.push_back(id);
                    entryMask.push_back(quint8(1u << field));
                } else {
                    entryMask[lastEntry[id]] |= quint8(1u << field);
                }
            }
        }
    }
    docEntryStart.push_back(quint32(entryToken.size()));
    const size_t tokens = hashes.size();
    tokenStart.push_back(quint32(vocabulary.size()));

    // Vocabulary reordered by the byte groups its tokens hold: a needle is
    // looked for only among tokens holding all of its groups, so "rechnung"
    // skips every number and "2024" every word.
    std::vector<quint32> newId(tokens);
    {
        std::vector<quint8> masks(tokens);
        std::vector<quint32> bucketSize(257, 0);
        for (quint32 id = 0; id < tokens; ++id) {
            masks[id] = groupMask(tokenView(id));
            ++bucketSize[size_t(masks[id]) + 1];
        }
        for (size_t mask = 0; mask < 256; ++mask)
            bucketSize[mask + 1] += bucketSize[mask];
        std::vector<quint32> order(tokens);
        std::vector<quint32> fill(bucketSize.begin(), bucketSize.end() - 1);
        for (quint32 id = 0; id < tokens; ++id)
            order[fill[masks[id]]++] = id;
        std::string ordered;
        ordered.reserve(vocabulary.size());
        std::vector<quint32> orderedStart;
        orderedStart.reserve(tokens + 1);
        size_t mask = 0;
        for (quint32 position = 0; position <= tokens; ++position) {
            while (mask < 256 && bucketSize[mask] == position) {
                groupStart[mask] = quint32(ordered.size());
                groupFirstToken[mask] = position;
                ++mask;
            }
            if (position == tokens)
                break;
            const quint32 id = order[position];
            newId[id] = position;
            orderedStart.push_back(quint32(ordered.size()));
            ordered.append(tokenView(id));
            ordered.push_back('\n');
        }
        for (; mask <= 256; ++mask) {
            groupStart[mask] = quint32(ordered.size());
            groupFirstToken[mask] = quint32(tokens);
        }
        orderedStart.push_back(quint32(ordered.size()));
        vocabulary.swap(ordered);
        tokenStart.swap(orderedStart);
    }
    for (quint32& id : entryToken)
        id = newId[id];

    // Postings grouped by token, documents ascending within each token.
    postingStart.assign(tokens + 1, 0);
    for (const quint32 id : entryToken)
        ++postingStart[id + 1];
    for (size_t id = 0; id < tokens; ++id)
        postingStart[id + 1] += postingStart[id];
    postingDoc.assign(entryToken.size(), 0);
    postingMask.assign(entryToken.size(), 0);
    std::vector<quint32> fill(postingStart.begin(), postingStart.end() - 1);
    for (quint32 doc = 0; doc < count; ++doc) {
        for (quint32 entry = docEntryStart[doc]; entry < docEntryStart[doc + 1]; ++entry) {
            const quint32 at = fill[entryToken[entry]]++;
            postingDoc[at] = doc;
            postingMask[at] = entryMask[entry];
        }
    }
    vocabulary.shrink_to_fit();
    tokenStart.shrink_to_fit();
    if (folded.capacity() > folded.size() + folded.size() / 16)
        folded.shrink_to_fit();
    buildBytePresence();
    buildPairPresence();
    indexed = true;
}

void SearchIndex::Segment::buildBytePresence()
{
    const size_t words = wordsPerSet();
    bytePresence.assign(128 * fieldCount * words, 0);
    const auto* text = reinterpret_cast<const unsigned char*>(folded.data());
    for (quint32 doc = 0; doc < count; ++doc) {
        for (int field = 0; field < fieldCount; ++field) {
            bool seen[128] = {};
            const quint64 end = fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
            for (quint64 at = fieldStart[size_t(doc) * fieldCount + field]; at < end; ++at) {
                if (text[at] < 128)
                    seen[text[at]] = true;
            }
            for (size_t byte = 0; byte < 128; ++byte) {
                if (seen[byte])
                    bytePresence[(byte * fieldCount + size_t(field)) * words + doc / 64] |= quint64(1) << (doc % 64);
            }
        }
    }
}

void SearchIndex::Segment::buildPairPresence()
{
    constexpr quint8 noteField = 4;
    const size_t words = wordsPerSet();
    pairSet.assign(128 * 128, -1);
    pairSets.clear();
    std::vector<quint32> stamp(128 * 128, std::numeric_limits<quint32>::max());
    std::vector<quint32> pairs;
    const auto* text = reinterpret_cast<const unsigned char*>(folded.data());
    for (quint32 doc = 0; doc < count; ++doc) {
        pairs.clear();
        for (int field = 0; field < fieldCount; ++field) {
            if (field == noteField)
                continue;
            const quint64 end = fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
            for (quint64 at = fieldStart[size_t(doc) * fieldCount + field]; at + 1 < end; ++at) {
                if (text[at] >= 128 || text[at + 1] >= 128)
                    continue;
                const quint32 pair = quint32(text[at]) * 128 + text[at + 1];
                if (stamp[pair] != doc) {
                    stamp[pair] = doc;
                    pairs.push_back(pair);
                }
            }
        }
        for (const quint32 pair : pairs) {
            if (pairSet[pair] < 0) {
                pairSet[pair] = qint32(pairSets.size() / words);
                pairSets.resize(pairSets.size() + words, 0);
            }
            pairSets[size_t(pairSet[pair]) * words + doc / 64] |= quint64(1) << (doc % 64);
        }
    }
    pairSets.shrink_to_fit();
}

void SearchIndex::Segment::scanField(std::string_view needle, int field, Bits& out) const
{
    const char* text = folded.data();
    for (quint32 doc = 0; doc < count; ++doc) {
        const quint64 begin = fieldStart[size_t(doc) * fieldCount + field];
        const quint64 end = fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
        if (end - begin >= needle.size() && memmem(text + begin, end - begin, needle.data(), needle.size()))
            SearchSlotSet::setBit(out, doc);
    }
}

const std::vector<quint32>& SearchIndex::Segment::matchingTokens(std::string_view needle, SegmentCache& cache) const
{
    auto [entry, inserted] = cache.tokens.try_emplace(std::string(needle));
    std::vector<quint32>& found = entry->second;
    if (!inserted)
        return found;
    const quint8 needleGroups = groupMask(needle);
    const char* words = vocabulary.data();
    const size_t tokens = tokenStart.size() - 1;
    for (size_t groups = 0; groups < 256; ++groups) {
        if ((groups & needleGroups) != needleGroups || groupStart[groups] == groupStart[groups + 1])
            continue;
        size_t at = groupStart[groups];
        const size_t size = groupStart[groups + 1];
        // Hits come in vocabulary order: the token of each is found by
        // galloping on from the previous one, which costs little when hits are dense.
        size_t token = groupFirstToken[groups];
        while (at < size) {
            const void* hit = memmem(words + at, size - at, needle.data(), needle.size());
            if (!hit)
                break;
            const quint32 offset = quint32(static_cast<const char*>(hit) - words);
            size_t step = 1;
            while (token + step < tokens && tokenStart[token + step] <= offset) {
                token += step;
                step *= 2;
            }
            const auto last = tokenStart.begin() + qsizetype(std::min(token + step, tokens));
            token = size_t(std::upper_bound(tokenStart.begin() + qsizetype(token), last, offset) - tokenStart.begin())
                - 1;
            found.push_back(quint32(token));
            at = tokenStart[++token]; // the rest of this token cannot add anything
        }
    }
    return found;
}

void SearchIndex::Segment::tokenUnion(std::string_view needle, quint8 mask, Bits& out, SegmentCache& cache) const
{
    for (const quint32 token : matchingTokens(needle, cache)) {
        const quint32 end = postingStart[token + 1];
        for (quint32 posting = postingStart[token]; posting < end; ++posting) {
            if (postingMask[posting] & mask)
                SearchSlotSet::setBit(out, postingDoc[posting]);
        }
    }
}

void SearchIndex::Segment::scan(std::string_view needle, quint8 mask, Bits& out, const Bits* candidates) const
{
    const char* text = folded.data();
    if (candidates) {
        for (size_t word = 0; word < candidates->size(); ++word) {
            for (quint64 bits = (*candidates)[word]; bits; bits &= bits - 1) {
                const quint32 doc = quint32(word * 64 + size_t(std::countr_zero(bits)));
                for (int field = 0; field < fieldCount; ++field) {
                    if (!(mask & (1u << field)))
                        continue;
                    const quint64 begin = fieldStart[size_t(doc) * fieldCount + field];
                    const quint64 end = fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
                    if (end - begin >= needle.size()
                        && memmem(text + begin, end - begin, needle.data(), needle.size())) {
                        SearchSlotSet::setBit(out, doc);
                        break;
                    }
                }
            }
        }
        return;
    }
    const size_t size = folded.size();
    size_t at = 0;
    while (at < size) {
        const void* hit = memmem(text + at, size - at, needle.data(), needle.size());
        if (!hit)
            break;
        const size_t offset = size_t(static_cast<const char*>(hit) - text);
        const size_t field
            = size_t(std::upper_bound(fieldStart.begin(), fieldStart.end(), offset) - fieldStart.begin()) - 1;
        const size_t doc = field / fieldCount;
        if (mask & (1u << (field % fieldCount))) {
            SearchSlotSet::setBit(out, quint32(doc));
            at = fieldStart[(doc + 1) * fieldCount];
        } else {
            at = fieldStart[field + 1];
        }
    }
}

void SearchIndex::Segment::contains(std::string_view needle, quint8 mask, Bits& out, SegmentCache& cache) const
{
    if (needle.empty() || !mask || !count)
        return;
    if (!indexed)
        return scan(needle, mask, out, nullptr);
    if (needle.size() == 1 && static_cast<unsigned char>(needle[0]) < 128) {
        const size_t words = wordsPerSet();
        const size_t byte = static_cast<unsigned char>(needle[0]);
        for (size_t field = 0; field < size_t(fieldCount); ++field) {
            if (!(mask & (1u << field)))
                continue;
            const quint64* present = bytePresence.data() + (byte * fieldCount + field) * words;
            for (size_t word = 0; word < words; ++word)
                out[word] |= present[word];
        }
        return;
    }
    constexpr quint8 allButNote = 0xEF;
    if (needle.size() == 2 && static_cast<unsigned char>(needle[0]) < 128 && static_cast<unsigned char>(needle[1]) < 128
        && (mask & allButNote) == allButNote) {
        const qint32 set
            = pairSet[size_t(static_cast<unsigned char>(needle[0])) * 128 + static_cast<unsigned char>(needle[1])];
        if (set >= 0) {
            const size_t words = wordsPerSet();
            const quint64* present = pairSets.data() + size_t(set) * words;
            for (size_t word = 0; word < words; ++word)
                out[word] |= present[word];
        }
        if (mask & ~allButNote)
            scanField(needle, 4, out);
        return;
    }
    if (std::none_of(needle.begin(), needle.end(), isSeparator))
        return tokenUnion(needle, mask, out, cache);

    // Each piece between separators lies inside one token of the matching field.
    Bits candidates = SearchSlotSet::fullBits(count);
    bool anyPiece = false;
    size_t at = 0;
    while (at < needle.size()) {
        while (at < needle.size() && isSeparator(needle[at]))
            ++at;
        const size_t begin = at;
        while (at < needle.size() && !isSeparator(needle[at]))
            ++at;
        if (begin == at)
            continue;
        Bits piece = SearchSlotSet::emptyBits(count);
        tokenUnion(needle.substr(begin, at - begin), mask, piece, cache);
        for (size_t word = 0; word < candidates.size(); ++word)
            candidates[word] &= piece[word];
        anyPiece = true;
        if (SearchSlotSet::allZero(candidates))
            return;
    }
    scan(needle, mask, out, anyPiece ? &candidates : nullptr);
}

// ---------------------------------------------------------------------------

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
    for (quint32 part = 0; part < parts; ++part) {
        auto segment = std::make_unique<Segment>();
        segment->firstSlot = quint32(quint64(total) * part / parts);
        segment->count = quint32(quint64(total) * (part + 1) / parts) - segment->firstSlot;
        m_segments.push_back(std::move(segment));
    }
    runParallel(int(parts), m_threads, [this](int part) {
        Segment& segment = *m_segments[size_t(part)];
        const quint32 count = segment.count;
        size_t estimate = 0;
        for (quint32 i = 0; i < count; ++i) {
            const QuillarcDocument& document = *m_documents[segment.firstSlot + i];
            estimate += size_t(document.field(QuillarcDocument::ContentString).toString().size()) + 64;
        }
        segment.folded.reserve(estimate + estimate / 32);
        segment.fieldStart.reserve(size_t(count) * fieldCount + 1);
        segment.count = 0;
        for (quint32 i = 0; i < count; ++i)
            segment.append(*m_documents[segment.firstSlot + i]);
        segment.buildTokenIndex();
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
    if (m_segments.empty() || m_segments.back()->indexed) {
        auto tail = std::make_unique<Segment>();
        tail->firstSlot = slot;
        m_segments.push_back(std::move(tail));
    }
    m_segments.back()->append(*document);
    indexTailIfFull();
}

void SearchIndex::indexTailIfFull()
{
    Segment& tail = *m_segments.back();
    if (!tail.indexed && tail.count >= tailCapacity)
        tail.buildTokenIndex();
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
    auto containing = [](const Segment& segment, const Compiled& node, Cache& cache) -> const Bits& {
        std::string key = node.needle;
        key.push_back(char(node.mask));
        auto found = cache.results.find(key);
        if (found == cache.results.end()) {
            Bits bits = SearchSlotSet::emptyBits(segment.count);
            segment.contains(node.needle, node.mask, bits, cache);
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
    std::function<Bits(const Segment&, const Compiled&, Cache&, Within)> evaluate
        = [&](const Segment& segment, const Compiled& node, Cache& cache, Within within) {
              const quint32 count = segment.count;
              auto needleBits = [&](const Compiled& needle, Bits& bits) {
                  if (within.few && segment.indexed) {
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
                  const qint32* ids = m_kindIds.data() + segment.firstSlot;
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
                  const double* dates = m_fileDates.data() + segment.firstSlot;
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
                      if (node.predicate->evaluate(*m_documents[segment.firstSlot + doc]))
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
        const quint32 first = m_segments[i]->firstSlot;
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
        statistics.textBytes += segment->textBytes;
        statistics.foldedBytes += qint64(segment->folded.size());
        statistics.vocabularyBytes += qint64(segment->vocabulary.size());
        statistics.tokens += segment->tokenStart.empty() ? 0 : qint64(segment->tokenStart.size()) - 1;
        statistics.postings += qint64(segment->postingDoc.size());
        statistics.memoryBytes += segment->memory();
    }
    statistics.memoryBytes += capacityBytes(m_documents) + capacityBytes(m_fileDates) + capacityBytes(m_kindIds)
        + qint64(m_slotOf.capacity()) * 32 + capacityBytes(m_live.words());
    return statistics;
}
