#include "report/PrinterMetricsDevice.h"

PrinterMetricsDevice* PrinterMetricsDevice::instance()
{
    static PrinterMetricsDevice device;
    return &device;
}

int PrinterMetricsDevice::metric(PaintDeviceMetric metric) const
{
    // A large page so that nothing is clipped while measuring.
    constexpr int extent = 100000;
    switch (metric) {
    case PdmWidth:
    case PdmHeight:
        return extent;
    case PdmWidthMM:
    case PdmHeightMM:
        return extent * 254 / (dotsPerInch * 10);
    case PdmNumColors:
        return INT_MAX;
    case PdmDepth:
        return 32;
    case PdmDpiX:
    case PdmDpiY:
    case PdmPhysicalDpiX:
    case PdmPhysicalDpiY:
        return dotsPerInch;
    case PdmDevicePixelRatio:
        return 1;
    case PdmDevicePixelRatioScaled:
        return int(devicePixelRatioFScale());
    }
    return 0;
}
