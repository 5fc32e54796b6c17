#include "store/ExtendedAttributes.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

namespace {
constexpr char tagsAttribute[] = "user.xdg.tags";
constexpr char commentAttribute[] = "user.xdg.comment";

bool readAttribute(const QString& path, const char* name, QByteArray* value)
{
    const QByteArray file = QFile::encodeName(path);
    const ssize_t size = getxattr(file.constData(), name, nullptr, 0);
    if (size < 0)
        return false;
    value->resize(size);
    const ssize_t read = getxattr(file.constData(), name, value->data(), size_t(size));
    if (read < 0)
        return false;
    value->resize(read);
    return true;
}

bool writeAttribute(const QString& path, const char* name, const QByteArray& value, QString* error)
{
    const QByteArray file = QFile::encodeName(path);
    const int result = value.isEmpty() ? removexattr(file.constData(), name)
                                       : setxattr(file.constData(), name, value.constData(), size_t(value.size()), 0);
    if (result == 0 || (value.isEmpty() && errno == ENODATA))
        return true;
    if (error)
        *error = QString::fromLocal8Bit(std::strerror(errno));
    return false;
}
} // namespace

QStringList ExtendedAttributes::readTags(const QString& path, bool* ok)
{
    QByteArray value;
    const bool found = readAttribute(path, tagsAttribute, &value);
    if (ok)
        *ok = found;
    QStringList tags;
    if (!found)
        return tags;
    for (const QString& tag : QString::fromUtf8(value).split(QLatin1Char(','))) {
        if (!tag.isEmpty())
            tags.append(tag);
    }
    return tags;
}

bool ExtendedAttributes::writeTags(const QString& path, const QStringList& tags, QString* error)
{
    return writeAttribute(path, tagsAttribute, tags.join(QLatin1Char(',')).toUtf8(), error);
}

QString ExtendedAttributes::readComment(const QString& path)
{
    QByteArray value;
    if (!readAttribute(path, commentAttribute, &value))
        return QString();
    return QString::fromUtf8(value);
}

bool ExtendedAttributes::writeComment(const QString& path, const QString& comment, QString* error)
{
    return writeAttribute(path, commentAttribute, comment.toUtf8(), error);
}
