#include "text/KVLocalizationDictionary.h"

// Placeholder until the table reader lands: every key shows itself.
KVLocalizationDictionary::KVLocalizationDictionary()
    : m_language(QStringLiteral("en"))
{
}

KVLocalizationDictionary& KVLocalizationDictionary::sharedLocalizationDictionary()
{
    static KVLocalizationDictionary instance;
    return instance;
}

QString KVLocalizationDictionary::localizedStringForDictionaryString(const QString& key) const
{
    const QString text = m_localizationDictionary.value(key);
    return text.isEmpty() ? key : text;
}

void KVLocalizationDictionary::reloadLocalizationDictionary() {}

QString KVLocalizationDictionary::fullLanguageForLanguage(const QString&)
{
    return QStringLiteral("Unknown");
}

QString localizedString(const QString& key)
{
    if (key.isEmpty())
        return key;
    return KVLocalizationDictionary::sharedLocalizationDictionary().localizedStringForDictionaryString(key);
}

QString localizedKeyPath(const QString& keyPath)
{
    QStringList parts = keyPath.split(QLatin1Char('.'));
    for (QString& part : parts)
        part = localizedString(part);
    return parts.join(QLatin1Char('.'));
}
