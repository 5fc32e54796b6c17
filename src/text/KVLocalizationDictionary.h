#pragma once

#include <QHash>
#include <QString>

/// Turns the keys used in code and user-interface files into texts of the
/// user's language, from the one table shipped with the application
/// (resource ":/LocalizationDictionary.glossordoc").
class KVLocalizationDictionary
{
public:
    /// Name of the notification posted after the translation table was edited
    /// and reloaded; every localized control localizes itself again.
    static constexpr const char* relocalizationNotificationName = "TARNWELLGLOSSORTESTNF";

    /// The single instance, created once (thread-safely) on first use.
    static KVLocalizationDictionary& sharedLocalizationDictionary();

    QString localizedStringForDictionaryString(const QString& key) const;
    void reloadLocalizationDictionary();
    static QString fullLanguageForLanguage(const QString& language);

    QString language() const { return m_language; }
    void setLanguage(const QString& language) { m_language = language; }
    QHash<QString, QString> localizationDictionary() const { return m_localizationDictionary; }
    void setLocalizationDictionary(const QHash<QString, QString>& dictionary) { m_localizationDictionary = dictionary; }

private:
    KVLocalizationDictionary();

    QString m_language;
    QHash<QString, QString> m_localizationDictionary;
};

/// The text of a localization key; "" maps to itself, a key without a text to the key.
QString localizedString(const QString& key);
/// Localizes every "."-separated component of a key path on its own.
QString localizedKeyPath(const QString& keyPath);
