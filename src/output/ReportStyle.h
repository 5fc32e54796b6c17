#pragma once

#include "model/Clock.h"

#include <QColor>
#include <QLocale>
#include <QString>

class Value;

/// What the archive's own reports share: the grey tones of their texts and
/// the medium date style (abbreviated month name, no weekday) of the user's
/// locale, which QLocale does not offer by itself.
class ReportStyle
{
public:
    /// One third white: descriptions.
    static QColor darkGray();
    /// Half white: totals, the period and state lines, report footers.
    static QColor gray();
    /// Two thirds white: the export summary's footer.
    static QColor lightGray();

    /// The date format of the medium style of a locale, derived from its long
    /// style: "MMM d, yyyy" in English, "d. MMM yyyy" in German.
    static QString mediumDateFormat(const QLocale& locale = QLocale());
    /// A moment in the medium style of the current locale (date only).
    static QString mediumDate(ReferenceTime time);
    static QString mediumDate(const QDate& date);
    /// The medium-style date of a date value; "" for anything else.
    static QString mediumDate(const Value& date);
    /// Today in the short date style of the current locale.
    static QString shortDate(const QDate& date);
};
