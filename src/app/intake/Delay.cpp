#include "app/intake/Delay.h"

#include <QtGlobal>
#include <cmath>

namespace {
double& currentFactor()
{
    static double value = [] {
        bool ok = false;
        const double fromEnvironment = qEnvironmentVariable("QUILLARC_DELAY_FACTOR").toDouble(&ok);
        return ok && fromEnvironment >= 0 ? fromEnvironment : 1.0;
    }();
    return value;
}
} // namespace

namespace Delay {

double factor()
{
    return currentFactor();
}

void setFactor(double factor)
{
    currentFactor() = qMax(0.0, factor);
}

int scaled(int milliseconds)
{
    return int(std::lround(milliseconds * currentFactor()));
}

} // namespace Delay
