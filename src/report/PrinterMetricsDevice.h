#pragma once

#include <QPaintDevice>

/// A paint device that only answers metrics: 72 dots per inch, so that text
/// laid out against it measures in points, exactly as it is later drawn into
/// a PDF written at 72 dpi. Nothing can be painted on it.
class PrinterMetricsDevice : public QPaintDevice
{
public:
    static constexpr int dotsPerInch = 72;

    /// One shared instance; it holds no state, so any thread may use it.
    static PrinterMetricsDevice* instance();

    QPaintEngine* paintEngine() const override { return nullptr; }

protected:
    int metric(PaintDeviceMetric metric) const override;
};
