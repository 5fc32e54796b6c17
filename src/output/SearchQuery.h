#pragma once

#include "model/ModelPointers.h"
#include "output/SearchSlotSet.h"
#include "output/TokenVocabulary.h"

#include <QStringList>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class SearchPredicate;
class SearchSegment;

/// A search predicate prepared for the index, and its evaluation over one
/// segment. Needles are folded once and kind patterns matched once per
/// distinct kind; comparisons the index has no columns for are evaluated on
/// the documents themselves.
///
/// Within an AND, once few documents are left, the remaining needles are
/// checked in those documents' text directly instead of through the token
/// index.
class SearchQuery
{
public:
    /// What the query reads of every slot besides the segments' text; each
    /// points at slot 0.
    struct Columns
    {
        const DocumentPtr* documents = nullptr;
        const double* fileDates = nullptr; ///< NaN for nil
        const qint32* kindIds = nullptr; ///< index into the kinds, -1 for nil
    };

    /// Prepares @p predicate, which must outlive the query; @p kinds are the
    /// file kinds the kind ids of the columns stand for.
    SearchQuery(const SearchPredicate& predicate, const QStringList& kinds);

    /// The documents of @p segment (bit n for its document n) that satisfy the predicate.
    SearchSlotSet::Bits evaluate(const SearchSegment& segment, const Columns& columns) const;

private:
    struct Node
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
        std::vector<Node> operands;
        std::string needle;
        quint8 mask = 0;
        std::vector<quint8> kindMatches; ///< per kind id, plus one for nil at the end
        double date = 0;
        const SearchPredicate* predicate = nullptr;
    };
    /// Within an AND, later operands only matter for the documents still in.
    struct Within
    {
        const SearchSlotSet::Bits* bits = nullptr;
        bool few = false; ///< few enough to check a needle in their text directly
    };
    /// What one search has found out about one segment: the tokens holding
    /// a needle, and the documents a needle and field mask give. Word groups
    /// share needles (the phrase tested against the note, the words inside it).
    struct SegmentCache
    {
        TokenVocabulary::MatchCache tokens;
        std::unordered_map<std::string, SearchSlotSet::Bits> results;
    };

    static Node compile(const SearchPredicate& predicate, const QStringList& kinds);
    SearchSlotSet::Bits evaluate(const Node& node, const SearchSegment& segment, const Columns& columns,
        SegmentCache& cache, Within within) const;
    static const SearchSlotSet::Bits& containing(const SearchSegment& segment, const Node& node, SegmentCache& cache);

    Node m_root;
};
