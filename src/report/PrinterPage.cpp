#include "report/PrinterPage.h"

#include "report/PrinterDocument.h"
#include "report/PrinterTextView.h"
#include "report/PrinterView.h"
#include "text/Logging.h"

#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <cmath>

PrinterPage::PrinterPage(const QSizeF& pageSize)
    : m_view(std::make_unique<PrinterView>(QRectF(QPointF(0, 0), pageSize)))
{
}

PrinterPage::~PrinterPage() = default;

PrinterItemList PrinterPage::fillWithItems(const PrinterItemList& items, const PrinterDocument& document)
{
    PrinterItemList working = items;
    const qsizetype next = fillWithItems(working, 0, document);
    return working.mid(next);
}

qsizetype PrinterPage::fillWithItems(PrinterItemList& items, qsizetype first, const PrinterDocument& document)
{
    const QSizeF pageSize = m_view->frame().size();
    if (document.headerView())
        m_headerView = m_view->addSubview(document.headerView()->copy());
    if (document.footerView()) {
        std::unique_ptr<PrinterView> footer = document.footerView()->copy();
        QRectF frame = footer->frame();
        frame.moveTop(pageSize.height() - frame.height());
        footer->setFrame(frame);
        m_footerView = m_view->addSubview(std::move(footer));
    }

    const double limit = pageSize.height() - m_bottomMargin;
    double y = m_topMargin;
    bool placedAny = false;
    for (qsizetype i = first; i < items.size(); ++i) {
        PrinterItem* item = items[i].get();
        if (item->pageBreakBefore()) {
            item->setPageBreakBefore(false);
            return i;
        }
        std::unique_ptr<PrinterView> view = item->viewForWidth(pageSize.width());
        QRectF frame = view->frame();
        frame.moveTop(std::floor(y + item->topMargin()));
        view->setFrame(frame);
        if (frame.bottom() > limit) {
            if (placedAny)
                return i;
            // Every page starts alike, so a block that misses an empty page misses them all.
            return placeOversizedItem(items, i, std::move(view), limit - frame.top()) ? i : i + 1;
        }
        m_view->addSubview(std::move(view));
        y += frame.height() + item->topMargin();
        placedAny = true;
    }
    return items.size();
}

bool PrinterPage::placeOversizedItem(
    PrinterItemList& items, qsizetype index, std::unique_ptr<PrinterView> view, double available)
{
    const PrinterItem& item = *items[index];
    QRectF frame = view->frame();
    if (available <= 0) {
        qCWarning(lcQuillarc).noquote() << QStringLiteral(
            "Report item left out: the page has no room below its top margin (%1 points tall)")
                                               .arg(frame.height());
        return false;
    }
    auto* textView = dynamic_cast<PrinterTextView*>(view.get());
    const double offset = item.continuationOffset();
    if (textView && !item.isHorizontalLineItem() && textView->usedHeight() - offset > available) {
        // Break the text after the last line that fits; a single line taller
        // than the page is cut at the page's limit.
        double cut = textView->lineBoundaryAtOrAbove(offset + available);
        if (cut <= offset)
            cut = offset + available;
        if (offset == 0) {
            qCWarning(lcQuillarc).noquote()
                << QStringLiteral("Report item of %1 points is taller than the %2 points of a page; continued on "
                                  "the following pages")
                       .arg(frame.height())
                       .arg(available);
        }
        frame.setHeight(cut - offset);
        view->setFrame(frame);
        m_view->addSubview(std::move(view));
        items[index] = item.continuationFrom(cut);
        return true;
    }
    // Images shrink (the view scales them down), rules and margins are clipped.
    qCWarning(lcQuillarc).noquote() << QStringLiteral(
        "Report item of %1 points is taller than the %2 points of a page; shrunk to fit")
                                           .arg(frame.height())
                                           .arg(available);
    frame.setHeight(available);
    view->setFrame(frame);
    m_view->addSubview(std::move(view));
    return false;
}

void PrinterPage::substituteVariables(const QVariantHash& variables)
{
    for (const std::unique_ptr<PrinterView>& subview : m_view->subviews())
        subview->substituteVariables(variables);
}

void PrinterPage::draw(QPainter* painter) const
{
    m_view->render(painter);
}

QByteArray PrinterPage::pdfPage() const
{
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    PrinterDocument::setUpWriter(writer, m_view->frame().size());
    QPainter painter(&writer);
    draw(&painter);
    painter.end();
    return data;
}
