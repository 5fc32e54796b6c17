#pragma once

#include "report/PrinterAttributedString.h"

#include <QColor>
#include <QList>
#include <memory>

class PrinterView;

/// One block of a report: styled text, or a 1-point horizontal rule. Margins
/// are in points; the block spans the page width less its left and right
/// margins. Items are shared between the caller and the report because layout
/// consumes their page-break flag.
class PrinterItem
{
public:
    PrinterItem() = default;
    explicit PrinterItem(const PrinterAttributedString& text);
    virtual ~PrinterItem();

    const PrinterAttributedString& attributedString() const { return m_attributedString; }
    void setAttributedString(const PrinterAttributedString& text) { m_attributedString = text; }

    double leftMargin() const { return m_leftMargin; }
    void setLeftMargin(double margin) { m_leftMargin = margin; }
    double rightMargin() const { return m_rightMargin; }
    void setRightMargin(double margin) { m_rightMargin = margin; }
    /// Space above the block, added to the running position on the page.
    double topMargin() const { return m_topMargin; }
    void setTopMargin(double margin) { m_topMargin = margin; }
    /// Extra space below the text, counted in the block's height.
    double bottomMargin() const { return m_bottomMargin; }
    void setBottomMargin(double margin) { m_bottomMargin = margin; }
    double horizontalInset() const { return m_horizontalInset; }
    void setHorizontalInset(double inset) { m_horizontalInset = inset; }
    double verticalInset() const { return m_verticalInset; }
    void setVerticalInset(double inset) { m_verticalInset = inset; }
    /// The block starts a new page; layout clears the flag when it honours it.
    bool pageBreakBefore() const { return m_pageBreakBefore; }
    void setPageBreakBefore(bool pageBreak) { m_pageBreakBefore = pageBreak; }
    bool isHorizontalLineItem() const { return m_horizontalLineItem; }
    void setHorizontalLineItem(bool line) { m_horizontalLineItem = line; }
    /// Background of the block, and the colour of a rule.
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& color) { m_backgroundColor = color; }

    /// Builds the block's view for a page of the given width, at y = 0. A text
    /// block is as tall as its laid-out text plus bottomMargin(); a rule is 1 point.
    virtual std::unique_ptr<PrinterView> viewForWidth(double width) const;

    /// The rest of a text block that did not fit on an empty page, starting at
    /// `offset` points into its laid-out text, with no space above it.
    std::shared_ptr<PrinterItem> continuationFrom(double offset) const;
    /// Where this block's text starts (non-zero only for continuations).
    double continuationOffset() const { return m_continuationOffset; }

protected:
    virtual std::shared_ptr<PrinterItem> clone() const;

private:
    PrinterAttributedString m_attributedString;
    double m_leftMargin = 0;
    double m_rightMargin = 0;
    double m_topMargin = 0;
    double m_bottomMargin = 0;
    double m_horizontalInset = 0;
    double m_verticalInset = 0;
    bool m_pageBreakBefore = false;
    bool m_horizontalLineItem = false;
    QColor m_backgroundColor;
    double m_continuationOffset = 0;
};

using PrinterItemList = QList<std::shared_ptr<PrinterItem>>;
