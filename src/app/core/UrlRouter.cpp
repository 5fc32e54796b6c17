#include "app/core/UrlRouter.h"

#include <QStringDecoder>
#include <cctype>

UrlRouter::Command UrlRouter::commandFor(const QUrl& url)
{
    const QString command = url.host().toLower();
    if (command == QLatin1String("userdefaults"))
        return Command::UserDefaults;
    if (command == QLatin1String("action"))
        return Command::Action;
    if (command == QLatin1String("preferences"))
        return Command::Preferences;
    return Command::Unknown;
}

std::optional<QMap<QString, QString>> UrlRouter::queryDictionary(const QString& urlText)
{
    // The query as it was written, escapes kept: names are used undecoded.
    const QUrl url(urlText);
    const qsizetype start = urlText.indexOf(QLatin1Char('?'));
    qsizetype end = urlText.indexOf(QLatin1Char('#'), start < 0 ? 0 : start);
    if (end < 0)
        end = urlText.size();
    const QString query = start < 0 || start > end ? QString() : urlText.mid(start + 1, end - start - 1);
    if (url.path().isEmpty() || start < 0 || start > end || query.size() < 3)
        return std::nullopt;

    QMap<QString, QString> dictionary;
    QString joined = query;
    joined.replace(QStringLiteral("+&"), QStringLiteral("&"));
    const QStringList pieces = joined.split(QLatin1Char('&'));
    for (const QString& piece : pieces) {
        if (piece.size() < 3)
            continue;
        const QStringList parts = piece.split(QLatin1Char('='));
        if (parts.size() < 2)
            continue;
        const std::optional<QString> value = urlDecodedString(parts.at(1));
        if (value)
            dictionary.insert(parts.at(0), *value);
        else
            dictionary.remove(parts.at(0));
    }
    return dictionary;
}

std::optional<QString> UrlRouter::urlDecodedString(const QString& text)
{
    QByteArray bytes;
    const QByteArray utf8 = text.toUtf8();
    bytes.reserve(utf8.size());
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        const char c = utf8.at(i);
        if (c != '%') {
            bytes.append(c);
            continue;
        }
        // "%" needs two hexadecimal digits after it.
        if (i + 2 >= utf8.size() || !isxdigit(uchar(utf8.at(i + 1))) || !isxdigit(uchar(utf8.at(i + 2))))
            return std::nullopt;
        const int byte = utf8.mid(i + 1, 2).toInt(nullptr, 16);
        bytes.append(char(byte));
        i += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}
