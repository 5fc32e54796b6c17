#pragma once

#include "report/PrinterItem.h"
#include "report/Subsitute.h"

#include <QByteArray>
#include <QSizeF>
#include <memory>

class PrinterDocument;
class PrinterView;
class QPainter;

/// One page of a report: a blank view of the page's size holding copies of the
/// report's header and footer and the views of the items placed on it.
class PrinterPage : public Subsitute
{
public:
    explicit PrinterPage(const QSizeF& pageSize);
    ~PrinterPage() override;

    PrinterView* view() const { return m_view.get(); }
    PrinterView* headerView() const { return m_headerView; }
    PrinterView* footerView() const { return m_footerView; }

    double topMargin() const { return m_topMargin; }
    void setTopMargin(double margin) { m_topMargin = margin; }
    double bottomMargin() const { return m_bottomMargin; }
    void setBottomMargin(double margin) { m_bottomMargin = margin; }

    /// Adds the header and footer copies, then places items from the front of
    /// the list while they fit; returns the items left for the next pages.
    PrinterItemList fillWithItems(const PrinterItemList& items, const PrinterDocument& document);
    /// The same on a working list, starting at `first`; returns the index of the
    /// first item left over. The list entry of a block split across pages is
    /// replaced by its remaining part.
    qsizetype fillWithItems(PrinterItemList& items, qsizetype first, const PrinterDocument& document);

    /// Passes the variables to every view placed directly on the page.
    void substituteVariables(const QVariantHash& variables) override;

    /// Draws the page with its top-left corner at the painter's origin, in points.
    void draw(QPainter* painter) const;
    /// The page alone as a one-page PDF.
    QByteArray pdfPage() const;

private:
    bool placeOversizedItem(
        PrinterItemList& items, qsizetype index, std::unique_ptr<PrinterView> view, double available);

    std::unique_ptr<PrinterView> m_view;
    PrinterView* m_headerView = nullptr;
    PrinterView* m_footerView = nullptr;
    double m_topMargin = 0;
    double m_bottomMargin = 0;
};
