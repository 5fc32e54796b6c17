#pragma once

#include "report/PrinterView.h"

#include <QImage>

/// An image on a report page, drawn from the view's top-left corner at its own
/// size, or scaled down proportionally when the view is smaller than the image.
class PrinterImageView : public PrinterView
{
public:
    explicit PrinterImageView(const QRectF& frame = QRectF(), const QImage& image = QImage());

    QImage image() const { return m_image; }
    void setImage(const QImage& image) { m_image = image; }

    /// The image's size in points: one pixel per point at a device pixel ratio of 1.
    static QSizeF pointSize(const QImage& image);

protected:
    std::unique_ptr<PrinterView> copyWithoutSubviews() const override;
    void draw(QPainter* painter) const override;

private:
    QImage m_image;
};
