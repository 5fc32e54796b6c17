#include "app/intake/GroupFlow.h"

#include "app/intake/Delay.h"
#include "app/models/GroupListModel.h"
#include "app/sheet/GroupSheet.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/window/MainView.h"
#include "intake/GroupEditing.h"
#include "intake/MonitoredFolders.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QLineEdit>

GroupFlow::GroupFlow(MainView* view)
    : QObject(view)
    , m_view(view)
{
}

void GroupFlow::addGroup()
{
    if (m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    const GroupPtr group = GroupEditing(*m_view->document()).addGroup();
    if (!group)
        return;
    m_view->selectGroup(group);
    openSheet(true);
}

void GroupFlow::editGroup()
{
    if (!m_view->currentGroup() || m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    m_view->document()->updateChangeCount();
    openSheet(false);
}

void GroupFlow::openSheet(bool isNewGroup)
{
    m_sheet = new GroupSheet(m_view->window(), m_view->currentGroup(), isNewGroup);
    m_sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_sheet, &QDialog::finished, this, &GroupFlow::closeSheet);
    connect(m_sheet, &GroupSheet::monitoringToggled, this, &GroupFlow::selectFolderPath);
    connect(m_sheet, &GroupSheet::changeFolderRequested, this, &GroupFlow::changeFolderPath);
    m_sheet->open();
    const QPointer<GroupSheet> sheet = m_sheet;
    Delay::after(Delay::focusMs, this, [sheet] {
        if (sheet)
            sheet->titleField()->setFocus(Qt::OtherFocusReason);
    });
    Q_EMIT groupSheetOpened(m_sheet);
}

void GroupFlow::closeSheet(int result)
{
    GroupSheet* sheet = m_sheet;
    if (!sheet)
        return;
    m_sheet = nullptr;
    GroupEditing editing(*m_view->document());
    const bool kept = result == QDialog::Accepted;
    if (kept) {
        GroupEditing::GroupValues values;
        const GroupPtr& group = sheet->group();
        // Only what was changed is written, so an untouched sheet is no edit of the group.
        if (sheet->title() != group->groupTitle())
            values.title = sheet->title();
        if (sheet->description() != group->groupDescription())
            values.description = sheet->description();
        if (sheet->colorTag() != (group->groupColorTag().isNumber() ? group->groupColorTag().toInteger() : 7))
            values.colorTag = sheet->colorTag();
        if (sheet->isLocked() != group->isLocked())
            values.locked = sheet->isLocked();
        editing.editGroup(group, values);
    } else {
        editing.cancelAddGroup(sheet->group());
        m_view->groupsModel()->syncNow();
    }
    Q_EMIT groupSheetClosed(kept);
}

void GroupFlow::selectFolderPath(bool monitored)
{
    const GroupPtr group = m_sheet ? m_sheet->group() : m_view->currentGroup();
    if (!group)
        return;
    group->setValue(QStringLiteral("hasMonitoredFolder"), Value::boolean(monitored));
    if (monitored) {
        setFolderPath();
        return;
    }
    MonitoredFolders(*m_view->document()).selectFolderPath(group, QString());
    if (m_sheet)
        m_sheet->showMonitoring();
}

void GroupFlow::changeFolderPath()
{
    const GroupPtr group = m_sheet ? m_sheet->group() : m_view->currentGroup();
    if (group && group->hasMonitoredFolder())
        setFolderPath();
}

void GroupFlow::setFolderPath()
{
    const GroupPtr group = m_sheet ? m_sheet->group() : m_view->currentGroup();
    if (!group)
        return;
    FileDialog::Options options;
    options.title = localizedString(QStringLiteral("Select Folder"));
    QWidget* parent = m_sheet ? static_cast<QWidget*>(m_sheet) : m_view->window();
    FileDialog::chooseDirectory(parent, options, [this, group](const QString& folder) {
        const bool stored = MonitoredFolders(*m_view->document()).setFolderPath(group, folder);
        if (m_sheet)
            m_sheet->showMonitoring();
        Q_UNUSED(stored);
        if (!folder.isEmpty())
            Delay::after(Delay::stepMs, this, [this] { showFolderAlert(); });
    });
}

void GroupFlow::showFolderAlert()
{
    QWidget* parent = m_sheet ? static_cast<QWidget*>(m_sheet) : m_view->window();
    MessageBox::alert(parent, MessageBox::Icon::Information, localizedString(QStringLiteral("Hint!")),
        localizedString(QStringLiteral("MONITORED_FOLDER_HINT")), { localizedString(QStringLiteral("OK")) });
}
