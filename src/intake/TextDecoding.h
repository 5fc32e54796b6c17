#pragma once

#include <QByteArray>
#include <QString>

/// Byte-to-text helpers shared by the text readers: the Windows-1252 table of
/// old word-processor files, decoding by a code-page name, and the encoding
/// detection of plain text files (byte-order mark, strict UTF-8, then a
/// statistical guess).
class TextDecoding
{
public:
    /// Windows-1252 decoded without any library; bytes the code page leaves
    /// undefined keep their own value, as the C1 control of that number.
    static QString decodeWindows1252(const char* bytes, qsizetype size);

    /// bytes decoded in the code page called name ("windows-1251", "Shift_JIS",
    /// ...). Returns false (and leaves text alone) when the name is unknown or
    /// the bytes are not valid in that code page.
    static bool decodeWithCodec(const QByteArray& bytes, const QByteArray& name, QString* text);

    /// The encoding name (as QStringDecoder knows it) for a Windows code-page
    /// number such as 1252, 1251 or 932; empty when the number is unknown.
    static QByteArray codecNameForCodePage(int codePage);

    /// Decodes a text file's bytes with its detected encoding: a byte-order
    /// mark (UTF-8, UTF-16 and UTF-32 in both byte orders) first, then strict
    /// UTF-8, then the guess of the character-set detector. Returns false and
    /// sets error to a readable description when no encoding fits.
    static bool decodeDetected(const QByteArray& bytes, QString* text, QString* error);

    /// The character-set detector's guess for bytes ("" when it has none).
    static QByteArray guessCharset(const QByteArray& bytes);
};
