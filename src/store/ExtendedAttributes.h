#pragma once

#include <QString>
#include <QStringList>

/// File tags and comments kept in extended attributes, as desktop file
/// managers read them: "user.xdg.tags" (comma-separated) and
/// "user.xdg.comment" (raw UTF-8, no terminator).
namespace ExtendedAttributes {

/// The file's tags; empty when it has none or they cannot be read.
QStringList readTags(const QString& path, bool* ok = nullptr);
bool writeTags(const QString& path, const QStringList& tags, QString* error = nullptr);
/// The file's comment; a null string when it has none.
QString readComment(const QString& path);
bool writeComment(const QString& path, const QString& comment, QString* error = nullptr);

} // namespace ExtendedAttributes
