#include "report/PrinterImageView.h"

#include <QPainter>

PrinterImageView::PrinterImageView(const QRectF& frame, const QImage& image)
    : PrinterView(frame)
    , m_image(image)
{
}

QSizeF PrinterImageView::pointSize(const QImage& image)
{
    if (image.isNull())
        return QSizeF(0, 0);
    const double ratio = image.devicePixelRatio() > 0 ? image.devicePixelRatio() : 1.0;
    return QSizeF(image.width() / ratio, image.height() / ratio);
}

std::unique_ptr<PrinterView> PrinterImageView::copyWithoutSubviews() const
{
    return std::make_unique<PrinterImageView>(frame(), m_image);
}

void PrinterImageView::draw(QPainter* painter) const
{
    const QSizeF size = pointSize(m_image);
    if (size.isEmpty() || frame().isEmpty())
        return;
    const double scale = qMin(1.0, qMin(frame().width() / size.width(), frame().height() / size.height()));
    painter->drawImage(QRectF(QPointF(0, 0), size * scale), m_image);
}
