#include "output/SearchSlotSet.h"

#include <bit>

SearchSlotSet::SearchSlotSet(quint32 size)
    : m_words(emptyBits(size))
    , m_size(size)
{
}

SearchSlotSet::Bits SearchSlotSet::fullBits(quint32 count)
{
    Bits bits((count + 63) / 64, ~quint64(0));
    if (count % 64)
        bits.back() = (quint64(1) << (count % 64)) - 1;
    return bits;
}

void SearchSlotSet::resize(quint32 size)
{
    if (size < m_size) {
        m_words.resize((size + 63) / 64);
        if (size % 64)
            m_words.back() &= (quint64(1) << (size % 64)) - 1;
    } else {
        m_words.resize((size + 63) / 64, 0);
    }
    m_size = size;
}

SearchSlotSet& SearchSlotSet::operator&=(const SearchSlotSet& other)
{
    for (size_t i = 0; i < m_words.size(); ++i)
        m_words[i] &= i < other.m_words.size() ? other.m_words[i] : 0;
    return *this;
}

quint32 SearchSlotSet::count() const
{
    quint32 total = 0;
    for (const quint64 word : m_words)
        total += quint32(std::popcount(word));
    return total;
}
