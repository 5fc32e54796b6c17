#pragma once

#include "output/SearchSlotSet.h"
#include "output/ShortNeedleTables.h"
#include "output/TokenVocabulary.h"

#include <QString>
#include <array>
#include <string>
#include <string_view>
#include <vector>

class QuillarcDocument;

/// The documents of consecutive slots with the folded text (TextFolding,
/// UTF-8) of their eight searchable fields, each field ended by a NUL. Once
/// indexed, a segment also has a token vocabulary and the short-needle
/// tables; until then (the tail that takes in new documents) it is searched
/// by scanning its text. Documents are numbered from 0 within the segment.
class SearchSegment
{
public:
    /// The eight searchable texts of a document, in the search text form's order.
    using Texts = std::array<QString, 8>;

    explicit SearchSegment(quint32 firstSlot);

    /// The searchable texts of @p document (nil fields give null texts).
    static Texts textsOf(const QuillarcDocument& document);

    quint32 firstSlot() const { return m_firstSlot; }
    quint32 count() const { return m_count; }
    bool isIndexed() const { return m_indexed; }
    /// UTF-8 size of the fields as stored, before folding.
    qint64 textBytes() const { return m_textBytes; }
    qint64 foldedBytes() const { return qint64(m_folded.size()); }
    const TokenVocabulary& vocabulary() const { return m_vocabulary; }
    qint64 memoryBytes() const;

    /// Room for @p documents whose folded fields take about @p foldedBytes.
    void reserve(size_t foldedBytes, quint32 documents);
    /// Takes in one more document; only while the segment is not indexed.
    void append(const QuillarcDocument& document) { append(textsOf(document)); }
    /// The same from the document's texts, taken before.
    void append(const Texts& texts);
    /// Builds the token vocabulary and the short-needle tables.
    void buildIndex();

    /// Adds the documents holding @p needle (folded) in a field of @p mask.
    /// A needle with white space is narrowed through the tokens holding each
    /// of its pieces and then checked in the text; one of white space alone
    /// scans the text.
    void contains(
        std::string_view needle, quint8 mask, SearchSlotSet::Bits& out, TokenVocabulary::MatchCache& tokens) const;
    /// The same by reading the text: of every document, or of @p candidates only.
    void scan(
        std::string_view needle, quint8 mask, SearchSlotSet::Bits& out, const SearchSlotSet::Bits* candidates) const;

private:
    void scanField(std::string_view needle, int field, SearchSlotSet::Bits& out) const;

    quint32 m_firstSlot = 0;
    quint32 m_count = 0;
    bool m_indexed = false;
    qint64 m_textBytes = 0;
    std::string m_folded; ///< fields, each ended by NUL
    std::vector<quint64> m_fieldStart { 0 }; ///< count * 8 + 1 offsets into m_folded
    TokenVocabulary m_vocabulary;
    ShortNeedleTables m_shortNeedles;
};
