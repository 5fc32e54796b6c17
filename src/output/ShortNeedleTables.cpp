#include "output/ShortNeedleTables.h"

#include "output/SearchIndex.h"

#include <limits>

namespace {

constexpr int fieldCount = SearchIndex::fieldCount;
constexpr int noteField = 4;
constexpr quint8 allButNote = quint8(~(1u << noteField));

} // namespace

void ShortNeedleTables::build(const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count)
{
    m_wordsPerSet = (count + 63) / 64;
    buildBytePresence(folded, fieldStart, count);
    buildPairPresence(folded, fieldStart, count);
}

void ShortNeedleTables::buildBytePresence(
    const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count)
{
    const size_t words = m_wordsPerSet;
    m_bytePresence.assign(128 * fieldCount * words, 0);
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
                    m_bytePresence[(byte * fieldCount + size_t(field)) * words + doc / 64] |= quint64(1) << (doc % 64);
            }
        }
    }
}

void ShortNeedleTables::buildPairPresence(
    const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count)
{
    const size_t words = m_wordsPerSet;
    m_pairSet.assign(128 * 128, -1);
    m_pairSets.clear();
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
            if (m_pairSet[pair] < 0) {
                m_pairSet[pair] = qint32(m_pairSets.size() / words);
                m_pairSets.resize(m_pairSets.size() + words, 0);
            }
            m_pairSets[size_t(m_pairSet[pair]) * words + doc / 64] |= quint64(1) << (doc % 64);
        }
    }
    m_pairSets.shrink_to_fit();
}

bool ShortNeedleTables::answers(std::string_view needle, quint8 mask)
{
    if (needle.size() == 1 && static_cast<unsigned char>(needle[0]) < 128)
        return true;
    return needle.size() == 2 && static_cast<unsigned char>(needle[0]) < 128
        && static_cast<unsigned char>(needle[1]) < 128 && (mask & allButNote) == allButNote;
}

quint8 ShortNeedleTables::addDocumentsContaining(std::string_view needle, quint8 mask, SearchSlotSet::Bits& out) const
{
    const size_t words = m_wordsPerSet;
    if (needle.size() == 1) {
        const size_t byte = static_cast<unsigned char>(needle[0]);
        for (size_t field = 0; field < size_t(fieldCount); ++field) {
            if (!(mask & (1u << field)))
                continue;
            const quint64* present = m_bytePresence.data() + (byte * fieldCount + field) * words;
            for (size_t word = 0; word < words; ++word)
                out[word] |= present[word];
        }
        return 0;
    }
    const qint32 set
        = m_pairSet[size_t(static_cast<unsigned char>(needle[0])) * 128 + static_cast<unsigned char>(needle[1])];
    if (set >= 0) {
        const quint64* present = m_pairSets.data() + size_t(set) * words;
        for (size_t word = 0; word < words; ++word)
            out[word] |= present[word];
    }
    return quint8(mask & ~allButNote);
}

qint64 ShortNeedleTables::memoryBytes() const
{
    return qint64((m_bytePresence.capacity() + m_pairSets.capacity()) * sizeof(quint64))
        + qint64(m_pairSet.capacity() * sizeof(qint32));
}
