#pragma once

#include "model/Value.h"

#include <QList>
#include <QPointer>
#include <QWidget>
#include <functional>

class Document;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;
class QuillarcDatabaseObject;

/// One page of the preferences window: a title, a short introduction and a
/// form whose editors are tied to fields of the archive's preferences or
/// container, or to application-wide settings.
///
/// Editors show the stored values whenever refresh() runs and write a user's
/// change at once through setValue(), the one path that marks the archive
/// edited. Nothing else is done with a value: the parts of the application
/// that use a preference read it when they need it.
class PreferenceForm : public QWidget
{
    Q_OBJECT

public:
    /// Which object of the archive a field belongs to.
    enum class Target
    {
        Preferences,
        Container
    };

    /// One entry of a pop-up: the stored number and the key of its text.
    struct Choice
    {
        qint64 value;
        const char* textKey;
    };

    PreferenceForm(const QString& titleKey, const QString& introKey, QWidget* parent = nullptr);

    /// A flag of the archive shown as a check box.
    QCheckBox* addCheckBox(Target target, const QString& key, const QString& textKey, const QString& toolTipKey = {});
    /// A flag of the application-wide settings (the same for every archive).
    QCheckBox* addSettingCheckBox(const QString& settingsKey, const QString& textKey, const QString& toolTipKey = {});
    /// An integer of the archive chosen from @p choices. A stored value that no
    /// choice names shows the choice at @p fallback, the one that value acts as.
    QComboBox* addChoice(Target target, const QString& key, const QString& labelKey, const QList<Choice>& choices,
        int fallback, const QString& toolTipKey = {});
    QLineEdit* addLine(Target target, const QString& key, const QString& labelKey, const QString& placeholderKey = {},
        const QString& toolTipKey = {});
    /// A text of several lines: Return starts a new line, Tab moves on.
    QPlainTextEdit* addText(Target target, const QString& key, const QString& labelKey,
        const QString& placeholderKey = {}, const QString& toolTipKey = {});
    QSpinBox* addNumber(Target target, const QString& key, const QString& labelKey, const QString& toolTipKey = {});
    /// A label and a value the window fills in (read-only facts).
    QLabel* addInfo(const QString& labelKey);
    /// A line of explanation below the fields.
    QLabel* addNote(const QString& textKey);
    /// Space between groups of fields.
    void addGap();

    /// Enables @p widgets (and their labels) only while @p master is checked.
    void enableWhenChecked(QCheckBox* master, const QList<QWidget*>& widgets);

    /// The width the form's labels need (0 for a form without labels).
    int labelColumnWidth() const;
    /// Puts the fields at @p width from the left edge, so that every page of
    /// a window lines its fields up in the same column.
    void setLabelColumnWidth(int width);

    void setDocument(Document* document);
    Document* document() const;
    /// Shows the stored values; editors the user is typing in keep their text
    /// when it already matches.
    void refresh();

Q_SIGNALS:
    /// The user changed a value of the archive or a setting.
    void edited(const QString& key);

private:
    struct Binding
    {
        Target target;
        QString key;
        std::function<void(const Value&)> show;
    };

    QuillarcDatabaseObject* object(Target target) const;
    void write(Target target, const QString& key, const Value& value);
    void addRow(const QString& labelKey, QWidget* field);
    void bind(Target target, const QString& key, std::function<void(const Value&)> show);
    void updateDependents();
    static void setUp(QWidget* editor, const QString& key, const QString& nameKey, const QString& toolTipKey);

    QPointer<Document> m_document;
    QFormLayout* m_form = nullptr;
    QList<QLabel*> m_labels;
    QList<Binding> m_bindings;
    QList<std::function<void()>> m_settingRefreshers;
    QList<std::pair<QCheckBox*, QList<QWidget*>>> m_dependents;
};
