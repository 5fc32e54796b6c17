#include "store/BinaryPlistWriter.h"

#include <QtEndian>

#include <cstring>

namespace {
constexpr qsizetype maxSharedStringLength = 256;

int widthFor(quint64 value)
{
    if (value < (1ULL << 8))
        return 1;
    if (value < (1ULL << 16))
        return 2;
    if (value < (1ULL << 32))
        return 4;
    return 8;
}

/// Appends into a buffer grown in large steps, without per-byte bookkeeping.
class Sink
{
public:
    explicit Sink(qsizetype estimate) { m_buffer.resize(qMax<qsizetype>(estimate, 64)); }

    uchar* reserve(qsizetype bytes)
    {
        if (m_size + bytes > m_buffer.size())
            m_buffer.resize(qMax(m_buffer.size() * 2, m_size + bytes));
        uchar* at = reinterpret_cast<uchar*>(m_buffer.data()) + m_size;
        m_size += bytes;
        return at;
    }
    void put(uchar byte) { *reserve(1) = byte; }
    void putUnsigned(quint64 value, int width)
    {
        uchar* at = reserve(width);
        for (int i = width - 1; i >= 0; --i, value >>= 8)
            at[i] = uchar(value & 0xFF);
    }
    void putBytes(const void* bytes, qsizetype size)
    {
        if (size > 0)
            std::memcpy(reserve(size), bytes, size_t(size));
    }
    void putMarkerWithCount(uchar high, quint64 count)
    {
        if (count < 15) {
            put(uchar(high << 4 | count));
            return;
        }
        put(uchar(high << 4 | 0x0F));
        const int width = widthFor(count);
        put(uchar(0x10 | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3)));
        putUnsigned(count, width);
    }
    qsizetype size() const { return m_size; }
    QByteArray take()
    {
        m_buffer.resize(m_size);
        return std::move(m_buffer);
    }

private:
    QByteArray m_buffer;
    qsizetype m_size = 0;
};
} // namespace

BinaryPlistWriter::Ref BinaryPlistWriter::addNode(Type type, quint64 value, quint32 count)
{
    m_nodes.push_back(Node { type, count, value });
    return Ref(m_nodes.size() - 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::addShared(Type type, quint64 value)
{
    QHash<quint64, Ref>& shared = m_sharedScalars[type == Type::Uid ? 4 : int(type)];
    const auto it = shared.constFind(value);
    if (it != shared.constEnd())
        return it.value();
    const Ref ref = addNode(type, value);
    shared.insert(value, ref);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::addBool(bool value)
{
    return addShared(Type::Bool, value ? 1 : 0);
}

BinaryPlistWriter::Ref BinaryPlistWriter::addInteger(qint64 value)
{
    return addShared(Type::Integer, quint64(value));
}

BinaryPlistWriter::Ref BinaryPlistWriter::addReal(double value, bool is32Bit)
{
    if (is32Bit) {
        const float f = float(value);
        quint32 bits;
        std::memcpy(&bits, &f, 4);
        return addShared(Type::Real32, bits);
    }
    quint64 bits;
    std::memcpy(&bits, &value, 8);
    return addShared(Type::Real64, bits);
}

BinaryPlistWriter::Ref BinaryPlistWriter::addDate(double secondsSince2001)
{
    quint64 bits;
    std::memcpy(&bits, &secondsSince2001, 8);
    return addNode(Type::Date, bits);
}

BinaryPlistWriter::Ref BinaryPlistWriter::addString(const QString& text, bool shareText)
{
    const bool share = shareText && text.size() <= maxSharedStringLength;
    if (share) {
        const auto it = m_sharedStrings.constFind(text);
        if (it != m_sharedStrings.constEnd())
            return it.value();
    }
    m_strings.push_back(text);
    const Ref ref = addNode(Type::String, m_strings.size() - 1);
    if (share)
        m_sharedStrings.insert(text, ref);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::addData(const QByteArray& bytes)
{
    m_data.push_back(bytes);
    return addNode(Type::Data, m_data.size() - 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::addUid(quint64 uid)
{
    return addShared(Type::Uid, uid);
}

BinaryPlistWriter::Ref BinaryPlistWriter::addArray(const std::vector<Ref>& items)
{
    const Ref ref = reserve();
    setArray(ref, items);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::addDictionary(const std::vector<Ref>& keys, const std::vector<Ref>& values)
{
    const Ref ref = reserve();
    setDictionary(ref, keys, values);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::reserve()
{
    return addNode(Type::Array, m_children.size(), 0);
}

void BinaryPlistWriter::setArray(Ref slot, const std::vector<Ref>& items)
{
    Node& node = m_nodes[slot];
    node.type = Type::Array;
    node.value = m_children.size();
    node.count = quint32(items.size());
    m_children.insert(m_children.end(), items.begin(), items.end());
}

void BinaryPlistWriter::setDictionary(Ref slot, const std::vector<Ref>& keys, const std::vector<Ref>& values)
{
    Node& node = m_nodes[slot];
    node.type = Type::Dictionary;
    node.value = m_children.size();
    node.count = quint32(keys.size());
    m_children.insert(m_children.end(), keys.begin(), keys.end());
    m_children.insert(m_children.end(), values.begin(), values.end());
}

QByteArray BinaryPlistWriter::write(Ref top) const
{
    // Depth-first pre-order numbering from the top object; shared scalars take
    // the place where they are first met.
    constexpr quint32 unnumbered = 0xFFFFFFFF;
    std::vector<quint32> number(m_nodes.size(), unnumbered);
    std::vector<Ref> order;
    order.reserve(m_nodes.size());
    std::vector<Ref> stack { top };
    while (!stack.empty()) {
        const Ref ref = stack.back();
        stack.pop_back();
        if (number[ref] != unnumbered)
            continue;
        number[ref] = quint32(order.size());
        order.push_back(ref);
        const Node& node = m_nodes[ref];
        const quint32 children = node.type == Type::Array ? node.count : node.type == Type::Dictionary ? 2 * node.count : 0;
        for (quint32 i = children; i > 0; --i)
            stack.push_back(m_children[size_t(node.value + i - 1)]);
    }

    const quint64 objectCount = order.size();
    const int refSize = widthFor(objectCount);
    qsizetype estimate = 64 + qsizetype(objectCount) * 16;
    for (const QString& text : m_strings)
        estimate += 2 * text.size();
    for (const QByteArray& bytes : m_data)
        estimate += bytes.size();
    Sink out(estimate);
    out.putBytes("bplist00", 8);
    std::vector<quint64> offsets;
    offsets.reserve(objectCount);

    for (const Ref ref : order) {
        offsets.push_back(quint64(out.size()));
        const Node& node = m_nodes[ref];
        switch (node.type) {
        case Type::Bool:
            out.put(node.value ? 0x09 : 0x08);
            break;
        case Type::Integer: {
            const qint64 value = qint64(node.value);
            const int width = value < 0 ? 8 : widthFor(quint64(value));
            out.put(uchar(0x10 | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3)));
            out.putUnsigned(node.value, width);
            break;
        }
        case Type::Real32:
            out.put(0x22);
            out.putUnsigned(node.value, 4);
            break;
        case Type::Real64:
            out.put(0x23);
            out.putUnsigned(node.value, 8);
            break;
        case Type::Date:
            out.put(0x33);
            out.putUnsigned(node.value, 8);
            break;
        case Type::String: {
            const QString& text = m_strings[size_t(node.value)];
            const char16_t* units = reinterpret_cast<const char16_t*>(text.utf16());
            const qsizetype length = text.size();
            bool ascii = true;
            for (qsizetype i = 0; i < length && ascii; ++i)
                ascii = units[i] < 0x80;
            if (ascii) {
                out.putMarkerWithCount(0x5, quint64(length));
                uchar* at = out.reserve(length);
                for (qsizetype i = 0; i < length; ++i)
                    at[i] = uchar(units[i]);
            } else {
                out.putMarkerWithCount(0x6, quint64(length));
                qToBigEndian<quint16>(units, length, out.reserve(2 * length));
            }
            break;
        }
        case Type::Data: {
            const QByteArray& bytes = m_data[size_t(node.value)];
            out.putMarkerWithCount(0x4, quint64(bytes.size()));
            out.putBytes(bytes.constData(), bytes.size());
            break;
        }
        case Type::Uid: {
            const int width = widthFor(node.value);
            out.put(uchar(0x80 | (width - 1)));
            out.putUnsigned(node.value, width);
            break;
        }
        case Type::Array:
        case Type::Dictionary: {
            const quint32 children = node.type == Type::Array ? node.count : 2 * node.count;
            out.putMarkerWithCount(node.type == Type::Array ? 0xA : 0xD, node.count);
            for (quint32 i = 0; i < children; ++i)
                out.putUnsigned(number[m_children[size_t(node.value + i)]], refSize);
            break;
        }
        }
    }

    const quint64 offsetTableOffset = quint64(out.size());
    const int offsetIntSize = widthFor(offsetTableOffset);
    for (const quint64 offset : offsets)
        out.putUnsigned(offset, offsetIntSize);
    const uchar zeros[6] = {};
    out.putBytes(zeros, 6);
    out.put(uchar(offsetIntSize));
    out.put(uchar(refSize));
    out.putUnsigned(objectCount, 8);
    out.putUnsigned(0, 8);
    out.putUnsigned(offsetTableOffset, 8);
    return out.take();
}
