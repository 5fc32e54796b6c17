#include "report/PrinterImageItem.h"

#include "report/PrinterImageView.h"

PrinterImageItem::PrinterImageItem(const QImage& image)
    : m_image(image)
{
}

std::unique_ptr<PrinterView> PrinterImageItem::viewForWidth(double width) const
{
    const QRectF frame(
        leftMargin(), 0, width - (leftMargin() + rightMargin()), PrinterImageView::pointSize(m_image).height());
    return std::make_unique<PrinterImageView>(frame, m_image);
}

std::shared_ptr<PrinterItem> PrinterImageItem::clone() const
{
    return std::make_shared<PrinterImageItem>(*this);
}
