#pragma once

#include <QtGlobal>

/// The fixed delays of the application (0.1 s, 0.35 s, 0.36 s, 0.7 s, 1.08 s,
/// 360 s ...) in milliseconds, scaled by a factor that tests set so they do not
/// wait seconds for a welcome screen or a delayed save.
///
/// The factor is read once from the environment variable QUILLARC_DELAY_SCALE
/// (a decimal number, 1 when unset or invalid); setScaleForTesting() overrides it.
namespace Delays {

/// The delay of @p seconds in milliseconds, scaled; never negative.
int ms(double seconds);
/// The current factor.
double scale();
void setScaleForTesting(double factor);

} // namespace Delays
