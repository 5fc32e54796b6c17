#include "model/Clock.h"

#include <atomic>
#include <cmath>

namespace {
std::atomic<bool> s_fixed { false };
std::atomic<qint64> s_fixedMSecs { 0 };
}

ReferenceTime Clock::now()
{
    return fromDateTime(currentDateTime());
}

QDateTime Clock::currentDateTime()
{
    if (s_fixed.load())
        return QDateTime::fromMSecsSinceEpoch(s_fixedMSecs.load());
    return QDateTime::currentDateTime();
}

void Clock::setFixedTime(const QDateTime& moment)
{
    s_fixedMSecs.store(moment.toMSecsSinceEpoch());
    s_fixed.store(true);
}

void Clock::resetToSystemTime()
{
    s_fixed.store(false);
}

QDateTime Clock::toDateTime(ReferenceTime seconds)
{
    if (!std::isfinite(seconds))
        return {};
    return QDateTime::fromMSecsSinceEpoch(referenceEpochMSecs + qint64(std::floor(seconds * 1000.0 + 0.5)));
}

ReferenceTime Clock::fromDateTime(const QDateTime& moment)
{
    return double(moment.toMSecsSinceEpoch() - referenceEpochMSecs) / 1000.0;
}
