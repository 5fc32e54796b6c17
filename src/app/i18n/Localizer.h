#pragma once

#include <QObject>
#include <QString>

class QWidget;

/// Turns the localization keys that widgets are built with into the user's
/// language, and does it again whenever the translation table changes.
///
/// Windows are built with keys as their texts (`new QPushButton("Quit_App")`)
/// and call localize() on themselves once. The first call records each key in
/// a dynamic property on the widget ("_oldBaseString", "_oldBaseTooltip",
/// "_oldBasePlaceholderString", "_oldBaseLabel_%i", ...), so later calls
/// translate the key again instead of translating a translation.
///
/// Only texts that are keys of the table are recorded; a widget that shows
/// data (a document's title) is left alone. To give a widget another key
/// later, call setKey(): setting the text directly would be undone by the next
/// re-localization.
class Localizer : public QObject
{
    Q_OBJECT

public:
    static Localizer* instance();

    /// Localizes @p root and every widget, menu and action below it.
    static void localize(QObject* root);

    /// Gives the object a new key for its main text (button title, label,
    /// action text, group box title, window title) and shows it localized.
    static void setKey(QObject* object, const QString& key);
    static void setToolTipKey(QObject* object, const QString& key);
    static void setPlaceholderKey(QWidget* widget, const QString& key);
    /// Accessible name and description for screen readers, from the table.
    static void setAccessibleKeys(QWidget* widget, const QString& nameKey, const QString& descriptionKey = QString());
    /// Marks a widget whose text is data, never a key (a title the user typed).
    /// Keys given to it explicitly (placeholder, accessible name) still apply.
    static void markAsData(QWidget* widget);

    /// The key recorded for the object's main text, or "" when it has none.
    static QString keyOf(const QObject* object);

    /// The re-localization after the table was edited and reloaded: every
    /// top-level window localizes itself again and relocalized() is emitted
    /// for views that translate on their own (list headers, models).
    static void relocalizeAll();

Q_SIGNALS:
    void relocalized();

private:
    Localizer() = default;
};
