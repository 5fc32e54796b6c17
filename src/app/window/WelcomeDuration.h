#pragma once

#include <QtGlobal>
#include <functional>
#include <optional>

/// How long an archive window shows its welcome screen.
///
/// D = base + 1 / ((r2 mod 9) + 0.23) seconds in single precision, where the
/// base is 1 before the archive's set-up is done and (r1 mod 2) + 1 after it,
/// r1 and r2 being two random numbers drawn in that order: about 1.12 to
/// 6.35 seconds, longer on average once set-up is done.
namespace WelcomeDuration {

using RandomSource = std::function<quint32()>;

float duration(bool isSetupDone, const RandomSource& random);

/// The random numbers windows draw from: the system's generator unless a test
/// replaced it (an empty function restores it).
RandomSource randomSource();
void setRandomSource(RandomSource source);

/// A fixed duration in seconds for tests and benchmarks, also taken from the
/// environment variable QUILLARC_WELCOME_SECONDS; nothing means the formula.
std::optional<double> durationOverride();
void setDurationOverride(std::optional<double> seconds);

} // namespace WelcomeDuration
