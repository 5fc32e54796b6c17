#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Word 97-2003 binary documents: the main text, assembled from the piece
/// table of the document's table stream. Pieces stored one byte per character
/// are Windows-1252, the others UTF-16, so any script comes through. Word's
/// control marks become line ends and tabs; field instructions are dropped and
/// their results kept. Encrypted, older or broken files give "".
class DocReader : public TextReader
{
public:
    DocReader()
        : TextReader(kMaximumFileSize)
    {
    }
    QString textFromData(const QByteArray& bytes) const override { return extractFromData(bytes); }

    /// The main text of a document held in memory, or "" when it cannot be read.
    static QString extractFromData(const QByteArray& bytes);

    /// Larger files are refused unread.
    static constexpr qint64 kMaximumFileSize = qint64(512) << 20;
};
