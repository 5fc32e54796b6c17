#pragma once

#include "output/SearchSlotSet.h"

#include <string>
#include <string_view>
#include <vector>

/// The documents of one segment holding each ASCII byte, per field, and each
/// pair of ASCII bytes in the fields other than the note. One- and two-byte
/// needles (the first keystrokes) occur in nearly every token, so the token
/// index would visit most postings for them; these tables answer them at the
/// cost of a few bit sets. The note is short and scanned instead.
class ShortNeedleTables
{
public:
    /// Replaces the contents with the sets of @p count documents laid out as
    /// in TokenVocabulary::build().
    void build(const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count);

    /// Whether the tables answer @p needle in the fields of @p mask: one ASCII
    /// byte in any fields, two when every field but the note is asked for.
    static bool answers(std::string_view needle, quint8 mask);
    /// Adds the documents holding @p needle, which answers() accepted, in a
    /// field of @p mask; returns the fields the caller has to scan itself.
    quint8 addDocumentsContaining(std::string_view needle, quint8 mask, SearchSlotSet::Bits& out) const;

    qint64 memoryBytes() const;

private:
    void buildBytePresence(const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count);
    void buildPairPresence(const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count);

    size_t m_wordsPerSet = 0;
    /// Per ASCII byte and field, the documents whose field holds the byte.
    /// Layout [byte][field][word].
    std::vector<quint64> m_bytePresence;
    /// m_pairSet[pair] indexes sets of m_wordsPerSet words in m_pairSets; -1
    /// for a pair no document holds.
    std::vector<qint32> m_pairSet;
    std::vector<quint64> m_pairSets;
};
