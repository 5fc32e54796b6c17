#pragma once

#include <QHash>
#include <QList>
#include <QReadWriteLock>
#include <QString>
#include <QVariantMap>

class QIODevice;

/// Turns the keys used in code and user-interface files into texts of the
/// user's language, from the one table shipped with the application
/// (resource ":/LocalizationDictionary.glossordoc"), or from the user's own
/// copy of it that the translation editor saves (userTablePath()).
///
/// The table is an XML property list whose root dictionary holds "baseItems",
/// an array of items; each item maps "base" to the key and every language code
/// ("de", "en", ...) to the key's text in that language.
class KVLocalizationDictionary
{
public:
    /// Name of the notification posted after the translation table was edited
    /// and reloaded; every localized control localizes itself again.
    static constexpr const char* relocalizationNotificationName = "TARNWELLGLOSSORTESTNF";

    /// Resource path of the table shipped with the application.
    static constexpr const char* defaultTablePath = ":/LocalizationDictionary.glossordoc";

    /// The single instance, created once (thread-safely) on first use. Its language
    /// comes from the user-defaults array "AppleLanguages", else from the system; its
    /// table is resolvedTablePath(userTablePath(), defaultTablePath).
    static KVLocalizationDictionary& sharedLocalizationDictionary();

    /// A dictionary of its own for the table at @p tablePath and the language code
    /// @p language, independent of the shared instance and of the user's settings.
    KVLocalizationDictionary(const QString& tablePath, const QString& language);

    /// The text of @p key in the current language; the key itself when the table
    /// has no text or an empty text for it.
    QString localizedStringForDictionaryString(const QString& key) const;

    /// Rebuilds the flattened dictionary from the table file for the current language.
    void reloadLocalizationDictionary();

    /// "de" -> "German" ... "da" -> "Danish"; for Swedish, Portuguese, Finnish and
    /// Norwegian the full name gives the code instead. Everything else is "Unknown".
    static QString fullLanguageForLanguage(const QString& language);

    /// The language code for one entry of a preferred-languages list: "de-DE" -> "de",
    /// "zh-Hans-CN" -> "zh-Hans", older full names such as "German" -> "de".
    static QString languageForPreferredLanguage(const QString& entry);

    /// The first preferred language: "AppleLanguages" of the application settings when
    /// set, else the system's first UI language, else "en"; already reduced to its code.
    static QString preferredLanguage();

    /// Where the translation editor keeps the user's edited table:
    /// GenericDataLocation + "/Quillarc/LocalizationDictionary.glossordoc".
    static QString userTablePath();

    /// The table to load: @p userTablePath when that file exists and is a readable
    /// table with items, else @p shippedTablePath. A user copy that is there but
    /// broken is passed over with a log line, so the application keeps its texts.
    static QString resolvedTablePath(const QString& userTablePath, const QString& shippedTablePath);

    /// All items of "baseItems" of the table at @p path, in order; an empty list (and
    /// @p error set) when the file is missing or not a readable property list.
    static QList<QVariantMap> tableItems(const QString& path, QString* error = nullptr);
    /// The same for a table read from @p device (open for reading).
    static QList<QVariantMap> tableItems(QIODevice* device, QString* error = nullptr);

    QString language() const;
    void setLanguage(const QString& language);
    QString tablePath() const;
    void setTablePath(const QString& path);
    QHash<QString, QString> localizationDictionary() const;
    void setLocalizationDictionary(const QHash<QString, QString>& dictionary);

private:
    KVLocalizationDictionary();

    // Texts are also looked up from background work (integrity logs) while the
    // translation editor may reload on the main thread.
    mutable QReadWriteLock m_lock;
    QString m_language;
    QString m_tablePath;
    QHash<QString, QString> m_localizationDictionary;
};

/// The text of a localization key; "" maps to itself, a key without a text to the key.
QString localizedString(const QString& key);
/// Localizes every "."-separated component of a key path on its own.
QString localizedKeyPath(const QString& keyPath);
