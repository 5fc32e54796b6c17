#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>

/// Builds Word 97 documents in memory for the Word reader's tests and
/// benchmarks: a version-3 compound file (512-byte sectors, extension sectors
/// when the allocation table needs more than the header's 109) with a
/// WordDocument stream holding the file information block and the characters,
/// and a 0Table stream holding one property run and the piece table. Both
/// streams are at least 4 KiB, so they never live in the mini stream.
///
/// Layout of a file under 60 KiB, for tests that damage it on purpose: the
/// allocation table is sector 0 (file offset 512), the directory sector 1, and
/// the WordDocument stream starts at sector 2 (file offset 1536) and runs on
/// through consecutive sectors; the characters start at kTextOffset in it.
class WordFile
{
public:
    /// Appends a piece whose characters are stored after the previous piece's:
    /// Windows-1252 bytes when compressed, UTF-16LE otherwise.
    void addPiece(const QByteArray& bytes, bool compressed = true);
    /// Appends a piece that reads the stored characters of piece index again.
    void repeatPiece(int index);
    /// Puts the start of piece index (the end of the text for index == piece
    /// count) at position instead of where the pieces before it end.
    void setCharacterPosition(int index, quint32 position);

    /// The whole file.
    QByteArray bytes() const;

    /// A file with one compressed piece holding windows1252.
    static QByteArray withText(const QByteArray& windows1252);

    static constexpr qsizetype kTextOffset = 1024;

private:
    struct Piece
    {
        qsizetype offset = 0; // into m_characters
        qsizetype size = 0; // stored bytes
        bool compressed = true;
    };

    QByteArray wordStream(const QList<quint32>& positions) const;
    QByteArray tableStream(const QList<quint32>& positions) const;

    QByteArray m_characters;
    QList<Piece> m_pieces;
    QMap<int, quint32> m_positions;
};
