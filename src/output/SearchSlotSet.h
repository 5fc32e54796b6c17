#pragma once

#include <QtGlobal>
#include <algorithm>
#include <vector>

/// A set of document slots, one bit each: what a search over the index
/// returns. The static helpers work on the bare word vectors the index uses
/// for the documents of one segment while a search runs.
class SearchSlotSet
{
public:
    using Bits = std::vector<quint64>;

    SearchSlotSet() = default;
    /// @p size slots, none in the set.
    explicit SearchSlotSet(quint32 size);
    quint32 size() const { return m_size; }
    bool contains(quint32 slot) const { return slot < m_size && (m_words[slot >> 6] >> (slot & 63)) & 1; }
    void insert(quint32 slot) { m_words[slot >> 6] |= quint64(1) << (slot & 63); }
    void remove(quint32 slot) { m_words[slot >> 6] &= ~(quint64(1) << (slot & 63)); }
    void resize(quint32 size);
    SearchSlotSet& operator&=(const SearchSlotSet& other);
    quint32 count() const;
    Bits& words() { return m_words; }
    const Bits& words() const { return m_words; }

    /// @p count cleared bits.
    static Bits emptyBits(quint32 count) { return Bits((count + 63) / 64, 0); }
    /// @p count set bits; the bits past them in the last word stay clear.
    static Bits fullBits(quint32 count);
    static void setBit(Bits& bits, quint32 index) { bits[index >> 6] |= quint64(1) << (index & 63); }
    static bool allZero(const Bits& bits)
    {
        return std::all_of(bits.begin(), bits.end(), [](quint64 word) { return word == 0; });
    }

private:
    Bits m_words;
    quint32 m_size = 0;
};
