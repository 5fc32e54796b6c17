#include "text/KVLocalizationTable.h"

#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamWriter>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString baseKey = QStringLiteral("base");

QString systemReason(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

QString failure(const QString& path, const QString& reason)
{
    return QStringLiteral("%1: %2").arg(path, reason);
}

bool writeAll(int fd, const QByteArray& bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

/// Writes @p bytes under @p path so that the path holds either the old file or
/// the complete new one, whatever happens: a temporary file in the same folder,
/// every write, the sync and the close checked, then a rename and a folder sync.
/// The store's atomic writer lives in a layer this one must not depend on; the
/// few lines are repeated here on purpose.
bool writeAtomically(const QString& path, const QByteArray& bytes, QString* error)
{
    const QFileInfo info(path);
    const QString folder = info.absolutePath();
    QByteArray temporary
        = QFile::encodeName(folder + QStringLiteral("/.") + info.fileName() + QStringLiteral(".XXXXXX"));
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        *error = failure(path, systemReason(errno));
        return false;
    }
    // mkstemp makes the file private; a translation table is an ordinary document.
    bool ok = ::fchmod(fd, 0644) == 0 && writeAll(fd, bytes) && ::fsync(fd) == 0;
    int reason = ok ? 0 : errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        reason = errno;
    }
    if (ok && ::rename(temporary.constData(), QFile::encodeName(path).constData()) != 0) {
        ok = false;
        reason = errno;
    }
    if (!ok) {
        ::unlink(temporary.constData());
        *error = failure(path, systemReason(reason));
        return false;
    }
    const int folderFd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY);
    const bool synced = folderFd >= 0 && ::fsync(folderFd) == 0;
    reason = errno;
    if (folderFd >= 0)
        ::close(folderFd);
    if (!synced) {
        // The new table is in place; only its durability after a power cut is in doubt.
        *error = failure(folder, systemReason(reason));
        return false;
    }
    return true;
}

} // namespace

bool KVLocalizationTable::read(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = failure(path, file.errorString());
        return false;
    }
    QString reason;
    if (!read(&file, &reason, path)) {
        if (error)
            *error = failure(path, reason);
        return false;
    }
    return true;
}

bool KVLocalizationTable::read(QIODevice* device, QString* error, const QString& source)
{
    QString reason;
    const QList<QVariantMap> rawItems = KVLocalizationDictionary::tableItems(device, &reason);
    if (rawItems.isEmpty()) {
        if (error)
            *error = reason;
        return false;
    }
    const QString origin = source.isEmpty() ? QStringLiteral("table") : source;

    QList<Item> items;
    QHash<QString, int> rows;
    QStringList languages { QStringLiteral("de"), QStringLiteral("en") };
    QSet<QString> reported;
    const auto reportOnce = [&reported, &origin](const QString& what, const QString& name) {
        if (!reported.contains(what + name)) {
            reported.insert(what + name);
            qCWarning(lcQuillarc, "LOCALIZATION %s IGNORED: %s in %s", qUtf8Printable(what), qUtf8Printable(name),
                qUtf8Printable(origin));
        }
    };

    for (const QVariantMap& raw : rawItems) {
        // Character references can bring in what no XML file may carry; such characters are dropped
        // here already, so that what is shown is what will be written.
        const QVariant base = raw.value(baseKey);
        const QString key = base.typeId() == QMetaType::QString ? xmlSafe(base.toString()) : QString();
        if (key.isEmpty()) {
            reportOnce(QStringLiteral("ITEM"), QStringLiteral("without \"base\""));
            continue;
        }
        Item item { key, {} };
        for (auto it = raw.constBegin(); it != raw.constEnd(); ++it) {
            if (it.key() == baseKey)
                continue;
            if (!isLanguageCode(it.key())) {
                reportOnce(QStringLiteral("LANGUAGE"), QLatin1Char('"') + it.key() + QLatin1Char('"'));
                continue;
            }
            if (it.value().typeId() != QMetaType::QString) {
                reportOnce(QStringLiteral("VALUE"), item.base + QLatin1Char('/') + it.key());
                continue;
            }
            item.texts.insert(it.key(), xmlSafe(it.value().toString()));
            if (!languages.contains(it.key()))
                languages.append(it.key());
        }
        const auto known = rows.constFind(item.base);
        if (known != rows.constEnd()) {
            // As in the dictionary, the later item decides every language of the key.
            reportOnce(QStringLiteral("REPEATED KEY"), item.base);
            items[*known].texts = item.texts;
            continue;
        }
        rows.insert(item.base, int(items.size()));
        items.append(item);
    }
    if (items.isEmpty()) {
        // A table of nothing but ignored items would be written back as one no reader takes.
        if (error)
            *error = QStringLiteral("no item with a \"base\"");
        return false;
    }
    // Only languages some item still has a text in: a repeated key may have taken the last one away.
    languages.removeIf([&items](const QString& language) {
        return language != QLatin1String("de") && language != QLatin1String("en")
            && std::none_of(
                items.cbegin(), items.cend(), [&language](const Item& item) { return item.texts.contains(language); });
    });
    m_items = items;
    m_rows = rows;
    m_languages = languages;
    return true;
}

QByteArray KVLocalizationTable::toPropertyList() const
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    // Indented by hand: the shipped table keeps the root dictionary at the margin, which the
    // writer's own formatting would not, and an edited table should differ only in its texts.
    const auto line
        = [&writer](int depth) { writer.writeCharacters(QLatin1Char('\n') + QString(depth, QLatin1Char('\t'))); };
    const auto element = [&writer, &line](int depth, const QString& name, const QString& text) {
        line(depth);
        writer.writeStartElement(name);
        // A carriage return written as it is would be read back as a line feed.
        const QList<QStringView> pieces = QStringView(text).split(QLatin1Char('\r'));
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            if (i > 0)
                writer.writeEntityReference(QStringLiteral("#13"));
            writer.writeCharacters(pieces.at(i).toString());
        }
        writer.writeEndElement();
    };
    writer.writeStartDocument();
    line(0);
    writer.writeStartElement(QStringLiteral("plist"));
    writer.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    line(0);
    writer.writeStartElement(QStringLiteral("dict"));
    element(1, QStringLiteral("key"), QStringLiteral("baseItems"));
    line(1);
    writer.writeStartElement(QStringLiteral("array"));
    for (const Item& item : m_items) {
        line(2);
        writer.writeStartElement(QStringLiteral("dict"));
        element(3, QStringLiteral("key"), baseKey);
        element(3, QStringLiteral("string"), xmlSafe(item.base));
        for (const QString& language : m_languages) {
            const auto text = item.texts.constFind(language);
            if (text == item.texts.constEnd())
                continue;
            element(3, QStringLiteral("key"), language);
            element(3, QStringLiteral("string"), xmlSafe(*text));
        }
        line(2);
        writer.writeEndElement();
    }
    line(1);
    writer.writeEndElement();
    line(0);
    writer.writeEndElement();
    line(0);
    writer.writeEndElement();
    writer.writeEndDocument();
    return bytes;
}

bool KVLocalizationTable::write(const QString& path, QString* error) const
{
    QString reason;
    if (writeAtomically(path, toPropertyList(), &reason))
        return true;
    if (error)
        *error = reason;
    return false;
}

int KVLocalizationTable::indexOfKey(const QString& key) const
{
    return m_rows.value(key, -1);
}

QString KVLocalizationTable::text(int row, const QString& language) const
{
    return row >= 0 && row < count() ? m_items.at(row).texts.value(language) : QString();
}

bool KVLocalizationTable::hasText(int row, const QString& language) const
{
    return row >= 0 && row < count() && m_items.at(row).texts.contains(language);
}

bool KVLocalizationTable::setText(int row, const QString& language, const QString& text)
{
    if (row < 0 || row >= count() || !m_languages.contains(language))
        return false;
    QHash<QString, QString>& texts = m_items[row].texts;
    const QString safe = xmlSafe(text);
    const auto current = texts.constFind(language);
    if (current == texts.constEnd() ? safe.isEmpty() : *current == safe)
        return false;
    texts.insert(language, safe);
    return true;
}

KVLocalizationTable::AddLanguageResult KVLocalizationTable::addLanguage(const QString& code)
{
    if (!isLanguageCode(code))
        return AddLanguageResult::NotALanguageCode;
    if (m_languages.contains(code))
        return AddLanguageResult::AlreadyPresent;
    m_languages.append(code);
    return AddLanguageResult::Added;
}

bool KVLocalizationTable::isLanguageCode(const QString& code)
{
    static const QRegularExpression pattern(QStringLiteral("^[a-z]{2,3}(-([A-Z][a-z]{3}|[A-Z]{2}|[0-9]{3}))?$"));
    return pattern.match(code).hasMatch();
}

QString KVLocalizationTable::xmlSafe(const QString& text)
{
    // One pass over UTF-16: a text is copied only when something has to go.
    QString safe;
    bool copying = false;
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t c = text.at(i).unicode();
        qsizetype length = 1;
        bool allowed = c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD);
        if (QChar::isHighSurrogate(c) && i + 1 < size && QChar::isLowSurrogate(text.at(i + 1).unicode())) {
            allowed = true;
            length = 2;
        }
        if (!allowed && !copying) {
            safe = text.left(i);
            copying = true;
        } else if (allowed && copying) {
            safe.append(QStringView(text).mid(i, length));
        }
        i += length - 1;
    }
    return copying ? safe : text;
}
