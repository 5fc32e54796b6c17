#include "app/views/MainSplitView.h"

#include <QResizeEvent>
#include <cmath>

MainSplitView::MainSplitView(QWidget* parent)
    : QSplitter(Qt::Horizontal, parent)
{
    setChildrenCollapsible(false);
    setHandleWidth(1);
    connect(this, &QSplitter::splitterMoved, this, [this] { Q_EMIT layoutChanged(); });
}

int MainSplitView::minimumPosition(int divider, int proposedMinimum)
{
    return proposedMinimum + (divider == 0 ? 229 : 371);
}

int MainSplitView::maximumPosition(int divider, double windowWidth)
{
    const int width = int(std::trunc(windowWidth));
    return divider == 0 ? int(std::floor(width / 3.33)) : width - 371;
}

void MainSplitView::updateLimits()
{
    const double windowWidth = window() ? window()->width() : width();
    for (int i = 0; i + 1 < count(); ++i) {
        QWidget* pane = widget(i);
        // A pane's own width is its divider's position less the panes before it.
        int before = 0;
        for (int j = 0; j < i; ++j)
            before += widget(j)->width() + handleWidth();
        const int minimum = minimumPosition(i, before) - before;
        const int maximum = qMax(minimum, maximumPosition(i, windowWidth) - before);
        pane->setMinimumWidth(minimum);
        pane->setMaximumWidth(maximum);
    }
}

void MainSplitView::resizeEvent(QResizeEvent* event)
{
    Q_EMIT layoutChanged();
    updateLimits();
    QSplitter::resizeEvent(event);
    Q_EMIT layoutChanged();
}
