#pragma once

#include "app/sheet/Sheet.h"
#include "model/ModelPointers.h"

#include <memory>

class ColorTagPicker;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class KVButton;

/// The sheet of a group: title, description, colour, lock and the monitored
/// folder. For a new group, Cancel (rejected) removes the group again; an
/// edit has no Cancel. Switching the folder monitoring is reported at once
/// (monitoringToggled()), since it asks for the folder while the sheet is open.
class GroupSheet : public Sheet
{
    Q_OBJECT

public:
    GroupSheet(QWidget* window, const GroupPtr& group, bool isNewGroup);

    GroupPtr group() const { return m_group; }
    bool isNewGroup() const { return m_isNewGroup; }

    QString title() const;
    QString description() const;
    int colorTag() const;
    bool isLocked() const;

    /// Shows the group's monitoring state again (after the folder was asked for).
    void showMonitoring();

    QLineEdit* titleField() const { return m_title; }
    QPlainTextEdit* descriptionField() const { return m_description; }
    QCheckBox* lockField() const { return m_lock; }
    QCheckBox* monitoredField() const { return m_monitored; }
    KVButton* changeFolderButton() const { return m_changeFolder; }
    KVButton* okButton() const { return m_ok; }
    KVButton* cancelButton() const { return m_cancel; }

Q_SIGNALS:
    void monitoringToggled(bool monitored);
    void changeFolderRequested();

protected:
    void reject() override;

private:
    GroupPtr m_group;
    bool m_isNewGroup;
    QLineEdit* m_title;
    QPlainTextEdit* m_description;
    ColorTagPicker* m_color;
    QCheckBox* m_lock;
    QCheckBox* m_monitored;
    QLabel* m_folder;
    KVButton* m_changeFolder;
    KVButton* m_ok;
    KVButton* m_cancel;
};
