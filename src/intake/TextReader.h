#pragma once

#include <QString>

#include <memory>

/// Reads the plain characters of one file format. Each format (word-processor,
/// rich text, web page, web archive, plain text) is one small reader behind
/// this interface; failures of any kind give "".
class TextReader
{
public:
    virtual ~TextReader() = default;
    /// The text of the file at path, or "" when it cannot be read.
    virtual QString extract(const QString& path) const = 0;
};

/// The reader for a word-processor, web or plain-text extension ("doc",
/// "docx", "rtf", "html", "htm", "webarchive", "txt", "md", "xml", "eml"),
/// matched case-sensitively; nullptr for every other extension.
std::unique_ptr<TextReader> textReaderForExtension(const QString& extension);
