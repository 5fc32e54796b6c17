#pragma once

#include <QDateTime>

/// Seconds since 2001-01-01 00:00:00 UTC, the epoch of every stored date.
/// Dates stay in this form so that a date read from an archive is written
/// back bit for bit; QDateTime is only for display and calendar arithmetic.
using ReferenceTime = double;

/// The one source of "now" for the engine. Tests set a fixed moment instead
/// of touching the machine's clock.
class Clock
{
public:
    static ReferenceTime now();
    static QDateTime currentDateTime();

    /// Fixes "now" at the given moment until resetToSystemTime().
    static void setFixedTime(const QDateTime& moment);
    static void resetToSystemTime();

    static constexpr qint64 referenceEpochMSecs = 978307200000LL; // 2001-01-01T00:00:00Z

    static QDateTime toDateTime(ReferenceTime seconds);
    static ReferenceTime fromDateTime(const QDateTime& moment);
};
