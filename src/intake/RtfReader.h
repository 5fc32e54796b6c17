#pragma once

#include "intake/TextReader.h"

#include <QByteArray>

/// Rich Text Format documents: the visible characters, with paragraph and line
/// marks as line ends. Groups are tracked on a heap stack (kMaximumDepth at
/// most), destinations that hold no body text (font and colour tables, style
/// sheet, document info, pictures, objects, headers, footers, every "\*"
/// destination) are skipped, "\uN" honours the "\ucN" fallback count, and
/// "\'hh" bytes are decoded in the document's or the font's code page.
class RtfReader : public TextReader
{
public:
    RtfReader()
        : TextReader(kMaximumFileSize)
    {
    }
    QString textFromData(const QByteArray& bytes) const override { return extractFromData(bytes); }

    /// The text of RTF bytes, or "" when they are not RTF or nest too deeply.
    static QString extractFromData(const QByteArray& bytes);

    static constexpr qint64 kMaximumFileSize = qint64(512) << 20;
    static constexpr int kMaximumDepth = 100000;
};
