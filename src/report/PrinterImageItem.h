#pragma once

#include "report/PrinterItem.h"

#include <QImage>

/// An image block of a report, as tall as the image itself; its bottom margin
/// and insets are not used.
class PrinterImageItem : public PrinterItem
{
public:
    PrinterImageItem() = default;
    explicit PrinterImageItem(const QImage& image);

    QImage image() const { return m_image; }
    void setImage(const QImage& image) { m_image = image; }

    std::unique_ptr<PrinterView> viewForWidth(double width) const override;

protected:
    std::shared_ptr<PrinterItem> clone() const override;

private:
    QImage m_image;
};
