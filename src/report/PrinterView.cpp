#include "report/PrinterView.h"

#include <QPainter>

PrinterView::PrinterView(const QRectF& frame)
    : m_frame(frame)
{
}

PrinterView::~PrinterView() = default;

PrinterView* PrinterView::addSubview(std::unique_ptr<PrinterView> view)
{
    if (!view)
        return nullptr;
    m_subviews.push_back(std::move(view));
    return m_subviews.back().get();
}

std::unique_ptr<PrinterView> PrinterView::copy() const
{
    std::unique_ptr<PrinterView> result = copyWithoutSubviews();
    for (const std::unique_ptr<PrinterView>& subview : m_subviews)
        result->addSubview(subview->copy());
    return result;
}

std::unique_ptr<PrinterView> PrinterView::copyWithoutSubviews() const
{
    return std::make_unique<PrinterView>(m_frame);
}

void PrinterView::render(QPainter* painter) const
{
    painter->save();
    painter->translate(m_frame.topLeft());
    draw(painter);
    for (const std::unique_ptr<PrinterView>& subview : m_subviews)
        subview->render(painter);
    painter->restore();
}

void PrinterView::releaseCaches()
{
    releaseOwnCaches();
    for (const std::unique_ptr<PrinterView>& subview : m_subviews)
        subview->releaseCaches();
}

void PrinterView::draw(QPainter*) const { }
