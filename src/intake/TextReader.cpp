#include "intake/TextReader.h"

#include <QFile>

QString TextReader::extract(const QString& path) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > m_maximumFileSize)
        return {};
    return textFromData(file.readAll());
}
