#pragma once

#include <QSplitter>

/// The main view's split view: the groups list and the documents pane.
/// The groups pane keeps its width when the window grows, and its divider
/// stays between 229 points and a third of the window (width / 3.33); any
/// further divider keeps 371 points on either side.
class MainSplitView : public QSplitter
{
    Q_OBJECT

public:
    explicit MainSplitView(QWidget* parent = nullptr);

    /// Smallest position of divider @p divider, given the platform's proposal.
    static int minimumPosition(int divider, int proposedMinimum);
    /// Largest position of divider @p divider in a window @p windowWidth wide.
    static int maximumPosition(int divider, double windowWidth);

    /// Applies the limits for the current window width.
    void updateLimits();

Q_SIGNALS:
    /// Before and after every resize and divider move: the toolbar follows.
    void layoutChanged();

protected:
    void resizeEvent(QResizeEvent* event) override;
};
