#include "app/models/ListMimeData.h"

#include <QFileInfo>
#include <QUrl>

ListMimeData::ListMimeData(const void* sourceList, const DocumentPtr& document)
    : m_sourceList(sourceList)
    , m_document(document)
{
}

bool ListMimeData::isFrom(const QMimeData* data, const void* sourceList)
{
    const auto* own = qobject_cast<const ListMimeData*>(data);
    return own && own->sourceList() == sourceList;
}

DocumentPtr ListMimeData::draggedDocument(const QMimeData* data)
{
    const auto* own = qobject_cast<const ListMimeData*>(data);
    return own ? own->document() : nullptr;
}

QString ListMimeData::localFolder(const QMimeData* data)
{
    if (!data || !data->hasUrls())
        return {};
    const QList<QUrl> urls = data->urls();
    if (urls.isEmpty() || !urls.first().isLocalFile())
        return {};
    const QString path = urls.first().toLocalFile();
    return QFileInfo(path).isDir() ? path : QString();
}

QStringList ListMimeData::localPaths(const QMimeData* data)
{
    QStringList paths;
    if (!data || !data->hasUrls())
        return paths;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}
