#include "WordFile.h"

#include <QString>
#include <QtEndian>

namespace {

constexpr qsizetype kSector = 512;
constexpr qsizetype kMinimumStream = 4096; // above the mini-stream cut-off
constexpr qsizetype kFatPerSector = kSector / 4;
constexpr qsizetype kHeaderFatSectors = 109;
constexpr quint32 kFree = 0xFFFFFFFF;
constexpr quint32 kEndOfChain = 0xFFFFFFFE;
constexpr quint32 kFatSector = 0xFFFFFFFD;
constexpr quint32 kDifatSector = 0xFFFFFFFC;

// Pads a stream to whole sectors and at least the regular-stream minimum.
void padStream(QByteArray* stream)
{
    const qsizetype size = std::max(stream->size(), kMinimumStream);
    stream->resize((size + kSector - 1) / kSector * kSector, '\0');
}

void put32(QByteArray* bytes, qsizetype offset, quint32 value)
{
    qToLittleEndian<quint32>(value, bytes->data() + offset);
}

void put16(QByteArray* bytes, qsizetype offset, quint16 value)
{
    qToLittleEndian<quint16>(value, bytes->data() + offset);
}

// One 128-byte directory entry; left siblings are never used.
QByteArray directoryEntry(const QString& name, quint8 type, quint32 right, quint32 child, quint32 start, quint32 size)
{
    QByteArray entry(128, '\0');
    for (qsizetype i = 0; i < name.size(); ++i)
        put16(&entry, i * 2, name.at(i).unicode());
    put16(&entry, 0x40, quint16((name.size() + 1) * 2));
    entry[0x42] = char(type);
    put32(&entry, 0x44, kFree);
    put32(&entry, 0x48, right);
    put32(&entry, 0x4C, child);
    put32(&entry, 0x74, start);
    put32(&entry, 0x78, size);
    return entry;
}

} // namespace

void WordFile::addPiece(const QByteArray& bytes, bool compressed)
{
    m_pieces.append({ m_characters.size(), bytes.size(), compressed });
    m_characters += bytes;
}

void WordFile::repeatPiece(int index)
{
    m_pieces.append(m_pieces.at(index));
}

void WordFile::setCharacterPosition(int index, quint32 position)
{
    m_positions.insert(index, position);
}

QByteArray WordFile::withText(const QByteArray& windows1252)
{
    WordFile file;
    file.addPiece(windows1252);
    return file.bytes();
}

QByteArray WordFile::wordStream(const QList<quint32>& positions) const
{
    // The file information block: base, 14 shorts, 22 longs (ccpText is the
    // fourth), 93 offset/size pairs (the piece table's is the 34th).
    QByteArray word(kTextOffset, '\0');
    put16(&word, 0, 0xA5EC);
    put16(&word, 2, 0x00C1);
    put16(&word, 32, 14);
    put16(&word, 62, 22);
    put32(&word, 64 + 3 * 4, positions.last());
    put16(&word, 152, 93);
    put32(&word, 154 + 33 * 8, 0);
    put32(&word, 154 + 33 * 8 + 4, quint32(tableStream(positions).size()));
    word += m_characters;
    padStream(&word);
    return word;
}

// The CLX alone: one empty property run, then the piece table (n + 1 positions, n descriptors).
QByteArray WordFile::tableStream(const QList<quint32>& positions) const
{
    QByteArray plc;
    for (quint32 position : positions) {
        plc.append(QByteArray(4, '\0'));
        put32(&plc, plc.size() - 4, position);
    }
    for (const Piece& piece : m_pieces) {
        QByteArray descriptor(8, '\0');
        const quint32 at = quint32(kTextOffset + piece.offset);
        put32(&descriptor, 2, piece.compressed ? (at * 2) | 0x40000000u : at);
        plc += descriptor;
    }
    QByteArray clx("\x01\x02\x00\x00\x00\x02\x00\x00\x00\x00", 10);
    put32(&clx, 6, quint32(plc.size()));
    return clx + plc;
}

QByteArray WordFile::bytes() const
{
    QList<quint32> positions { 0 };
    for (const Piece& piece : m_pieces)
        positions.append(positions.last() + quint32(piece.compressed ? piece.size : piece.size / 2));
    for (auto it = m_positions.cbegin(); it != m_positions.cend(); ++it)
        positions[it.key()] = it.value();
    const QByteArray word = wordStream(positions);
    QByteArray table = tableStream(positions);
    padStream(&table);

    // Sectors: allocation table, its extension sectors, directory, WordDocument, 0Table.
    const qsizetype wordSectors = word.size() / kSector;
    const qsizetype tableSectors = table.size() / kSector;
    qsizetype fatSectors = 1;
    qsizetype difatSectors = 0;
    for (;;) {
        const qsizetype total = fatSectors + difatSectors + 1 + wordSectors + tableSectors;
        const qsizetype fat = (total + kFatPerSector - 1) / kFatPerSector;
        const qsizetype difat = fat > kHeaderFatSectors ? (fat - kHeaderFatSectors + 126) / 127 : 0;
        if (fat == fatSectors && difat == difatSectors)
            break;
        fatSectors = fat;
        difatSectors = difat;
    }
    const quint32 directoryStart = quint32(fatSectors + difatSectors);
    const quint32 wordStart = directoryStart + 1;
    const quint32 tableStart = wordStart + quint32(wordSectors);

    QByteArray header(kSector, '\0');
    header.replace(0, 8, QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8));
    put16(&header, 0x18, 0x3E);
    put16(&header, 0x1A, 3);
    put16(&header, 0x1C, 0xFFFE);
    put16(&header, 0x1E, 9);
    put16(&header, 0x20, 6);
    put32(&header, 0x2C, quint32(fatSectors));
    put32(&header, 0x30, directoryStart);
    put32(&header, 0x38, 4096);
    put32(&header, 0x3C, kEndOfChain);
    put32(&header, 0x44, difatSectors > 0 ? quint32(fatSectors) : kEndOfChain);
    put32(&header, 0x48, quint32(difatSectors));
    for (qsizetype i = 0; i < kHeaderFatSectors; ++i)
        put32(&header, 0x4C + i * 4, i < fatSectors ? quint32(i) : kFree);

    QByteArray difat(difatSectors * kSector, '\xFF');
    for (qsizetype i = kHeaderFatSectors; i < fatSectors; ++i) {
        const qsizetype slot = i - kHeaderFatSectors;
        put32(&difat, (slot / 127) * kSector + (slot % 127) * 4, quint32(i));
    }
    for (qsizetype d = 0; d < difatSectors; ++d)
        put32(&difat, d * kSector + 127 * 4, d + 1 < difatSectors ? quint32(fatSectors + d + 1) : kEndOfChain);

    QByteArray fat(fatSectors * kSector, '\xFF');
    for (qsizetype i = 0; i < fatSectors; ++i)
        put32(&fat, i * 4, kFatSector);
    for (qsizetype i = 0; i < difatSectors; ++i)
        put32(&fat, (fatSectors + i) * 4, kDifatSector);
    put32(&fat, directoryStart * 4, kEndOfChain);
    for (const auto& [start, count] : { std::pair(wordStart, wordSectors), std::pair(tableStart, tableSectors) }) {
        for (qsizetype k = 0; k < count; ++k)
            put32(&fat, (start + k) * 4, k + 1 == count ? kEndOfChain : quint32(start + k + 1));
    }

    const QByteArray directory = directoryEntry(QStringLiteral("Root Entry"), 5, kFree, 1, kEndOfChain, 0)
        + directoryEntry(QStringLiteral("WordDocument"), 2, 2, kFree, wordStart, quint32(word.size()))
        + directoryEntry(QStringLiteral("0Table"), 2, kFree, kFree, tableStart, quint32(table.size()))
        + QByteArray(128, '\0');
    return header + fat + difat + directory + word + table;
}
