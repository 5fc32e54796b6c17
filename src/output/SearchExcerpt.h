#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class QuillarcDatabaseObject;

/// Where the words of a search occur in one document that the search found:
/// the field holding them and a short one-line excerpt of that field with
/// every occurrence marked, shown beside a hit so the user sees why it was
/// listed.
///
/// Words are the ones the search filter itself tests: the search text
/// normalised as DocumentSearch does and split at its spaces; the note is
/// searched for the whole phrase when there are several words. Occurrences
/// are found ignoring case and diacritics (TextFolding), so "muller" marks
/// "Müller" and "strasse" marks "Straße" whole.
class SearchExcerpt
{
public:
    /// A marked range of an excerpt, in UTF-16 units.
    struct Mark
    {
        qsizetype start = 0;
        qsizetype length = 0;
        bool operator==(const Mark& other) const = default;
    };

    /// The field chosen for a document, with its excerpt.
    struct Match
    {
        QString fieldKey; ///< "title", "contentString", ...; "" when no word occurs
        QString excerpt; ///< one line, cut with the localized ellipsis where the field goes on
        QList<Mark> marks; ///< in excerpt order, never overlapping
        bool isNull() const { return fieldKey.isEmpty(); }
    };

    /// Default length of an excerpt in characters (without its ellipses).
    static constexpr int defaultLength = 90;

    /// The needles the filter tests for the field @p key with the search text
    /// @p searchText: the normalised text for one word; with several words
    /// the words, but for the note the whole phrase. Empty for an empty text.
    static QStringList needlesForField(const QString& key, const QString& searchText);

    /// The field of @p document that holds the most of the search's words
    /// (the earlier field in the filter's order on a tie), with an excerpt
    /// around the first occurrence. A null match when no word occurs in any
    /// field (a hit found by the period or the kind alone).
    static Match match(const QuillarcDatabaseObject& document, const QString& searchText, int length = defaultLength);

    /// Every occurrence of any of @p needles in @p text, as merged ranges of
    /// @p text in text order. Needles that fold to nothing find nothing.
    static QList<Mark> occurrences(const QString& text, const QStringList& needles);

    /// A line of about @p length characters of @p text around the first of
    /// @p marks (ranges of @p text): white space runs become one space, the
    /// cut snaps to word boundaries nearby and is shown by ellipses; the
    /// marks are moved onto the excerpt.
    static Match excerpt(const QString& fieldKey, const QString& text, const QList<Mark>& marks, int length);
};
