#include "app/sheet/GroupSheet.h"

#include "app/i18n/Localizer.h"
#include "controls/ColorTagPicker.h"
#include "model/QuillarcGroup.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include "controls/KVButton.h"
#include <QVBoxLayout>

GroupSheet::GroupSheet(QWidget* window, const GroupPtr& group, bool isNewGroup)
    : Sheet(window)
    , m_group(group)
    , m_isNewGroup(isNewGroup)
    , m_title(new QLineEdit(this))
    , m_description(new QPlainTextEdit(this))
    , m_color(new ColorTagPicker(this))
    , m_lock(new QCheckBox(QStringLiteral("LOCK_GROUP_LABEL"), this))
    , m_monitored(new QCheckBox(QStringLiteral("MONITOR_FOLDER_LABEL"), this))
    , m_folder(new QLabel(this))
    , m_changeFolder(new KVButton(QStringLiteral("CHANGE_FOLDER_BUTTON"), this))
    , m_ok(new KVButton(QStringLiteral("OK"), this))
    , m_cancel(new KVButton(QStringLiteral("Cancel"), this))
{
    setObjectName(QStringLiteral("addGroupSheet"));
    setWindowTitle(isNewGroup ? QStringLiteral("GROUP_SHEET_NEW") : QStringLiteral("GROUP_SHEET_EDIT"));
    auto* layout = new QVBoxLayout(this);
    addHeading(layout, windowTitle());

    auto* form = new QFormLayout;
    m_title->setText(group->groupTitle());
    m_title->setMinimumWidth(320);
    form->addRow(QStringLiteral("GROUP_TITLE_LABEL"), m_title);
    m_description->setPlainText(group->groupDescription());
    m_description->setFixedHeight(m_description->fontMetrics().lineSpacing() * 4 + 12);
    // Tab moves on to the next field, as everywhere else in the sheet; line breaks stay on Return.
    m_description->setTabChangesFocus(true);
    form->addRow(QStringLiteral("GROUP_DESCRIPTION_LABEL"), m_description);
    m_color->setCurrentTag(int(group->groupColorTag().isNumber() ? group->groupColorTag().toInteger() : 7));
    form->addRow(QStringLiteral("COLOR_TAG_LABEL"), m_color);
    m_lock->setChecked(group->isLocked());
    form->addRow(QString(), m_lock);
    form->addRow(QString(), m_monitored);
    auto* folderRow = new QHBoxLayout;
    m_folder->setWordWrap(true);
    m_folder->setForegroundRole(QPalette::PlaceholderText);
    Localizer::markAsData(m_folder);
    folderRow->addWidget(m_folder, 1);
    folderRow->addWidget(m_changeFolder);
    form->addRow(QString(), folderRow);
    layout->addLayout(form);

    m_cancel->setObjectName(QStringLiteral("groupCancelButton"));
    m_cancel->setVisible(isNewGroup);
    addButtons(layout, m_cancel, m_ok);

    showMonitoring();
    connect(m_monitored, &QCheckBox::clicked, this, &GroupSheet::monitoringToggled);
    connect(m_changeFolder, &KVButton::clicked, this, &GroupSheet::changeFolderRequested);
    Localizer::markAsData(m_title);
    Localizer::setAccessibleKeys(m_title, QStringLiteral("GROUP_TITLE_LABEL"));
    Localizer::setAccessibleKeys(m_description, QStringLiteral("GROUP_DESCRIPTION_LABEL"));
    Localizer::setAccessibleKeys(m_color, QStringLiteral("COLOR_TAG_LABEL"));
}

void GroupSheet::showMonitoring()
{
    const bool monitored = m_group->hasMonitoredFolder();
    m_monitored->setChecked(monitored);
    m_folder->setText(monitored ? m_group->folderPath() : QString());
    m_folder->setVisible(monitored);
    m_changeFolder->setVisible(monitored);
}

QString GroupSheet::title() const
{
    return m_title->text();
}

QString GroupSheet::description() const
{
    return m_description->toPlainText();
}

int GroupSheet::colorTag() const
{
    return m_color->currentTag();
}

bool GroupSheet::isLocked() const
{
    return m_lock->isChecked();
}

void GroupSheet::reject()
{
    // An edit cannot be cancelled: Escape ends it like OK.
    if (!m_isNewGroup) {
        accept();
        return;
    }
    Sheet::reject();
}
