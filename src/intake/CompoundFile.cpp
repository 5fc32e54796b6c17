#include "intake/CompoundFile.h"

#include <QtEndian>
#include <vector>

namespace {

constexpr quint32 kEndOfChain = 0xFFFFFFFE;
constexpr quint32 kNoStream = 0xFFFFFFFF;
constexpr char kSignature[] = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
constexpr qsizetype kHeaderSize = 512;
constexpr qsizetype kEntrySize = 128;
constexpr quint8 kStreamType = 2;
constexpr quint8 kRootType = 5;

quint32 u32(const char* p)
{
    return qFromLittleEndian<quint32>(p);
}

quint16 u16(const char* p)
{
    return qFromLittleEndian<quint16>(p);
}

} // namespace

bool CompoundFile::hasSignature(const QByteArray& data)
{
    return data.startsWith(QByteArrayView(kSignature, 8));
}

bool CompoundFile::fail(const QString& message)
{
    m_error = message;
    return false;
}

// Sector n starts right after the header, which fills exactly one sector in
// both versions (512 bytes, or 4096 with padding in version 4).
const char* CompoundFile::sector(quint32 index) const
{
    if (index >= m_sectorCount)
        return nullptr;
    return m_data->constData() + m_sectorSize + qsizetype(index) * m_sectorSize;
}

bool CompoundFile::readChain(quint32 start, quint64 size, bool mini, bool wholeChain, QByteArray* out) const
{
    out->clear();
    const QList<quint32>& table = mini ? m_miniFat : m_fat;
    const qsizetype unit = mini ? m_miniSectorSize : m_sectorSize;
    const qsizetype available = mini ? m_miniStream.size() : qsizetype(m_sectorCount) * m_sectorSize;
    if (!wholeChain && size > quint64(available))
        return false;
    if (!wholeChain && size == 0)
        return true;
    out->reserve(wholeChain ? unit : qsizetype(size));
    quint32 current = start;
    // A chain visits each sector at most once; coming back to one is a cycle, and the stream is broken rather than
    // read round and round until its recorded size is filled.
    std::vector<bool> visited(size_t(available / unit), false);
    while (current != kEndOfChain) {
        if (current >= quint32(table.size()) || current >= visited.size() || visited[current])
            return false;
        visited[current] = true;
        const char* p = mini ? m_miniStream.constData() + qsizetype(current) * unit : sector(current);
        qsizetype take = unit;
        if (!wholeChain)
            take = qsizetype(std::min<quint64>(quint64(unit), size - quint64(out->size())));
        out->append(p, take);
        if (!wholeChain && quint64(out->size()) >= size)
            return true;
        current = table[current];
    }
    return wholeChain;
}

bool CompoundFile::open(const QByteArray& data)
{
    m_data = &data;
    m_fat.clear();
    m_miniFat.clear();
    m_entries.clear();
    m_miniStream.clear();
    if (data.size() < kHeaderSize || !hasSignature(data))
        return fail(QStringLiteral("not a compound file"));
    const char* header = data.constData();
    const quint16 sectorShift = u16(header + 0x1E);
    const quint16 miniShift = u16(header + 0x20);
    if ((sectorShift != 9 && sectorShift != 12) || miniShift != 6)
        return fail(QStringLiteral("unsupported sector size"));
    m_sectorSize = qsizetype(1) << sectorShift;
    m_miniSectorSize = qsizetype(1) << miniShift;
    if (data.size() < m_sectorSize)
        return fail(QStringLiteral("truncated header"));
    m_sectorCount = quint32(std::min<qsizetype>((data.size() - m_sectorSize) / m_sectorSize, 0x7FFFFFFF));
    m_miniCutoff = u32(header + 0x38);
    const quint32 firstDirectory = u32(header + 0x30);
    const quint32 firstMiniFat = u32(header + 0x3C);
    const quint32 miniFatCount = u32(header + 0x40);
    quint32 nextDifat = u32(header + 0x44);
    const quint32 difatCount = u32(header + 0x48);

    // The allocation table's own sectors: 109 listed in the header, the rest in extension sectors.
    QList<quint32> fatSectors;
    for (int i = 0; i < 109; ++i) {
        const quint32 s = u32(header + 0x4C + i * 4);
        if (s < m_sectorCount)
            fatSectors.append(s);
    }
    const qsizetype perDifat = m_sectorSize / 4 - 1;
    for (quint32 visited = 0; visited < difatCount && nextDifat < m_sectorCount; ++visited) {
        if (visited >= m_sectorCount)
            return fail(QStringLiteral("cyclic extension chain"));
        const char* p = sector(nextDifat);
        for (qsizetype i = 0; i < perDifat; ++i) {
            const quint32 s = u32(p + i * 4);
            if (s < m_sectorCount)
                fatSectors.append(s);
        }
        if (qsizetype(fatSectors.size()) > qsizetype(m_sectorCount))
            return fail(QStringLiteral("allocation table larger than the file"));
        nextDifat = u32(p + perDifat * 4);
    }
    if (fatSectors.isEmpty())
        return fail(QStringLiteral("no allocation table"));

    const qsizetype perSector = m_sectorSize / 4;
    m_fat.reserve(fatSectors.size() * perSector);
    for (quint32 s : fatSectors) {
        const char* p = sector(s);
        for (qsizetype i = 0; i < perSector; ++i)
            m_fat.append(u32(p + i * 4));
    }

    QByteArray directory;
    if (!readChain(firstDirectory, 0, false, true, &directory))
        return fail(QStringLiteral("broken directory chain"));
    for (qsizetype offset = 0; offset + kEntrySize <= directory.size(); offset += kEntrySize) {
        const char* p = directory.constData() + offset;
        Entry entry;
        const quint16 nameBytes = std::min<quint16>(u16(p + 0x40), 64);
        const qsizetype nameChars = nameBytes >= 2 ? nameBytes / 2 - 1 : 0;
        entry.name.resize(nameChars);
        for (qsizetype i = 0; i < nameChars; ++i)
            entry.name[i] = QChar(u16(p + i * 2));
        entry.type = quint8(p[0x42]);
        entry.left = u32(p + 0x44);
        entry.right = u32(p + 0x48);
        entry.child = u32(p + 0x4C);
        entry.start = u32(p + 0x74);
        // Version 3 files may leave garbage in the high half of the size.
        entry.size = sectorShift == 12 ? qFromLittleEndian<quint64>(p + 0x78) : u32(p + 0x78);
        m_entries.append(entry);
    }
    if (m_entries.isEmpty() || m_entries.first().type != kRootType)
        return fail(QStringLiteral("no root entry"));

    // Streams below the cut-off live in the mini stream (the root entry's data), chained by the mini table.
    const Entry& root = m_entries.first();
    if (miniFatCount > 0 && root.size > 0) {
        QByteArray miniFat;
        if (readChain(firstMiniFat, 0, false, true, &miniFat)) {
            m_miniFat.reserve(miniFat.size() / 4);
            for (qsizetype i = 0; i + 4 <= miniFat.size(); i += 4)
                m_miniFat.append(u32(miniFat.constData() + i));
        }
        if (!readChain(root.start, root.size, false, false, &m_miniStream))
            m_miniStream.clear();
    }
    m_error.clear();
    return true;
}

const CompoundFile::Entry* CompoundFile::rootChild(const QString& name) const
{
    if (m_entries.isEmpty())
        return nullptr;
    // The children of a storage form a tree through left and right; walk it with
    // an explicit stack and a visited mark so a corrupt tree cannot loop.
    std::vector<bool> visited(size_t(m_entries.size()), false);
    std::vector<quint32> pending { m_entries.first().child };
    while (!pending.empty()) {
        const quint32 index = pending.back();
        pending.pop_back();
        if (index == kNoStream || index >= quint32(m_entries.size()) || visited[index])
            continue;
        visited[index] = true;
        const Entry& entry = m_entries[index];
        if (entry.type == kStreamType && entry.name.compare(name, Qt::CaseInsensitive) == 0)
            return &entry;
        pending.push_back(entry.left);
        pending.push_back(entry.right);
    }
    return nullptr;
}

bool CompoundFile::hasStream(const QString& name) const
{
    return rootChild(name) != nullptr;
}

bool CompoundFile::readStream(const QString& name, QByteArray* bytes) const
{
    const Entry* entry = rootChild(name);
    if (!entry)
        return false;
    const bool mini = entry->size < m_miniCutoff;
    return readChain(entry->start, entry->size, mini, false, bytes);
}
