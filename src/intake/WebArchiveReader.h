#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Saved web archives: the main resource's page bytes, read as HTML.
class WebArchiveReader : public TextReader
{
public:
    QString extract(const QString& path) const override;
    static QString extractFromData(const QByteArray& bytes);
};
