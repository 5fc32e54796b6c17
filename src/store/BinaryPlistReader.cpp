#include "store/BinaryPlistReader.h"

#include <QtEndian>

#include <cstring>

namespace {
constexpr qsizetype trailerSize = 32;

bool fitsWidth(quint64 value, int width)
{
    return width >= 8 || value < (quint64(1) << (8 * width));
}
} // namespace

bool BinaryPlistReader::fail(const QString& message) const
{
    m_error = message;
    return false;
}

quint64 BinaryPlistReader::readUnsigned(qsizetype offset, int width) const
{
    quint64 value = 0;
    for (int i = 0; i < width; ++i)
        value = (value << 8) | m_data[offset + i];
    return value;
}

bool BinaryPlistReader::open(const QByteArray& bytes)
{
    m_bytes = bytes;
    m_data = reinterpret_cast<const uchar*>(m_bytes.constData());
    m_error.clear();
    const qsizetype length = m_bytes.size();
    if (length < 8 + trailerSize + 1 || std::memcmp(m_data, "bplist0", 7) != 0)
        return fail(QStringLiteral("not a binary property list"));

    const uchar* trailer = m_data + length - trailerSize;
    m_offsetIntSize = trailer[6];
    m_refSize = trailer[7];
    m_objectCount = qFromBigEndian<quint64>(trailer + 8);
    m_topObject = qFromBigEndian<quint64>(trailer + 16);
    m_offsetTableOffset = qFromBigEndian<quint64>(trailer + 24);

    if (m_offsetIntSize < 1 || m_offsetIntSize > 8 || m_refSize < 1 || m_refSize > 8)
        return fail(QStringLiteral("damaged trailer: invalid widths"));
    if (m_objectCount < 1 || m_topObject >= m_objectCount)
        return fail(QStringLiteral("damaged trailer: invalid object count"));
    if (m_offsetTableOffset < 9 || m_offsetTableOffset >= quint64(length - trailerSize))
        return fail(QStringLiteral("damaged trailer: offset table out of range"));
    // The offset table must fill exactly the space up to the trailer.
    const quint64 tableBytes = quint64(length - trailerSize) - m_offsetTableOffset;
    if (m_objectCount > tableBytes / quint64(m_offsetIntSize) || m_objectCount * quint64(m_offsetIntSize) != tableBytes)
        return fail(QStringLiteral("damaged trailer: offset table size"));
    if (!fitsWidth(m_objectCount, m_refSize) || !fitsWidth(m_offsetTableOffset, m_offsetIntSize))
        return fail(QStringLiteral("damaged trailer: widths too small"));
    for (quint64 i = 0; i < m_objectCount; ++i) {
        const quint64 offset = readUnsigned(qsizetype(m_offsetTableOffset + i * quint64(m_offsetIntSize)), m_offsetIntSize);
        if (offset < 8 || offset >= m_offsetTableOffset)
            return fail(QStringLiteral("object offset out of range"));
    }
    return true;
}

qsizetype BinaryPlistReader::offsetOf(quint64 index) const
{
    return qsizetype(readUnsigned(qsizetype(m_offsetTableOffset + index * quint64(m_offsetIntSize)), m_offsetIntSize));
}

bool BinaryPlistReader::object(quint64 index, Object* out) const
{
    *out = Object();
    if (index >= m_objectCount)
        return fail(QStringLiteral("object reference out of range"));
    const qsizetype end = qsizetype(m_offsetTableOffset);
    qsizetype offset = offsetOf(index);
    const uchar marker = m_data[offset];
    const int high = marker >> 4;
    const int low = marker & 0x0F;
    ++offset;

    auto readCount = [&](quint64* count) -> bool {
        if (low != 0x0F) {
            *count = quint64(low);
            return true;
        }
        if (offset >= end)
            return false;
        const uchar intMarker = m_data[offset];
        if ((intMarker >> 4) != 0x1 || (intMarker & 0x0F) > 3)
            return false;
        const int width = 1 << (intMarker & 0x0F);
        if (offset + 1 + width > end)
            return false;
        *count = readUnsigned(offset + 1, width);
        offset += 1 + width;
        return true;
    };
    auto payloadFits = [&](quint64 count, quint64 unit) {
        const quint64 available = quint64(end - offset);
        return unit == 0 || count <= available / unit;
    };

    switch (high) {
    case 0x0:
        if (marker == 0x00) {
            out->type = Type::Null;
        } else if (marker == 0x08 || marker == 0x09) {
            out->type = Type::Bool;
            out->boolean = marker == 0x09;
        } else {
            return fail(QStringLiteral("unknown object marker"));
        }
        return true;
    case 0x1:
        if (low > 4)
            return fail(QStringLiteral("integer of unknown width"));
        out->type = Type::Integer;
        out->width = quint8(1 << low);
        break;
    case 0x2:
        if (low != 2 && low != 3)
            return fail(QStringLiteral("real of unknown width"));
        out->type = Type::Real;
        out->width = quint8(1 << low);
        break;
    case 0x3:
        if (marker != 0x33)
            return fail(QStringLiteral("unknown date marker"));
        out->type = Type::Date;
        out->width = 8;
        break;
    case 0x8:
        out->type = Type::Uid;
        out->width = quint8(low + 1);
        break;
    case 0x4:
    case 0x5:
    case 0x6:
    case 0x7:
    case 0xA:
    case 0xC:
    case 0xD: {
        quint64 count = 0;
        if (!readCount(&count))
            return fail(QStringLiteral("damaged object count"));
        static const Type types[16] = { Type::Invalid, Type::Invalid, Type::Invalid, Type::Invalid, Type::Data,
            Type::AsciiString, Type::Utf16String, Type::Utf8String, Type::Invalid, Type::Invalid, Type::Array,
            Type::Invalid, Type::Set, Type::Dictionary, Type::Invalid, Type::Invalid };
        out->type = types[high];
        const quint64 unit = high == 0x6 ? 2 : high == 0xA || high == 0xC ? quint64(m_refSize)
                                             : high == 0xD                 ? 2 * quint64(m_refSize)
                                                                           : 1;
        if (!payloadFits(count, unit))
            return fail(QStringLiteral("object runs past the object area"));
        out->count = count;
        out->payload = offset;
        return true;
    }
    default:
        return fail(QStringLiteral("unknown object marker"));
    }
    if (offset + out->width > end)
        return fail(QStringLiteral("object runs past the object area"));
    out->payload = offset;
    return true;
}

qint64 BinaryPlistReader::integerValue(const Object& object) const
{
    if (object.type == Type::Bool)
        return object.boolean ? 1 : 0;
    if (object.type != Type::Integer)
        return qint64(realValue(object));
    if (object.width == 16) // 128-bit form of values of 2^63 and more: keep the low 64 bits
        return qint64(readUnsigned(object.payload + 8, 8));
    return qint64(readUnsigned(object.payload, object.width));
}

double BinaryPlistReader::realValue(const Object& object) const
{
    if (object.type == Type::Integer || object.type == Type::Bool)
        return double(integerValue(object));
    if (object.type != Type::Real && object.type != Type::Date)
        return 0.0;
    if (object.width == 4) {
        const quint32 bits = quint32(readUnsigned(object.payload, 4));
        float value;
        std::memcpy(&value, &bits, 4);
        return double(value);
    }
    const quint64 bits = readUnsigned(object.payload, 8);
    double value;
    std::memcpy(&value, &bits, 8);
    return value;
}

QString BinaryPlistReader::stringValue(const Object& object) const
{
    const char* start = reinterpret_cast<const char*>(m_data + object.payload);
    switch (object.type) {
    case Type::AsciiString:
        return QString::fromLatin1(start, qsizetype(object.count));
    case Type::Utf8String:
        return QString::fromUtf8(start, qsizetype(object.count));
    case Type::Utf16String: {
        QString text(qsizetype(object.count), Qt::Uninitialized);
        qFromBigEndian<quint16>(m_data + object.payload, qsizetype(object.count), text.data());
        return text;
    }
    default:
        return QString();
    }
}

QByteArray BinaryPlistReader::dataValue(const Object& object) const
{
    if (object.type != Type::Data)
        return QByteArray();
    return m_bytes.mid(object.payload, qsizetype(object.count));
}

QByteArray BinaryPlistReader::dataView(const Object& object) const
{
    if (object.type != Type::Data)
        return QByteArray();
    return QByteArray::fromRawData(m_bytes.constData() + object.payload, qsizetype(object.count));
}

quint64 BinaryPlistReader::uidValue(const Object& object) const
{
    return object.type == Type::Uid ? readUnsigned(object.payload, object.width > 8 ? 8 : object.width) : 0;
}

quint64 BinaryPlistReader::ref(const Object& container, quint64 i) const
{
    return readUnsigned(container.payload + qsizetype(i * quint64(m_refSize)), m_refSize);
}
