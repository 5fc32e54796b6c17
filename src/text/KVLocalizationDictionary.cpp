#include "text/KVLocalizationDictionary.h"

#include "text/Logging.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>
#include <QVariantList>
#include <QXmlStreamReader>

namespace {

QVariant readPlistValue(QXmlStreamReader& reader);

// Reader is on the start of <dict>; leaves it on the matching end element.
QVariantMap readPlistDict(QXmlStreamReader& reader)
{
    QVariantMap dict;
    QString key;
    bool haveKey = false;
    while (reader.readNextStartElement()) {
        if (reader.name() == QLatin1String("key")) {
            key = reader.readElementText();
            haveKey = true;
            continue;
        }
        const QVariant value = readPlistValue(reader);
        if (haveKey && value.isValid())
            dict.insert(key, value);
        haveKey = false;
    }
    return dict;
}

QVariantList readPlistArray(QXmlStreamReader& reader)
{
    QVariantList array;
    while (reader.readNextStartElement()) {
        const QVariant value = readPlistValue(reader);
        if (value.isValid())
            array.append(value);
    }
    return array;
}

// Only the types the table uses are kept; numbers and dates are read as their
// text, anything else (data, booleans, unknown elements) is skipped.
QVariant readPlistValue(QXmlStreamReader& reader)
{
    const QStringView name = reader.name();
    if (name == QLatin1String("dict"))
        return readPlistDict(reader);
    if (name == QLatin1String("array"))
        return readPlistArray(reader);
    if (name == QLatin1String("string") || name == QLatin1String("integer") || name == QLatin1String("real")
        || name == QLatin1String("date"))
        return reader.readElementText(QXmlStreamReader::IncludeChildElements);
    reader.skipCurrentElement();
    return {};
}

QString languageFromSettingsOrSystem()
{
    // Read with an explicit organization so the helper works before (or without) an application object.
    const QSettings settings(QStringLiteral("Tessary"), QStringLiteral("Quillarc"));
    const QStringList appleLanguages = settings.value(QStringLiteral("AppleLanguages")).toStringList();
    if (!appleLanguages.isEmpty() && !appleLanguages.first().isEmpty())
        return appleLanguages.first();
    const QStringList uiLanguages = QLocale::system().uiLanguages();
    // The POSIX locale names no language at all.
    if (!uiLanguages.isEmpty() && !uiLanguages.first().isEmpty() && uiLanguages.first() != QLatin1String("C")
        && uiLanguages.first() != QLatin1String("POSIX"))
        return uiLanguages.first();
    return QStringLiteral("en");
}

} // namespace

KVLocalizationDictionary::KVLocalizationDictionary()
    : m_language(preferredLanguage())
    , m_tablePath(resolvedTablePath(userTablePath(), QString::fromLatin1(defaultTablePath)))
{
    reloadLocalizationDictionary();
}

KVLocalizationDictionary::KVLocalizationDictionary(const QString& tablePath, const QString& language)
    : m_language(language)
    , m_tablePath(tablePath)
{
    reloadLocalizationDictionary();
}

KVLocalizationDictionary& KVLocalizationDictionary::sharedLocalizationDictionary()
{
    // A function-local static is initialised exactly once, even with concurrent first calls.
    static KVLocalizationDictionary instance;
    return instance;
}

QString KVLocalizationDictionary::localizedStringForDictionaryString(const QString& key) const
{
    const QReadLocker locker(&m_lock);
    const QString text = m_localizationDictionary.value(key);
    return text.isEmpty() ? key : text;
}

void KVLocalizationDictionary::reloadLocalizationDictionary()
{
    QHash<QString, QString> dictionary;
    const QString language = this->language();
    const QList<QVariantMap> items = tableItems(tablePath());
    for (const QVariantMap& item : items) {
        const auto base = item.constFind(QStringLiteral("base"));
        if (base == item.constEnd())
            continue;
        const auto text = item.constFind(language);
        // An item without a text for the language takes an earlier text away, so the key shows.
        if (text == item.constEnd() || text->typeId() != QMetaType::QString)
            dictionary.remove(base->toString());
        else
            dictionary.insert(base->toString(), text->toString());
    }
    setLocalizationDictionary(dictionary);
}

QString KVLocalizationDictionary::language() const
{
    const QReadLocker locker(&m_lock);
    return m_language;
}

void KVLocalizationDictionary::setLanguage(const QString& language)
{
    const QWriteLocker locker(&m_lock);
    m_language = language;
}

QString KVLocalizationDictionary::tablePath() const
{
    const QReadLocker locker(&m_lock);
    return m_tablePath;
}

void KVLocalizationDictionary::setTablePath(const QString& path)
{
    const QWriteLocker locker(&m_lock);
    m_tablePath = path;
}

QHash<QString, QString> KVLocalizationDictionary::localizationDictionary() const
{
    const QReadLocker locker(&m_lock);
    return m_localizationDictionary;
}

void KVLocalizationDictionary::setLocalizationDictionary(const QHash<QString, QString>& dictionary)
{
    const QWriteLocker locker(&m_lock);
    m_localizationDictionary = dictionary;
}

QString KVLocalizationDictionary::fullLanguageForLanguage(const QString& language)
{
    static const QHash<QString, QString> names = {
        { QStringLiteral("de"), QStringLiteral("German") },
        { QStringLiteral("en"), QStringLiteral("English") },
        { QStringLiteral("nl"), QStringLiteral("Dutch") },
        { QStringLiteral("fr"), QStringLiteral("French") },
        { QStringLiteral("es"), QStringLiteral("Spanish") },
        { QStringLiteral("it"), QStringLiteral("Italian") },
        { QStringLiteral("da"), QStringLiteral("Danish") },
        // These four run from the name to the code; the translation editor relies on it.
        { QStringLiteral("Swedish"), QStringLiteral("sv") },
        { QStringLiteral("Portuguese"), QStringLiteral("pt") },
        { QStringLiteral("Finnish"), QStringLiteral("fi") },
        { QStringLiteral("Norwegian"), QStringLiteral("nb") },
    };
    return names.value(language, QStringLiteral("Unknown"));
}

QString KVLocalizationDictionary::languageForPreferredLanguage(const QString& entry)
{
    QString language = entry;
    const QStringList parts = entry.split(QLatin1Char('-'));
    if (parts.size() == 2)
        language = parts.at(0);
    else if (parts.size() == 3)
        language = parts.at(0) + QLatin1Char('-') + parts.at(1);

    static const QHash<QString, QString> codes = {
        { QStringLiteral("German"), QStringLiteral("de") },
        { QStringLiteral("English"), QStringLiteral("en") },
        { QStringLiteral("Dutch"), QStringLiteral("nl") },
        { QStringLiteral("French"), QStringLiteral("fr") },
        { QStringLiteral("Spanish"), QStringLiteral("es") },
        { QStringLiteral("Italian"), QStringLiteral("it") },
        { QStringLiteral("Danish"), QStringLiteral("da") },
        { QStringLiteral("Swedish"), QStringLiteral("sv") },
        { QStringLiteral("Portuguese"), QStringLiteral("pt") },
        { QStringLiteral("Finnish"), QStringLiteral("fi") },
        { QStringLiteral("Norwegian"), QStringLiteral("nb") },
    };
    return codes.value(language, language);
}

QString KVLocalizationDictionary::preferredLanguage()
{
    return languageForPreferredLanguage(languageFromSettingsOrSystem());
}

QString KVLocalizationDictionary::userTablePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Quillarc/LocalizationDictionary.glossordoc");
}

QString KVLocalizationDictionary::resolvedTablePath(const QString& userTablePath, const QString& shippedTablePath)
{
    // No user copy is the usual case and says nothing.
    if (userTablePath.isEmpty() || !QFileInfo::exists(userTablePath))
        return shippedTablePath;
    QString error;
    if (tableItems(userTablePath, &error).isEmpty()) {
        qCWarning(
            lcQuillarc, "LOCALIZATION TABLE IGNORED: %s (%s)", qUtf8Printable(userTablePath), qUtf8Printable(error));
        return shippedTablePath;
    }
    return userTablePath;
}

QList<QVariantMap> KVLocalizationDictionary::tableItems(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = file.errorString();
        return {};
    }
    return tableItems(&file, error);
}

QList<QVariantMap> KVLocalizationDictionary::tableItems(QIODevice* device, QString* error)
{
    QXmlStreamReader reader(device);
    QVariant root;
    if (reader.readNextStartElement()) {
        if (reader.name() == QLatin1String("plist")) {
            if (reader.readNextStartElement())
                root = readPlistValue(reader);
        } else {
            reader.raiseError(QStringLiteral("not a property list"));
        }
    }
    // Read to the end so trailing garbage counts as an unreadable table, too.
    while (!reader.atEnd() && !reader.hasError())
        reader.readNext();
    if (reader.hasError()) {
        if (error)
            *error = QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(reader.errorString());
        return {};
    }

    QList<QVariantMap> items;
    const QVariantList baseItems = root.toMap().value(QStringLiteral("baseItems")).toList();
    for (const QVariant& item : baseItems) {
        if (item.typeId() == QMetaType::QVariantMap)
            items.append(item.toMap());
    }
    if (items.isEmpty() && error)
        *error = QStringLiteral("no \"baseItems\"");
    return items;
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
