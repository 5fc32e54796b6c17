#include "app/core/Delays.h"

#include <QString>
#include <cmath>

namespace {
double& factor()
{
    static double value = [] {
        bool ok = false;
        const double scale = qEnvironmentVariable("QUILLARC_DELAY_SCALE").toDouble(&ok);
        return ok && scale >= 0 ? scale : 1.0;
    }();
    return value;
}
} // namespace

int Delays::ms(double seconds)
{
    return qMax(0, int(std::lround(seconds * 1000.0 * factor())));
}

double Delays::scale()
{
    return factor();
}

void Delays::setScaleForTesting(double scale)
{
    factor() = scale;
}
