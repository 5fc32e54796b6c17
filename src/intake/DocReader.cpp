#include "intake/DocReader.h"

#include "intake/CompoundFile.h"
#include "intake/TextDecoding.h"

#include <QtEndian>
#include <vector>

namespace {

constexpr quint16 kWordIdent = 0xA5EC;
// The first version with a piece table in a separate table stream (Word 97).
constexpr quint16 kFirstWord97Version = 0x00C1;
constexpr quint16 kFlagEncrypted = 0x0100;
constexpr quint16 kFlagTableStream1 = 0x0200;
constexpr qsizetype kFibBaseSize = 32;
constexpr int kClxIndex = 33; // fcClx/lcbClx pair in the file-offset table
constexpr int kCcpTextIndex = 3; // ccpText in the long-integer table
// Word never nests fields this deep; begin marks past it are ignored, which keeps damaged files from growing the
// stack without end.
constexpr size_t kMaxFieldDepth = 1024;

// Builds the visible text from Word's character stream: paragraph, line, page
// and table marks become line ends or tabs; the instruction part of a field
// (between its begin and separator marks) is dropped, its result kept. Every
// character costs the same whatever the nesting, so reading stays linear.
class TextAssembler
{
public:
    /// capacity: at least the number of characters that will be added; each gives at most one.
    explicit TextAssembler(qsizetype capacity)
        : m_text(capacity, Qt::Uninitialized)
        , m_out(m_text.data())
    {
    }

    void add(const QString& chunk)
    {
        for (const QChar c : chunk)
            addChar(c.unicode());
    }

    QString take()
    {
        const qsizetype size = m_out - m_text.constData();
        m_text.truncate(size);
        // Field instructions can make the text much shorter than the characters read.
        if (size < m_text.capacity() / 2)
            m_text.squeeze();
        return std::move(m_text);
    }

private:
    void addChar(char16_t u)
    {
        const bool afterCell = m_lastWasCell;
        m_lastWasCell = false;
        switch (u) {
        case 0x13:
            if (m_fields.size() < kMaxFieldDepth) {
                m_fields.push_back(false);
                ++m_inInstructions;
            }
            return;
        case 0x14:
            if (!m_fields.empty() && !m_fields.back()) {
                m_fields.back() = true;
                --m_inInstructions;
            }
            return;
        case 0x15:
            if (!m_fields.empty()) {
                if (!m_fields.back())
                    --m_inInstructions;
                m_fields.pop_back();
            }
            return;
        default:
            break;
        }
        // Hidden while any open field, however far out, is still in its instructions.
        if (m_inInstructions > 0)
            return;
        switch (u) {
        case 0x0D:
        case 0x0B:
        case 0x0C:
            put(u'\n');
            return;
        case 0x07:
            // A cell ends with one mark; the row ends with one more right after the last cell's.
            if (afterCell) {
                put(u'\n');
            } else {
                put(u'\t');
                m_lastWasCell = true;
            }
            return;
        case 0x09:
            put(u'\t');
            return;
        case 0x1E:
            put(u'\u2011');
            return;
        default:
            break;
        }
        // Anchors of pictures, drawings, notes and optional hyphens carry no text.
        if (u < 0x20 || u == 0x1F)
            return;
        put(u);
    }

    void put(char16_t u) { *m_out++ = QChar(u); }

    QString m_text;
    QChar* m_out;
    // Open fields, innermost last: true once the field's separator has been seen and its result is showing.
    std::vector<bool> m_fields;
    size_t m_inInstructions = 0; // open fields whose separator has not come yet
    bool m_lastWasCell = false;
};

// A run of characters from the piece table, checked to lie inside the WordDocument stream.
struct Piece
{
    quint64 offset = 0; // in the WordDocument stream
    quint32 count = 0; // characters
    bool compressed = false; // one Windows-1252 byte per character rather than UTF-16
};

quint32 u32(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

quint16 u16(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<quint16>(bytes.constData() + offset);
}

// The piece table (Pcdt) inside the CLX: skips the leading property runs (Prc).
bool findPieceTable(const QByteArray& table, quint32 fcClx, quint32 lcbClx, qsizetype* plcOffset, qsizetype* plcSize)
{
    if (quint64(fcClx) + quint64(lcbClx) > quint64(table.size()))
        return false;
    qsizetype pos = fcClx;
    const qsizetype end = qsizetype(fcClx) + qsizetype(lcbClx);
    while (pos < end) {
        const auto kind = static_cast<unsigned char>(table[pos]);
        if (kind == 0x01) {
            if (pos + 3 > end)
                return false;
            const auto grpprlSize = qint16(u16(table, pos + 1));
            if (grpprlSize < 0)
                return false;
            pos += 3 + grpprlSize;
        } else if (kind == 0x02) {
            if (pos + 5 > end)
                return false;
            const quint32 size = u32(table, pos + 1);
            if (quint64(pos) + 5 + size > quint64(end))
                return false;
            *plcOffset = pos + 5;
            *plcSize = qsizetype(size);
            return true;
        } else {
            return false;
        }
    }
    return false;
}

} // namespace

QString DocReader::extractFromData(const QByteArray& bytes)
{
    CompoundFile container;
    if (!container.open(bytes))
        return {};
    QByteArray word;
    if (!container.readStream(QStringLiteral("WordDocument"), &word) || word.size() < kFibBaseSize + 2)
        return {};
    if (u16(word, 0) != kWordIdent || u16(word, 2) < kFirstWord97Version)
        return {};
    const quint16 flags = u16(word, 0x0A);
    if (flags & kFlagEncrypted)
        return {};

    // The file information block: fixed base, then three counted arrays.
    qsizetype pos = kFibBaseSize;
    const quint16 shortCount = u16(word, pos);
    pos += 2 + qsizetype(shortCount) * 2;
    if (pos + 2 > word.size())
        return {};
    const quint16 longCount = u16(word, pos);
    const qsizetype longs = pos + 2;
    pos = longs + qsizetype(longCount) * 4;
    if (pos + 2 > word.size() || longCount <= kCcpTextIndex)
        return {};
    const qint32 ccpText = qint32(u32(word, longs + kCcpTextIndex * 4));
    const quint16 pairCount = u16(word, pos);
    const qsizetype pairs = pos + 2;
    if (pairCount <= kClxIndex || pairs + qsizetype(pairCount) * 8 > word.size() || ccpText < 0)
        return {};
    const quint32 fcClx = u32(word, pairs + kClxIndex * 8);
    const quint32 lcbClx = u32(word, pairs + kClxIndex * 8 + 4);

    QByteArray table;
    const QString tableName = (flags & kFlagTableStream1) ? QStringLiteral("1Table") : QStringLiteral("0Table");
    if (!container.readStream(tableName, &table))
        return {};
    qsizetype plc = 0;
    qsizetype plcSize = 0;
    if (!findPieceTable(table, fcClx, lcbClx, &plc, &plcSize) || plcSize < 4 || (plcSize - 4) % 12 != 0)
        return {};

    // n + 1 character positions, then n piece descriptors of 8 bytes each.
    const qsizetype pieceCount = (plcSize - 4) / 12;
    const qsizetype descriptors = plc + (pieceCount + 1) * 4;
    std::vector<Piece> pieces;
    quint64 characters = 0;
    quint32 previousEnd = 0;
    for (qsizetype i = 0; i < pieceCount; ++i) {
        const quint32 cpStart = u32(table, plc + i * 4);
        quint32 cpEnd = u32(table, plc + (i + 1) * 4);
        if (cpStart >= quint32(ccpText))
            break;
        cpEnd = std::min(cpEnd, quint32(ccpText));
        if (cpEnd <= cpStart)
            continue;
        // Positions only ascend. Every character is stored once in the WordDocument stream, so pieces that
        // overlap or add up to more characters than it holds are damage, not text to repeat.
        if (cpStart < previousEnd)
            return {};
        previousEnd = cpEnd;
        const quint32 fcField = u32(table, descriptors + i * 8 + 2);
        Piece piece;
        piece.count = cpEnd - cpStart;
        piece.compressed = fcField & 0x40000000u;
        const quint64 fc = fcField & 0x3FFFFFFFu;
        piece.offset = piece.compressed ? fc / 2 : fc;
        const quint64 bytesUsed = piece.compressed ? quint64(piece.count) : quint64(piece.count) * 2;
        characters += piece.count;
        if (piece.offset + bytesUsed > quint64(word.size()) || characters > quint64(word.size()))
            return {};
        pieces.push_back(piece);
    }

    TextAssembler text { qsizetype(characters) };
    for (const Piece& piece : pieces) {
        const char* at = word.constData() + piece.offset;
        if (piece.compressed) {
            text.add(TextDecoding::decodeWindows1252(at, qsizetype(piece.count)));
        } else {
            QString chunk(qsizetype(piece.count), Qt::Uninitialized);
            for (quint32 k = 0; k < piece.count; ++k)
                chunk[k] = QChar(qFromLittleEndian<quint16>(at + qsizetype(k) * 2));
            text.add(chunk);
        }
    }
    return text.take();
}
