#pragma once

#include "app/popover/PopoverController.h"

class QButtonGroup;

/// "SortOrder_Popover": chooses the order of the documents list (file date,
/// date added, creation and modification date, slip number, title, tags,
/// kind, size) and its direction. The choice is stored in the archive's
/// preferences, which every list of the archive follows.
class SortOrderPopover : public PopoverController
{
    Q_OBJECT

public:
    explicit SortOrderPopover(QWidget* parent = nullptr);

    void popoverViewActions() override;

    QButtonGroup* orderButtons() const { return m_orders; }
    QButtonGroup* directionButtons() const { return m_directions; }

private:
    void showPreferences();
    void store(const char* key, int value);

    QButtonGroup* m_orders;
    QButtonGroup* m_directions;
};
