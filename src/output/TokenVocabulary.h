#pragma once

#include "output/SearchSlotSet.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The token index of one segment: every distinct token of its folded fields
/// (a maximal run of bytes that are not white space, so "12.03.2024" and
/// "Rechnung," are tokens) in one buffer, and for each token the documents
/// holding it with a bit mask of the fields it occurs in.
///
/// A needle without white space lies inside one token, so its documents are
/// the postings of the tokens containing it, and the few MB of the vocabulary
/// are scanned instead of the text. The tokens are ordered by the byte groups
/// they hold (digits, five ranges of letters, non-ASCII, punctuation) and only
/// tokens holding every group of a needle are scanned, so "rechnung" never
/// looks at numbers and "2024" never at words.
class TokenVocabulary
{
public:
    /// The tokens found to contain each needle during one search.
    using MatchCache = std::unordered_map<std::string, std::vector<quint32>>;

    /// True for the bytes that end a token: the ASCII spaces and line breaks
    /// and the NUL that ends each field.
    static bool isSeparator(char byte);

    /// Replaces the contents with the tokens of @p count documents whose
    /// fields lie in @p folded, field f of document d from fieldStart[d * 8 + f]
    /// to the NUL before fieldStart[d * 8 + f + 1].
    void build(const std::string& folded, const std::vector<quint64>& fieldStart, quint32 count);

    /// Adds the documents holding a token that contains @p needle in one of
    /// the fields of @p mask.
    void addDocumentsContaining(
        std::string_view needle, quint8 mask, SearchSlotSet::Bits& out, MatchCache& cache) const;

    qint64 tokenCount() const { return m_tokenStart.empty() ? 0 : qint64(m_tokenStart.size()) - 1; }
    qint64 byteSize() const { return qint64(m_tokens.size()); }
    qint64 postingCount() const { return qint64(m_postingDoc.size()); }
    qint64 memoryBytes() const;

private:
    const std::vector<quint32>& matchingTokens(std::string_view needle, MatchCache& cache) const;

    std::string m_tokens; ///< the tokens, each ended by '\n'
    std::vector<quint32> m_tokenStart; ///< tokens + 1 offsets into m_tokens
    std::vector<quint32> m_postingStart; ///< tokens + 1 offsets into the postings
    std::vector<quint32> m_postingDoc; ///< document within the segment
    std::vector<quint8> m_postingMask; ///< fields holding the token
    /// Offset into m_tokens and first token of the tokens of each byte-group
    /// mask (the tokens are ordered by mask), and the ends.
    quint32 m_groupStart[257] = {};
    quint32 m_groupFirstToken[257] = {};
};
