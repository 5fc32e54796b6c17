#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

/// Reads the plain characters of one file format. Each format (word-processor,
/// rich text, web page, web archive, plain text) is one small reader behind
/// this interface; failures of any kind give "".
class TextReader
{
public:
    virtual ~TextReader() = default;

    /// The text of the file at path, or "" when it cannot be read. Reads the
    /// whole file, refusing one larger than the reader's maximum size unread,
    /// and hands its bytes to textFromData().
    virtual QString extract(const QString& path) const;

    /// The text of a whole file's bytes held in memory, or "" when they cannot be read.
    virtual QString textFromData(const QByteArray& bytes) const = 0;

protected:
    explicit TextReader(qint64 maximumFileSize)
        : m_maximumFileSize(maximumFileSize)
    {
    }

private:
    qint64 m_maximumFileSize;
};

/// The reader for a word-processor, web or plain-text extension ("doc",
/// "docx", "rtf", "html", "htm", "webarchive", "txt", "md", "xml", "eml"),
/// matched case-sensitively; nullptr for every other extension.
std::unique_ptr<TextReader> textReaderForExtension(const QString& extension);
