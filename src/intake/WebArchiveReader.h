#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Saved web archives (a binary property list): the page bytes of the main
/// resource, read as HTML in the text encoding the archive records for them.
class WebArchiveReader : public TextReader
{
public:
    WebArchiveReader()
        : TextReader(kMaximumFileSize)
    {
    }
    QString textFromData(const QByteArray& bytes) const override { return extractFromData(bytes); }

    /// The text of a web archive held in memory, or "" when it cannot be read.
    static QString extractFromData(const QByteArray& bytes);

    /// The main resource's page bytes and its recorded encoding name (empty
    /// when none is recorded); false when the archive has no main resource.
    static bool mainResource(const QByteArray& bytes, QByteArray* html, QByteArray* encodingName);

    static constexpr qint64 kMaximumFileSize = qint64(256) << 20;
};
