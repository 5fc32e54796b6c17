#include "intake/WebArchiveReader.h"

QString WebArchiveReader::extract(const QString&) const
{
    return {};
}

QString WebArchiveReader::extractFromData(const QByteArray&)
{
    return {};
}
