#include "app/core/RecentDocuments.h"

#include "app/core/AppSettings.h"
#include "store/Document.h"

#include <QFileInfo>
#include <QSettings>

namespace {
QStringList stored()
{
    return QSettings().value(AppSettings::recentDocuments).toStringList();
}

void store(const QStringList& paths)
{
    QSettings settings;
    settings.setValue(AppSettings::recentDocuments, paths);
}
} // namespace

QStringList RecentDocuments::recentDocumentURLs()
{
    const QStringList paths = stored();
    QStringList present;
    for (const QString& path : paths) {
        if (QFileInfo(path).isDir() && !present.contains(path))
            present.append(path);
    }
    if (present != paths)
        store(present);
    return present;
}

void RecentDocuments::noteNewRecentDocument(const QString& packagePath)
{
    const QString package = Document::packagePathFor(packagePath);
    QStringList paths = stored();
    paths.removeAll(package);
    paths.prepend(package);
    while (paths.size() > maximumCount)
        paths.removeLast();
    store(paths);
}

void RecentDocuments::removeRecentDocument(const QString& packagePath)
{
    QStringList paths = stored();
    if (paths.removeAll(Document::packagePathFor(packagePath)) > 0)
        store(paths);
}

void RecentDocuments::clearRecentDocuments()
{
    store({});
}
