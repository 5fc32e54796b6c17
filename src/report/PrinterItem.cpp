#include "report/PrinterItem.h"

#include "report/PrinterTextView.h"

PrinterItem::PrinterItem(const PrinterAttributedString& text)
    : m_attributedString(text)
{
}

PrinterItem::~PrinterItem() = default;

std::unique_ptr<PrinterView> PrinterItem::viewForWidth(double width) const
{
    const QRectF frame(m_leftMargin, 0, width - (m_leftMargin + m_rightMargin), 1);
    auto view = std::make_unique<PrinterTextView>(frame);
    view->setTextContainerInset(QSizeF(m_horizontalInset, m_verticalInset));
    view->setBackgroundColor(m_backgroundColor);
    if (m_horizontalLineItem)
        return view;
    view->setAttributedString(m_attributedString);
    view->setContentOffset(m_continuationOffset);
    // The vertical inset shifts the text but is not part of the height.
    const double height = qMax(0.0, view->usedHeight() - m_continuationOffset) + m_bottomMargin;
    view->setFrame(QRectF(frame.x(), 0, frame.width(), height));
    return view;
}

std::shared_ptr<PrinterItem> PrinterItem::clone() const
{
    return std::make_shared<PrinterItem>(*this);
}

std::shared_ptr<PrinterItem> PrinterItem::continuationFrom(double offset) const
{
    std::shared_ptr<PrinterItem> rest = clone();
    rest->m_continuationOffset = offset;
    rest->m_topMargin = 0;
    rest->m_pageBreakBefore = false;
    return rest;
}
