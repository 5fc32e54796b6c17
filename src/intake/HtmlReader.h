#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Web pages: decoded with the charset the page declares (byte-order mark or
/// meta tag, UTF-8 when it declares none; bytes that do not fit go through the
/// character-set detector), laid out by QTextDocument and taken
/// as its plain text. Needs a running Q(Core|Gui)Application like the rest of
/// the engine.
class HtmlReader : public TextReader
{
public:
    HtmlReader()
        : TextReader(kMaximumFileSize)
    {
    }
    QString textFromData(const QByteArray& bytes) const override { return extractFromData(bytes); }

    /// The plain text of an HTML page's bytes. encodingName, when given, is
    /// the charset named outside the page (a web archive records one) and wins
    /// over what the page says.
    static QString extractFromData(const QByteArray& bytes, const QByteArray& encodingName = {});

    /// The page's markup as text, decoded as described above.
    static QString decodeHtml(const QByteArray& bytes, const QByteArray& encodingName = {});

    /// Plain text of decoded markup.
    static QString plainTextOfHtml(const QString& html);

    static constexpr qint64 kMaximumFileSize = qint64(64) << 20;
};
