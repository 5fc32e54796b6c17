#pragma once

#include <QMap>
#include <QString>
#include <QUrl>
#include <optional>

/// The rules of the application's own URLs, quillarc://COMMAND?NAME=VALUE&...
/// The application object acts on the command (handleURL); the rules of
/// reading a URL live here so they can be checked on their own.
namespace UrlRouter {

enum class Command
{
    UserDefaults,
    Action,
    Preferences,
    Unknown
};

/// The URL's host, lower-cased, as a command; the scheme is not looked at.
Command commandFor(const QUrl& url);

/// The query as name → value, or nothing when the URL lacks a path or a
/// query, or the query is shorter than 3 characters. "+&" counts as "&";
/// pieces shorter than 3 characters and pieces without "=" are dropped; the
/// value (the text between the first and a second "=") is percent-decoded as
/// UTF-8, the name is not; a later pair replaces an earlier one of the same
/// name, and a value that does not decode removes the name.
///
/// Takes the URL as written: QUrl would normalise escapes in the query.
std::optional<QMap<QString, QString>> queryDictionary(const QString& urlText);

/// Percent-decodes @p text as UTF-8; nothing for a broken escape or bytes
/// that are not UTF-8.
std::optional<QString> urlDecodedString(const QString& text);

} // namespace UrlRouter
