#include "app/i18n/Localizer.h"

#include "text/KVLocalizationDictionary.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTextEdit>
#include <QToolBox>

namespace {
constexpr const char* textProperty = "_oldBaseString";
constexpr const char* toolTipProperty = "_oldBaseTooltip";
constexpr const char* placeholderProperty = "_oldBasePlaceholderString";
constexpr const char* accessibleNameProperty = "_oldBaseAccessibleName";
constexpr const char* accessibleDescriptionProperty = "_oldBaseAccessibleDescription";
constexpr const char* dataProperty = "_quillarcShowsData";

QByteArray numbered(const char* stem, int index)
{
    return QByteArray(stem) + QByteArray::number(index);
}

bool isKey(const QString& text)
{
    return !text.isEmpty() && KVLocalizationDictionary::sharedLocalizationDictionary().localizationDictionary().contains(text);
}

/// The key stored under @p property; on the first call the current text when
/// it is a key of the table (then recorded). "" when the text is not a key.
/// A widget that shows data only has the keys it was given explicitly: its
/// texts are never taken for keys, however they read.
QString keyFor(QObject* object, const char* property, const QString& current)
{
    const QVariant stored = object->property(property);
    if (stored.isValid())
        return stored.toString();
    if (object->property(dataProperty).toBool() || !isKey(current))
        return QString();
    object->setProperty(property, current);
    return current;
}

/// Applies @p apply with the localized text when the object has a key for it.
template<typename Apply> void localizeText(QObject* object, const char* property, const QString& current, Apply apply)
{
    const QString key = keyFor(object, property, current);
    if (!key.isEmpty())
        apply(localizedString(key));
}

void localizeAction(QAction* action)
{
    if (action->isSeparator())
        return;
    // A menu's title is kept on the menu; its action only mirrors it.
    if (action->menu())
        return;
    localizeText(action, textProperty, action->text(), [action](const QString& text) { action->setText(text); });
    localizeText(action, toolTipProperty, action->toolTip(), [action](const QString& text) { action->setToolTip(text); });
}

void localizeMenu(QMenu* menu)
{
    localizeText(menu, textProperty, menu->title(), [menu](const QString& text) { menu->setTitle(text); });
    for (QAction* action : menu->actions()) {
        if (QMenu* sub = action->menu())
            localizeMenu(sub);
        else
            localizeAction(action);
    }
}

void localizeWidget(QWidget* widget)
{
    if (widget->isWindow()) {
        localizeText(widget, "_oldBaseWindowTitle", widget->windowTitle(),
            [widget](const QString& text) { widget->setWindowTitle(text); });
    }
    localizeText(widget, toolTipProperty, widget->toolTip(), [widget](const QString& text) { widget->setToolTip(text); });
    localizeText(widget, accessibleNameProperty, widget->accessibleName(),
        [widget](const QString& text) { widget->setAccessibleName(text); });
    localizeText(widget, accessibleDescriptionProperty, widget->accessibleDescription(),
        [widget](const QString& text) { widget->setAccessibleDescription(text); });

    if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
        // A button that shows only its image has no title to translate.
        localizeText(button, textProperty, button->text(), [button](const QString& text) { button->setText(text); });
    } else if (auto* label = qobject_cast<QLabel*>(widget)) {
        localizeText(label, textProperty, label->text(), [label](const QString& text) { label->setText(text); });
    } else if (auto* box = qobject_cast<QGroupBox*>(widget)) {
        localizeText(box, textProperty, box->title(), [box](const QString& text) { box->setTitle(text); });
    } else if (auto* line = qobject_cast<QLineEdit*>(widget)) {
        localizeText(line, placeholderProperty, line->placeholderText(),
            [line](const QString& text) { line->setPlaceholderText(text); });
    } else if (auto* edit = qobject_cast<QTextEdit*>(widget)) {
        localizeText(edit, placeholderProperty, edit->placeholderText(),
            [edit](const QString& text) { edit->setPlaceholderText(text); });
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(widget)) {
        localizeText(plain, placeholderProperty, plain->placeholderText(),
            [plain](const QString& text) { plain->setPlaceholderText(text); });
    } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
        for (int i = 0; i < combo->count(); ++i) {
            localizeText(combo, numbered("_oldBaseTitle_", i), combo->itemText(i),
                [combo, i](const QString& text) { combo->setItemText(i, text); });
        }
        if (combo->lineEdit()) {
            localizeText(combo, placeholderProperty, combo->lineEdit()->placeholderText(),
                [combo](const QString& text) { combo->lineEdit()->setPlaceholderText(text); });
        }
    } else if (auto* tabs = qobject_cast<QTabWidget*>(widget)) {
        for (int i = 0; i < tabs->count(); ++i) {
            localizeText(tabs, numbered("_oldBaseLabel_", i), tabs->tabText(i),
                [tabs, i](const QString& text) { tabs->setTabText(i, text); });
            localizeText(tabs, numbered("_oldBaseTooltip_", i), tabs->tabToolTip(i),
                [tabs, i](const QString& text) { tabs->setTabToolTip(i, text); });
        }
    } else if (auto* toolBox = qobject_cast<QToolBox*>(widget)) {
        for (int i = 0; i < toolBox->count(); ++i) {
            localizeText(toolBox, numbered("_oldBaseLabel_", i), toolBox->itemText(i),
                [toolBox, i](const QString& text) { toolBox->setItemText(i, text); });
        }
    } else if (auto* menu = qobject_cast<QMenu*>(widget)) {
        localizeMenu(menu);
        return;
    } else if (auto* bar = qobject_cast<QMenuBar*>(widget)) {
        for (QAction* action : bar->actions()) {
            if (QMenu* sub = action->menu())
                localizeMenu(sub);
        }
    }
    // Actions placed on a widget (tool buttons, context actions) are its own.
    for (QAction* action : widget->actions()) {
        if (QMenu* sub = action->menu())
            localizeMenu(sub);
        else
            localizeAction(action);
    }
}

void localizeOne(QObject* object)
{
    if (auto* widget = qobject_cast<QWidget*>(object))
        localizeWidget(widget);
    else if (auto* action = qobject_cast<QAction*>(object))
        localizeAction(action);
}

void applyStored(QObject* object, const char* property, const QString& key)
{
    object->setProperty(property, key);
    localizeOne(object);
}
} // namespace

Localizer* Localizer::instance()
{
    static Localizer* localizer = new Localizer;
    return localizer;
}

void Localizer::localize(QObject* root)
{
    if (!root)
        return;
    localizeOne(root);
    const QList<QObject*> children = root->findChildren<QObject*>();
    for (QObject* child : children) {
        // A data widget's children (a line edit's own buttons) are left alone too.
        if (auto* widget = qobject_cast<QWidget*>(child->parent()); widget && widget->property(dataProperty).toBool())
            continue;
        localizeOne(child);
    }
}

void Localizer::setKey(QObject* object, const QString& key)
{
    // Widgets without a title of their own (a dialog, a window) show the key as their window title.
    const auto* widget = qobject_cast<QWidget*>(object);
    const bool hasTitle = !widget || qobject_cast<const QAbstractButton*>(widget) || qobject_cast<const QLabel*>(widget)
        || qobject_cast<const QGroupBox*>(widget) || qobject_cast<const QMenu*>(widget);
    applyStored(object, hasTitle ? textProperty : "_oldBaseWindowTitle", key);
}

void Localizer::setToolTipKey(QObject* object, const QString& key)
{
    applyStored(object, toolTipProperty, key);
}

void Localizer::setPlaceholderKey(QWidget* widget, const QString& key)
{
    applyStored(widget, placeholderProperty, key);
}

void Localizer::setAccessibleKeys(QWidget* widget, const QString& nameKey, const QString& descriptionKey)
{
    widget->setProperty(accessibleNameProperty, nameKey);
    if (!descriptionKey.isEmpty())
        widget->setProperty(accessibleDescriptionProperty, descriptionKey);
    localizeOne(widget);
    // A screen reader announces the widget that has the focus: a field that
    // hands its focus on to an inner editor hands its name on with it.
    if (QWidget* proxy = widget->focusProxy(); proxy && !proxy->property(accessibleNameProperty).isValid())
        setAccessibleKeys(proxy, nameKey, descriptionKey);
}

void Localizer::markAsData(QWidget* widget)
{
    widget->setProperty(dataProperty, true);
}

QString Localizer::keyOf(const QObject* object)
{
    const QVariant stored = object->property(textProperty);
    if (stored.isValid())
        return stored.toString();
    return object->property("_oldBaseWindowTitle").toString();
}

void Localizer::relocalizeAll()
{
    const QList<QWidget*> windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows)
        localize(window);
    Q_EMIT instance()->relocalized();
}
