#pragma once

#include <QCalendar>
#include <QDateTime>
#include <QString>
#include <QStringView>

/// The characters kept besides letters and digits when a text is cleaned for one
/// line of a listing: punctuation, currency signs, legal marks, brackets and space.
/// Tabs and line breaks are not among them, so a cleaned text is always one line.
inline constexpr QStringView csvShorteningCharacters
    = u"_,.;·'=+-§•@#$€¥£₽₨₤₭₱₺¢฿₠₣₰₧₯₶₳®©℗™℠()[]&/|<>?!%… ";

/// A null string becomes the empty string; any other string is returned unchanged.
QString nonNilString(const QString& text);

/// @p text (null taken as empty) without every character that is neither a letter,
/// mark or number of any script nor one of csvShorteningCharacters.
QString csvString(const QString& text);

/// Cleans @p text as csvString() does and, when @p shorten is set and the result has
/// more than @p index + 1 characters, cuts it and appends the localized
/// "PRINTOUT_LOCALIZED_ELLIPSES". Texts with 11 or more capitals are cut to
/// @p index - 25 characters (10 when @p index is below 26), others to @p index.
/// Characters are counted as Unicode code points.
QString csvStringIsShortened(const QString& text, bool shorten, int index);

/// @p text without every character that is neither a letter, mark or number nor one
/// of ".", "-", "_" and space; nothing is put in place of a removed character.
QString allowedPathString(const QString& text);

/// A file extension for display: 6 or more characters become the first 3 followed
/// by the localized "PRINTOUT_LOCALIZED_ELLIPSES"; the result is upper-cased.
QString extensionUPPERCASEString(const QString& extension);

/// @p text with its percent escapes replaced, the escaped bytes read as UTF-8. A null
/// string when an escape is malformed or the bytes are not valid UTF-8.
QString URLDecodedString(const QString& text);

/// A flag shown as text: the localized "BOOL_STRING_TRUE" for true, "BOOL_STRING_FALSE" for false.
QString boolStringValue(bool value);
/// The reverse of boolStringValue(), for settings worded as their opposite.
QString boolStringValueInverted(bool value);

/// The same calendar day as @p date in local time, at 00:00:00.
QDateTime dayStart(const QDateTime& date);
/// The same calendar day as @p date in local time, at 23:59:59 (one second short of
/// the next midnight, so that a period including its end covers the whole day).
QDateTime dayEnd(const QDateTime& date);

/// The shared calendar the day helpers work in (the system's Gregorian calendar; the
/// time zone is always the current local one, so it follows system changes).
const QCalendar& currentCalendar();
