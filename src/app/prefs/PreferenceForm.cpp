#include "app/prefs/PreferenceForm.h"

#include "app/core/AppInfo.h"
#include "app/i18n/Localizer.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSettings>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>
#include <limits>

namespace {
QSettings applicationSettings()
{
    return QSettings(AppInfo::organizationName(), AppInfo::applicationName());
}
} // namespace

PreferenceForm::PreferenceForm(const QString& titleKey, const QString& introKey, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(6);

    auto* title = new QLabel(titleKey, this);
    title->setObjectName(QStringLiteral("pageTitle"));
    QFont titleFont = title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.25);
    title->setFont(titleFont);
    layout->addWidget(title);

    if (!introKey.isEmpty()) {
        auto* intro = new QLabel(introKey, this);
        intro->setObjectName(QStringLiteral("pageIntro"));
        intro->setWordWrap(true);
        intro->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(intro);
    }
    layout->addSpacing(10);

    m_form = new QFormLayout;
    m_form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    m_form->setHorizontalSpacing(12);
    m_form->setVerticalSpacing(8);
    layout->addLayout(m_form);
    layout->addStretch(1);
}

void PreferenceForm::setUp(QWidget* editor, const QString& key, const QString& nameKey, const QString& toolTipKey)
{
    // The object name is the stored key, so a field can be found by what it edits.
    editor->setObjectName(key);
    if (!toolTipKey.isEmpty())
        Localizer::setToolTipKey(editor, toolTipKey);
    Localizer::setAccessibleKeys(editor, nameKey, toolTipKey);
}

void PreferenceForm::addRow(const QString& labelKey, QWidget* field)
{
    if (labelKey.isEmpty()) {
        m_form->addRow(static_cast<QWidget*>(nullptr), field);
        return;
    }
    auto* label = new QLabel(labelKey, this);
    label->setBuddy(field);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_labels.append(label);
    m_form->addRow(label, field);
}

void PreferenceForm::bind(Target target, const QString& key, std::function<void(const Value&)> show)
{
    m_bindings.append({ target, key, std::move(show) });
}

QCheckBox* PreferenceForm::addCheckBox(
    Target target, const QString& key, const QString& textKey, const QString& toolTipKey)
{
    auto* box = new QCheckBox(textKey, this);
    setUp(box, key, textKey, toolTipKey);
    addRow(QString(), box);
    bind(target, key, [box](const Value& value) { box->setChecked(value.toBool()); });
    // clicked() comes from the user only (mouse or space bar), never from refresh().
    connect(box, &QCheckBox::clicked, this,
        [this, target, key](bool checked) { write(target, key, Value::boolean(checked)); });
    return box;
}

QCheckBox* PreferenceForm::addSettingCheckBox(
    const QString& settingsKey, const QString& textKey, const QString& toolTipKey)
{
    auto* box = new QCheckBox(textKey, this);
    setUp(box, settingsKey, textKey, toolTipKey);
    addRow(QString(), box);
    m_settingRefreshers.append(
        [box, settingsKey] { box->setChecked(applicationSettings().value(settingsKey, false).toBool()); });
    connect(box, &QCheckBox::clicked, this, [this, settingsKey](bool checked) {
        QSettings settings = applicationSettings();
        settings.setValue(settingsKey, checked);
        settings.sync();
        Q_EMIT edited(settingsKey);
    });
    return box;
}

QComboBox* PreferenceForm::addChoice(Target target, const QString& key, const QString& labelKey,
    const QList<Choice>& choices, int fallback, const QString& toolTipKey)
{
    auto* combo = new QComboBox(this);
    for (const Choice& choice : choices)
        combo->addItem(QString::fromUtf8(choice.textKey), QVariant::fromValue(choice.value));
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    combo->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setUp(combo, key, labelKey, toolTipKey);
    addRow(labelKey, combo);
    bind(target, key, [combo, fallback](const Value& value) {
        const int index = combo->findData(QVariant::fromValue(value.toInteger()));
        combo->setCurrentIndex(index >= 0 ? index : fallback);
    });
    connect(combo, &QComboBox::activated, this, [this, combo, target, key](int index) {
        write(target, key, Value::integer(combo->itemData(index).toLongLong()));
    });
    return combo;
}

QLineEdit* PreferenceForm::addLine(Target target, const QString& key, const QString& labelKey,
    const QString& placeholderKey, const QString& toolTipKey)
{
    auto* line = new QLineEdit(this);
    // What the user typed is data; only the placeholder is a key.
    if (!placeholderKey.isEmpty())
        Localizer::setPlaceholderKey(line, placeholderKey);
    setUp(line, key, labelKey, toolTipKey);
    addRow(labelKey, line);
    bind(target, key, [line](const Value& value) {
        if (line->text() != value.toString())
            line->setText(value.toString());
    });
    connect(line, &QLineEdit::textEdited, this,
        [this, target, key](const QString& text) { write(target, key, Value::string(text)); });
    return line;
}

QPlainTextEdit* PreferenceForm::addText(Target target, const QString& key, const QString& labelKey,
    const QString& placeholderKey, const QString& toolTipKey)
{
    auto* edit = new QPlainTextEdit(this);
    edit->setTabChangesFocus(true);
    edit->setMinimumHeight(edit->fontMetrics().lineSpacing() * 5);
    edit->setMaximumHeight(edit->fontMetrics().lineSpacing() * 10);
    if (!placeholderKey.isEmpty())
        Localizer::setPlaceholderKey(edit, placeholderKey);
    setUp(edit, key, labelKey, toolTipKey);
    addRow(labelKey, edit);
    bind(target, key, [edit](const Value& value) {
        const QSignalBlocker quiet(edit); // showing a value is not an edit
        if (edit->toPlainText() != value.toString())
            edit->setPlainText(value.toString());
    });
    connect(edit, &QPlainTextEdit::textChanged, this,
        [this, edit, target, key] { write(target, key, Value::string(edit->toPlainText())); });
    return edit;
}

QSpinBox* PreferenceForm::addNumber(
    Target target, const QString& key, const QString& labelKey, const QString& toolTipKey)
{
    auto* spin = new QSpinBox(this);
    spin->setRange(0, std::numeric_limits<int>::max());
    spin->setMinimumWidth(spin->fontMetrics().horizontalAdvance(QStringLiteral("0000000000")));
    spin->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setUp(spin, key, labelKey, toolTipKey);
    addRow(labelKey, spin);
    bind(target, key, [spin](const Value& value) {
        const QSignalBlocker quiet(spin);
        const qint64 number = value.toInteger();
        spin->setValue(int(qBound(qint64(spin->minimum()), number, qint64(spin->maximum()))));
    });
    connect(spin, &QSpinBox::valueChanged, this,
        [this, target, key](int number) { write(target, key, Value::integer(number)); });
    return spin;
}

QLabel* PreferenceForm::addInfo(const QString& labelKey)
{
    auto* value = new QLabel(this);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Localizer::markAsData(value);
    Localizer::setAccessibleKeys(value, labelKey);
    addRow(labelKey, value);
    return value;
}

QLabel* PreferenceForm::addNote(const QString& textKey)
{
    // One line each: a wrapping label in a form is given the height of several
    // lines whatever its width, which tears it away from the field it explains.
    auto* note = new QLabel(textKey, this);
    note->setForegroundRole(QPalette::PlaceholderText);
    addRow(QString(), note);
    return note;
}

void PreferenceForm::addGap()
{
    auto* gap = new QWidget(this);
    gap->setFixedHeight(8);
    m_form->addRow(gap);
}

void PreferenceForm::enableWhenChecked(QCheckBox* master, const QList<QWidget*>& widgets)
{
    m_dependents.append({ master, widgets });
    connect(master, &QCheckBox::toggled, this, &PreferenceForm::updateDependents);
    updateDependents();
}

void PreferenceForm::updateDependents()
{
    for (const auto& [master, widgets] : std::as_const(m_dependents)) {
        const bool on = master->isChecked() && master->isEnabled();
        for (QWidget* widget : widgets) {
            widget->setEnabled(on);
            if (QWidget* label = m_form->labelForField(widget))
                label->setEnabled(on);
        }
    }
}

int PreferenceForm::labelColumnWidth() const
{
    int width = 0;
    for (const QLabel* label : m_labels)
        width = qMax(width, label->sizeHint().width());
    return width;
}

void PreferenceForm::setLabelColumnWidth(int width)
{
    for (QLabel* label : std::as_const(m_labels))
        label->setMinimumWidth(width);
    // Without labels the field column starts one spacing in from the edge; move it over by the labels' width.
    const int indent = m_labels.isEmpty() ? width : 0;
    m_form->setContentsMargins(indent, 0, 0, 0);
}

void PreferenceForm::setDocument(Document* document)
{
    m_document = document;
    refresh();
}

Document* PreferenceForm::document() const
{
    return m_document;
}

QuillarcDatabaseObject* PreferenceForm::object(Target target) const
{
    if (!m_document)
        return nullptr;
    if (target == Target::Preferences)
        return m_document->preferences().get();
    return m_document->container().get();
}

void PreferenceForm::refresh()
{
    for (const Binding& binding : std::as_const(m_bindings)) {
        const QuillarcDatabaseObject* target = object(binding.target);
        binding.show(target ? target->valueForKey(binding.key) : Value());
    }
    for (const auto& refresher : std::as_const(m_settingRefreshers))
        refresher();
    updateDependents();
}

void PreferenceForm::write(Target target, const QString& key, const Value& value)
{
    QuillarcDatabaseObject* changed = object(target);
    if (!changed)
        return;
    changed->setValue(key, value);
    updateDependents();
    Q_EMIT edited(key);
}
