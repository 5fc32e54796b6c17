#pragma once

#include <QObject>
#include <QPointer>

#include "app/sheet/GroupSheet.h"
class MainView;

/// New groups and group edits in the group sheet, and switching a group's
/// folder monitoring on and off from it.
class GroupFlow : public QObject
{
    Q_OBJECT

public:
    explicit GroupFlow(MainView* view);

    /// `addGroup:`: a new group, selected, in its sheet; Cancel removes it.
    void addGroup();
    /// `editGroup:`: the selected group in the same sheet, without Cancel.
    void editGroup();

    /// `selectFolderPath:`: the sheet's monitoring switch was toggled.
    void selectFolderPath(bool monitored);
    /// `changeFolderPath:`: another folder for a monitored group.
    void changeFolderPath();
    /// `setFolderPath`: asks for the folder; Cancel switches monitoring off.
    void setFolderPath();
    /// `showFolderAlert`: the hint that the folder is scanned at each opening.
    void showFolderAlert();

    bool isBusy() const { return m_sheet != nullptr; }
    GroupSheet* groupSheet() const { return m_sheet; }

Q_SIGNALS:
    void groupSheetOpened(GroupSheet* sheet);
    void groupSheetClosed(bool kept);

private:
    void openSheet(bool isNewGroup);
    void closeSheet(int result);

    MainView* m_view;
    QPointer<GroupSheet> m_sheet;
};
