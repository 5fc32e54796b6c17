#include "output/TokenVocabulary.h"

#include "output/SearchIndex.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>

namespace {

constexpr int fieldCount = SearchIndex::fieldCount;

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

} // namespace

bool TokenVocabulary::isSeparator(char byte)
{
    return separators.separator[static_cast<unsigned char>(byte)];
}

void TokenVocabulary::build(const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count)
{
    m_tokens.clear();
    m_tokenStart.clear();
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
        const quint32 begin = m_tokenStart[id];
        const quint32 end = id + 1 < m_tokenStart.size() ? m_tokenStart[id + 1] : quint32(m_tokens.size());
        return std::string_view(m_tokens.data() + begin, end - begin - 1);
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
        m_tokenStart.push_back(quint32(m_tokens.size()));
        m_tokens.append(token);
        m_tokens.push_back('\n');
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
    m_tokenStart.push_back(quint32(m_tokens.size()));

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
        ordered.reserve(m_tokens.size());
        std::vector<quint32> orderedStart;
        orderedStart.reserve(tokens + 1);
        size_t mask = 0;
        for (quint32 position = 0; position <= tokens; ++position) {
            while (mask < 256 && bucketSize[mask] == position) {
                m_groupStart[mask] = quint32(ordered.size());
                m_groupFirstToken[mask] = position;
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
            m_groupStart[mask] = quint32(ordered.size());
            m_groupFirstToken[mask] = quint32(tokens);
        }
        orderedStart.push_back(quint32(ordered.size()));
        m_tokens.swap(ordered);
        m_tokenStart.swap(orderedStart);
    }
    for (quint32& id : entryToken)
        id = newId[id];

    // Postings grouped by token, documents ascending within each token.
    m_postingStart.assign(tokens + 1, 0);
    for (const quint32 id : entryToken)
        ++m_postingStart[id + 1];
    for (size_t id = 0; id < tokens; ++id)
        m_postingStart[id + 1] += m_postingStart[id];
    m_postingDoc.assign(entryToken.size(), 0);
    m_postingMask.assign(entryToken.size(), 0);
    std::vector<quint32> fill(m_postingStart.begin(), m_postingStart.end() - 1);
    for (quint32 doc = 0; doc < count; ++doc) {
        for (quint32 entry = docEntryStart[doc]; entry < docEntryStart[doc + 1]; ++entry) {
            const quint32 at = fill[entryToken[entry]]++;
            m_postingDoc[at] = doc;
            m_postingMask[at] = entryMask[entry];
        }
    }
    m_tokens.shrink_to_fit();
    m_tokenStart.shrink_to_fit();
}

const std::vector<quint32>& TokenVocabulary::matchingTokens(std::string_view needle, MatchCache& cache) const
{
    auto [entry, inserted] = cache.try_emplace(std::string(needle));
    std::vector<quint32>& found = entry->second;
    if (!inserted)
        return found;
    const quint8 needleGroups = groupMask(needle);
    const char* words = m_tokens.data();
    const size_t tokens = m_tokenStart.size() - 1;
    for (size_t groups = 0; groups < 256; ++groups) {
        if ((groups & needleGroups) != needleGroups || m_groupStart[groups] == m_groupStart[groups + 1])
            continue;
        size_t at = m_groupStart[groups];
        const size_t size = m_groupStart[groups + 1];
        // Hits come in vocabulary order: the token of each is found by
        // galloping on from the previous one, which costs little when hits are dense.
        size_t token = m_groupFirstToken[groups];
        while (at < size) {
            const void* hit = memmem(words + at, size - at, needle.data(), needle.size());
            if (!hit)
                break;
            const quint32 offset = quint32(static_cast<const char*>(hit) - words);
            size_t step = 1;
            while (token + step < tokens && m_tokenStart[token + step] <= offset) {
                token += step;
                step *= 2;
            }
            const auto last = m_tokenStart.begin() + qsizetype(std::min(token + step, tokens));
            token
                = size_t(std::upper_bound(m_tokenStart.begin() + qsizetype(token), last, offset) - m_tokenStart.begin())
                - 1;
            found.push_back(quint32(token));
            at = m_tokenStart[++token]; // the rest of this token cannot add anything
        }
    }
    return found;
}

void TokenVocabulary::addDocumentsContaining(
    std::string_view needle, quint8 mask, SearchSlotSet::Bits& out, MatchCache& cache) const
{
    for (const quint32 token : matchingTokens(needle, cache)) {
        const quint32 end = m_postingStart[token + 1];
        for (quint32 posting = m_postingStart[token]; posting < end; ++posting) {
            if (m_postingMask[posting] & mask)
                SearchSlotSet::setBit(out, m_postingDoc[posting]);
        }
    }
}

qint64 TokenVocabulary::memoryBytes() const
{
    return qint64(m_tokens.capacity())
        + qint64((m_tokenStart.capacity() + m_postingStart.capacity() + m_postingDoc.capacity()) * sizeof(quint32))
        + qint64(m_postingMask.capacity());
}
