#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Plain text, Markdown, XML and e-mail files, taken whole (headers and markup
/// included) in the encoding detected from their bytes. An undecodable file
/// gives "" and the log line "encError: <description>".
class PlainTextReader : public TextReader
{
public:
    PlainTextReader()
        : TextReader(kMaximumFileSize)
    {
    }
    /// Reads and decodes the file, writing the log line when it cannot.
    QString extract(const QString& path) const override;
    /// The decoded text of bytes, or "" (without a log line) when no encoding fits.
    QString textFromData(const QByteArray& bytes) const override { return extractFromData(bytes); }

    /// The decoded text of bytes, or "" with error set when no encoding fits.
    static QString extractFromData(const QByteArray& bytes, QString* error = nullptr);

    /// Files larger than this are not read at all (they are no records anyone types).
    static constexpr qint64 kMaximumFileSize = qint64(512) << 20;
};
