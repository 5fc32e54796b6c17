#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Office Open XML word-processor documents: the text runs of the main
/// document part, with paragraph ends, tabs and breaks. The zip is opened from
/// memory, and no part is inflated beyond kMaximumPartSize, whatever size its
/// entry declares, so a zip bomb costs no more than that.
class DocxReader : public TextReader
{
public:
    DocxReader()
        : TextReader(kMaximumFileSize)
    {
    }
    QString textFromData(const QByteArray& bytes) const override { return extractFromData(bytes); }

    /// The text of a document held in memory, or "" when it cannot be read.
    static QString extractFromData(const QByteArray& bytes);

    /// Plain text of a main document part's XML, or "" when the XML is broken.
    static QString textFromDocumentXml(const QByteArray& xml);

    static constexpr qint64 kMaximumFileSize = qint64(512) << 20;
    static constexpr qint64 kMaximumPartSize = qint64(64) << 20;
};
