#pragma once

#include <QWidget>

class QMenu;
class QToolButton;
class SegmentedControl;

/// The strip the archive window shows in its title area while the main view
/// is up: the action control (New, with its menu, and Scan) at the left; the
/// group of buttons that follows the groups pane's width (the secondary
/// control, Overview and Copy, and the sort button); and at the right the
/// search and information buttons.
class MainViewToolbar : public QWidget
{
    Q_OBJECT

public:
    /// The x origin of the button group as laid out, before it follows the pane.
    static constexpr double toolbarButtonViewOriginX = 180;

    explicit MainViewToolbar(QWidget* parent = nullptr);

    SegmentedControl* actionSegment() const { return m_actionSegment; }
    SegmentedControl* secondaryActionSegment() const { return m_secondarySegment; }
    QWidget* toolbarButtonView() const { return m_buttonView; }
    QToolButton* sortButton() const { return m_sortButton; }
    QToolButton* searchButton() const { return m_searchButton; }
    QToolButton* infoButton() const { return m_infoButton; }
    QWidget* searchContainerView() const { return m_searchContainer; }
    /// The menu of the action control's first segment.
    QMenu* newMenu() const { return m_newMenu; }

    /// Puts the button group at @p x, keeping the rest of its frame.
    void setButtonViewX(int x);

    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void layoutChildren();

    SegmentedControl* m_actionSegment;
    SegmentedControl* m_secondarySegment;
    QWidget* m_buttonView;
    QToolButton* m_sortButton;
    QWidget* m_searchContainer;
    QToolButton* m_searchButton;
    QToolButton* m_infoButton;
    QMenu* m_newMenu;
    int m_buttonViewX = int(toolbarButtonViewOriginX);
};
