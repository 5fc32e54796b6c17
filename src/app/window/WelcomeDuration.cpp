#include "app/window/WelcomeDuration.h"

#include <QRandomGenerator>
#include <QString>

namespace {
WelcomeDuration::RandomSource& source()
{
    static WelcomeDuration::RandomSource current;
    return current;
}

std::optional<double>& fixedDuration()
{
    static std::optional<double> value = []() -> std::optional<double> {
        bool ok = false;
        const double seconds = qEnvironmentVariable("QUILLARC_WELCOME_SECONDS").toDouble(&ok);
        if (ok && seconds >= 0)
            return seconds;
        return std::nullopt;
    }();
    return value;
}
} // namespace

float WelcomeDuration::duration(bool isSetupDone, const RandomSource& random)
{
    const quint32 r1 = random();
    const float base = isSetupDone ? float(r1 % 2) + 1.0f : 1.0f;
    const quint32 r2 = random();
    return base + 1.0f / (float(r2 % 9) + 0.23f);
}

WelcomeDuration::RandomSource WelcomeDuration::randomSource()
{
    if (source())
        return source();
    return [] { return QRandomGenerator::global()->generate(); };
}

void WelcomeDuration::setRandomSource(RandomSource random)
{
    source() = std::move(random);
}

std::optional<double> WelcomeDuration::durationOverride()
{
    return fixedDuration();
}

void WelcomeDuration::setDurationOverride(std::optional<double> seconds)
{
    fixedDuration() = seconds;
}
