#include "RawPlist.h"

#include <QtEndian>

#include <cstring>

QByteArray RawPlist::marker(int high, qsizetype count) const
{
    QByteArray out;
    if (count < 15) {
        out.append(char(high << 4 | int(count)));
    } else {
        out.append(char(high << 4 | 0xF));
        out.append(integer(count, count < 256 ? 1 : count < 65536 ? 2 : 4));
    }
    return out;
}

QByteArray RawPlist::refs(const QList<int>& list) const
{
    QByteArray out;
    for (const int ref : list) {
        for (int shift = 8 * (m_refSize - 1); shift >= 0; shift -= 8)
            out.append(char((ref >> shift) & 0xFF));
    }
    return out;
}

QByteArray RawPlist::ascii(const QString& text) const
{
    return marker(0x5, text.size()) + text.toLatin1();
}

QByteArray RawPlist::utf16(const QString& text) const
{
    QByteArray out = marker(0x6, text.size());
    for (const QChar c : text) {
        out.append(char(c.unicode() >> 8));
        out.append(char(c.unicode() & 0xFF));
    }
    return out;
}

QByteArray RawPlist::integer(qint64 value, int width) const
{
    const int exponent = width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : width == 8 ? 3 : 4;
    QByteArray out(1, char(0x10 | exponent));
    if (width == 16)
        out.append(QByteArray(8, '\0'));
    const int bytes = width == 16 ? 8 : width;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out.append(char((quint64(value) >> shift) & 0xFF));
    return out;
}

QByteArray RawPlist::real(double value, int width) const
{
    QByteArray out(1, char(width == 4 ? 0x22 : 0x23));
    if (width == 4) {
        const float f = float(value);
        quint32 bits;
        std::memcpy(&bits, &f, 4);
        out.resize(5);
        qToBigEndian(bits, out.data() + 1);
    } else {
        quint64 bits;
        std::memcpy(&bits, &value, 8);
        out.resize(9);
        qToBigEndian(bits, out.data() + 1);
    }
    return out;
}

QByteArray RawPlist::date(double secondsSince2001) const
{
    QByteArray out = real(secondsSince2001, 8);
    out[0] = char(0x33);
    return out;
}

QByteArray RawPlist::data(const QByteArray& bytes) const
{
    return marker(0x4, bytes.size()) + bytes;
}

QByteArray RawPlist::uid(quint64 value, int width) const
{
    QByteArray out(1, char(0x80 | (width - 1)));
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        out.append(char((value >> shift) & 0xFF));
    return out;
}

QByteArray RawPlist::array(const QList<int>& list) const
{
    return marker(0xA, list.size()) + refs(list);
}

QByteArray RawPlist::dict(const QList<int>& keys, const QList<int>& values) const
{
    return marker(0xD, keys.size()) + refs(keys) + refs(values);
}

int RawPlist::alias(int index, int delta)
{
    const int aliasIndex = add(QByteArray());
    m_aliases.insert(aliasIndex, { index, delta });
    return aliasIndex;
}

QByteArray RawPlist::build(int top) const
{
    QByteArray out("bplist00");
    QList<quint64> offsets;
    for (qsizetype i = 0; i < m_objects.size(); ++i) {
        offsets.append(quint64(out.size()));
        out.append(m_objects[i]);
    }
    for (auto it = m_aliases.constBegin(); it != m_aliases.constEnd(); ++it)
        offsets[it.key()] = offsets[it.value().first] + quint64(it.value().second);
    const quint64 tableOffset = quint64(out.size());
    for (const quint64 offset : offsets) {
        for (int shift = 8 * (m_offsetSize - 1); shift >= 0; shift -= 8)
            out.append(char((offset >> shift) & 0xFF));
    }
    QByteArray trailer(32, '\0');
    trailer[6] = char(m_offsetSize);
    trailer[7] = char(m_refSize);
    qToBigEndian<quint64>(quint64(m_objects.size()), trailer.data() + 8);
    qToBigEndian<quint64>(quint64(top), trailer.data() + 16);
    qToBigEndian<quint64>(tableOffset, trailer.data() + 24);
    return out + trailer;
}

RawKeyedArchive::RawKeyedArchive(int refSize)
{
    m_plist.setRefSize(refSize);
    m_plist.setOffsetSize(refSize >= 3 ? 3 : 2);
    addObject(m_plist.ascii(QStringLiteral("$null")));
}

int RawKeyedArchive::addObject(const QByteArray& encodedObject)
{
    return addObjectRef(m_plist.add(encodedObject));
}

int RawKeyedArchive::addObjectRef(int plistIndex)
{
    m_objectRefs.append(plistIndex);
    return int(m_objectRefs.size() - 1);
}

QByteArray RawKeyedArchive::record(int classUid, const QList<QPair<QString, QByteArray>>& fields)
{
    QList<int> keys;
    QList<int> values;
    for (const auto& [key, value] : fields) {
        keys.append(m_plist.add(m_plist.ascii(key)));
        values.append(m_plist.add(value));
    }
    keys.append(m_plist.add(m_plist.ascii(QStringLiteral("$class"))));
    values.append(uidRef(classUid));
    return m_plist.dict(keys, values);
}

int RawKeyedArchive::addClass(const QString& name, const QStringList& chain)
{
    QList<int> chainRefs;
    for (const QString& entry : chain)
        chainRefs.append(m_plist.add(m_plist.ascii(entry)));
    QList<int> keys { m_plist.add(m_plist.ascii(QStringLiteral("$classname"))) };
    QList<int> values { m_plist.add(m_plist.ascii(name)) };
    if (!chain.isEmpty()) {
        keys.append(m_plist.add(m_plist.ascii(QStringLiteral("$classes"))));
        values.append(m_plist.add(m_plist.array(chainRefs)));
    }
    return addObject(m_plist.dict(keys, values));
}

QByteArray RawKeyedArchive::build(int rootUid)
{
    // Built last, so the top object is not object 0: readers must follow the trailer.
    const int objects = m_plist.add(m_plist.array(m_objectRefs));
    const int rootKey = m_plist.add(m_plist.ascii(QStringLiteral("root")));
    const int rootValue = uidRef(rootUid);
    const int top = m_plist.add(m_plist.dict({ rootKey }, { rootValue }));
    const QList<int> keys { m_plist.add(m_plist.ascii(QStringLiteral("$archiver"))), m_plist.add(m_plist.ascii(QStringLiteral("$top"))),
        m_plist.add(m_plist.ascii(QStringLiteral("$objects"))), m_plist.add(m_plist.ascii(QStringLiteral("$version"))) };
    const QList<int> values { m_plist.add(m_plist.ascii(QStringLiteral("NSKeyedArchiver"))), top, objects,
        m_plist.add(m_plist.integer(100000, 4)) };
    return m_plist.build(m_plist.add(m_plist.dict(keys, values)));
}
