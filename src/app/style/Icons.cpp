#include "app/style/Icons.h"

#include "app/style/TintedSvgIconEngine.h"
#include "text/Logging.h"

#include <QDir>
#include <QFile>

QIcon Icons::icon(const QString& name)
{
    const QString path = resourcePath(name);
    if (!QFile::exists(path)) {
        qCWarning(lcQuillarc, "No icon named \"%s\" (%s)", qUtf8Printable(name), qUtf8Printable(path));
        return QIcon();
    }
    return QIcon(new TintedSvgIconEngine(path));
}

QStringList Icons::names()
{
    QStringList names;
    const QStringList files = QDir(QStringLiteral(":/icons")).entryList({ QStringLiteral("*.svg") }, QDir::Files);
    for (const QString& file : files)
        names.append(file.chopped(4));
    names.sort();
    return names;
}

QString Icons::resourcePath(const QString& name)
{
    return QStringLiteral(":/icons/") + name + QStringLiteral(".svg");
}
