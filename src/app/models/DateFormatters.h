#pragma once

#include "model/Value.h"

#include <QString>

/// The date texts of the main view and the screens built on it: medium or
/// short date style, no time, in the user's locale, made afresh on each call
/// so that a changed locale shows at once.
class DateFormatters
{
public:
    /// "12. März 2024" / "Mar 12, 2024"; "" for a value that is no date.
    static QString mediumDate(const Value& date);
    /// "12.03.24" / "3/12/24"; "" for a value that is no date.
    static QString shortDate(const Value& date);
    /// The format mediumDate() uses: the locale's long date without the weekday,
    /// month names abbreviated.
    static QString mediumDateFormat();
};
