#pragma once

#include <QString>
#include <QStringView>
#include <string>
#include <vector>

/// Folding that makes substring and prefix tests ignore case and diacritics.
///
/// A text is brought to its compatibility decomposition (NFKD), combining marks
/// (non-spacing and enclosing) are dropped, and what is left is case folded.
/// So "Müller", "MULLER" and "muller" all fold to "muller", "Å" to "a", the
/// Turkish dotted capital "İ" to "i", and ligatures such as "ﬁ" (common in text
/// taken from PDF files) to "fi". The sharp s folds fully: "ß" and "ẞ" become
/// "ss", so "Strasse" finds "Straße". Letters that are no decomposition of a
/// base letter and a mark stay letters of their own: "æ" does not match "ae",
/// "ø" does not match "o", and the dotless "ı" does not match "i". Spacing
/// combining marks (vowel signs of Indic scripts) are kept, since they carry
/// meaning there. Hangul syllables are left composed.
///
/// An empty folded needle matches nothing: a text that is only marks finds no
/// document.
class TextFolding
{
public:
    /// The folded form of @p text.
    static QString fold(QStringView text);
    /// Appends the folded form of @p text to @p out as UTF-8 (the form the
    /// search structures keep; it needs about a third of UTF-16 for Latin text).
    static void appendFoldedUtf8(QStringView text, std::string& out);
    static std::string foldedUtf8(QStringView text);
    /// The folded form of @p text, and for each of its UTF-16 units the index
    /// in @p text of the unit that began the character it came from (so a
    /// range found in the folded text maps back onto the original).
    static QString foldMapped(QStringView text, std::vector<qsizetype>& sourceIndexes);

    /// "contains[cd]": @p needle occurs in @p haystack, ignoring case and
    /// diacritics. A null haystack or a needle that folds to nothing never matches.
    static bool containsCD(const QString& haystack, const QString& needle);
    /// "beginsWith[cd]": prefix test ignoring case and diacritics.
    static bool beginsWithCD(const QString& text, const QString& prefix);
    /// "beginsWith[c]": prefix test ignoring case only (full case folding, marks kept).
    static bool beginsWithC(const QString& text, const QString& prefix);
    /// Case folding alone, with the full folding of the sharp s.
    static QString foldCase(QStringView text);
};
