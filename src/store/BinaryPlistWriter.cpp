#include "store/BinaryPlistWriter.h"

#include <QtEndian>

#include <cstring>

namespace {
constexpr qsizetype maxSharedStringLength = 256;
constexpr quint32 unnumbered = 0xFFFFFFFF;
constexpr quint64 denseUidLimit = 1 << 24;
constexpr BinaryPlistWriter::Ref noNode = 0xFFFFFFFF;

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

/// Bytes of a marker with a count: the count sits in the marker below 15,
/// else an integer object of its own follows.
quint64 markerSize(quint64 count)
{
    return count < 15 ? 1 : 2 + quint64(widthFor(count));
}

bool isAscii(const QString& text)
{
    // Sixteen units at a time: texts of a few kilobytes are common, and most
    // that are not ASCII show it early.
    constexpr quint64 highBits = 0xFF80FF80FF80FF80ULL;
    const char16_t* units = reinterpret_cast<const char16_t*>(text.utf16());
    const qsizetype size = text.size();
    qsizetype i = 0;
    for (; i + 16 <= size; i += 16) {
        quint64 words[4];
        std::memcpy(words, units + i, sizeof words);
        if ((words[0] | words[1] | words[2] | words[3]) & highBits)
            return false;
    }
    char16_t high = 0;
    for (; i < size; ++i)
        high |= units[i];
    return high < 0x80;
}

/// Writes @p count ASCII units as one byte each, four at a time.
void narrowAscii(const char16_t* units, qsizetype count, uchar* out)
{
    qsizetype i = 0;
    for (; Q_BYTE_ORDER == Q_LITTLE_ENDIAN && i + 4 <= count; i += 4) {
        quint64 word;
        std::memcpy(&word, units + i, 8);
        // Each unit's high byte is zero: fold the four low bytes together.
        word |= word >> 8;
        const quint32 packed = quint32((word & 0xFFFF) | ((word >> 16) & 0xFFFF0000));
        std::memcpy(out + i, &packed, 4);
    }
    for (; i < count; ++i)
        out[i] = uchar(units[i]);
}

/// Collects small pieces into large blocks for a sink.
class BufferedOutput
{
public:
    /// A buffer of up to one block, no larger than the file it is for.
    BufferedOutput(BinaryPlistWriter::Sink& sink, quint64 expectedSize)
        : m_sink(sink)
    {
        m_buffer.resize(qsizetype(qBound<quint64>(64, expectedSize, quint64(maxBlockSize))));
    }

    qsizetype capacity() const { return m_buffer.size(); }

    /// Room for @p bytes contiguous bytes (at most capacity()).
    uchar* reserve(qsizetype bytes)
    {
        if (m_used + bytes > m_buffer.size())
            flush();
        uchar* at = reinterpret_cast<uchar*>(m_buffer.data()) + m_used;
        m_used += bytes;
        m_written += quint64(bytes);
        return at;
    }
    void put(uchar byte) { *reserve(1) = byte; }
    void putUnsigned(quint64 value, int width)
    {
        uchar* at = reserve(width);
        for (int i = width - 1; i >= 0; --i, value >>= 8)
            at[i] = uchar(value & 0xFF);
    }
    void putBytes(const char* bytes, qsizetype size)
    {
        while (size > 0) {
            const qsizetype piece = qMin<qsizetype>(size, capacity());
            std::memcpy(reserve(piece), bytes, size_t(piece));
            bytes += piece;
            size -= piece;
        }
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
    /// Hands what is buffered to the sink; false once the sink failed.
    bool flush()
    {
        if (m_used > 0 && m_ok)
            m_ok = m_sink.append(m_buffer.constData(), m_used);
        m_used = 0;
        return m_ok;
    }
    /// Passes bytes written directly to the sink by someone else.
    void account(quint64 bytes) { m_written += bytes; }
    quint64 written() const { return m_written; }
    bool ok() const { return m_ok; }

    static constexpr qsizetype maxBlockSize = 1 << 20;

private:
    BinaryPlistWriter::Sink& m_sink;
    QByteArray m_buffer;
    qsizetype m_used = 0;
    quint64 m_written = 0;
    bool m_ok = true;
};

class ByteArraySink : public BinaryPlistWriter::Sink
{
public:
    explicit ByteArraySink(QByteArray& bytes)
        : m_bytes(bytes)
    {
    }
    bool append(const char* data, qint64 size) override
    {
        m_bytes.append(data, size);
        return true;
    }

private:
    QByteArray& m_bytes;
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
    m_stringIsAscii.push_back(isAscii(text));
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

BinaryPlistWriter::Ref BinaryPlistWriter::addDeferredData(qint64 size)
{
    return addNode(Type::DeferredData, quint64(size));
}

BinaryPlistWriter::Ref BinaryPlistWriter::addUid(quint64 uid)
{
    if (uid >= denseUidLimit)
        return addShared(Type::Uid, uid);
    if (uid >= m_uidNodes.size())
        m_uidNodes.resize(size_t(uid) + 1 + m_uidNodes.size() / 2, noNode);
    Ref& node = m_uidNodes[size_t(uid)];
    if (node == noNode)
        node = addNode(Type::Uid, uid);
    return node;
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

BinaryPlistWriter::Ref BinaryPlistWriter::addArray(const Ref* items, quint32 count)
{
    const Ref ref = addNode(Type::Array, m_children.size(), count);
    m_children.insert(m_children.end(), items, items + count);
    return ref;
}

void BinaryPlistWriter::setDictionary(Ref slot, const std::vector<Ref>& keys, const std::vector<Ref>& values)
{
    setDictionary(slot, keys.data(), values.data(), quint32(keys.size()));
}

void BinaryPlistWriter::setDictionary(Ref slot, const Ref* keys, const Ref* values, quint32 count)
{
    Node& node = m_nodes[slot];
    node.type = Type::Dictionary;
    node.value = m_children.size();
    node.count = count;
    m_children.insert(m_children.end(), keys, keys + count);
    m_children.insert(m_children.end(), values, values + count);
}

bool BinaryPlistWriter::isAsciiString(const Node& node) const
{
    return m_stringIsAscii[size_t(node.value)];
}

quint64 BinaryPlistWriter::encodedSize(const Node& node, int refSize) const
{
    switch (node.type) {
    case Type::Bool:
        return 1;
    case Type::Integer: {
        const qint64 value = qint64(node.value);
        return 1 + quint64(value < 0 ? 8 : widthFor(quint64(value)));
    }
    case Type::Real32:
        return 5;
    case Type::Real64:
    case Type::Date:
        return 9;
    case Type::String: {
        const quint64 length = quint64(m_strings[size_t(node.value)].size());
        return markerSize(length) + (isAsciiString(node) ? length : 2 * length);
    }
    case Type::Data: {
        const quint64 size = quint64(m_data[size_t(node.value)].size());
        return markerSize(size) + size;
    }
    case Type::DeferredData:
        return markerSize(node.value) + node.value;
    case Type::Uid:
        return 1 + quint64(widthFor(node.value));
    case Type::Array:
        return markerSize(node.count) + quint64(node.count) * quint64(refSize);
    case Type::Dictionary:
        return markerSize(node.count) + 2 * quint64(node.count) * quint64(refSize);
    }
    return 0;
}

BinaryPlistWriter::Layout BinaryPlistWriter::layout(Ref top) const
{
    // Depth-first pre-order numbering from the top object; shared scalars take
    // the place where they are first met.
    Layout result;
    result.top = top;
    result.number.assign(m_nodes.size(), unnumbered);
    result.order.reserve(m_nodes.size());
    std::vector<Ref> stack { top };
    while (!stack.empty()) {
        const Ref ref = stack.back();
        stack.pop_back();
        if (result.number[ref] != unnumbered)
            continue;
        result.number[ref] = quint32(result.order.size());
        result.order.push_back(ref);
        const Node& node = m_nodes[ref];
        const quint32 children = node.type == Type::Array ? node.count : node.type == Type::Dictionary ? 2 * node.count : 0;
        for (quint32 i = children; i > 0; --i)
            stack.push_back(m_children[size_t(node.value + i - 1)]);
    }
    result.refSize = widthFor(result.order.size());
    quint64 offset = 8; // "bplist00"
    for (const Ref ref : result.order)
        offset += encodedSize(m_nodes[ref], result.refSize);
    result.offsetTableOffset = offset;
    result.offsetIntSize = widthFor(offset);
    result.totalSize = offset + quint64(result.order.size()) * quint64(result.offsetIntSize) + 32;
    return result;
}

bool BinaryPlistWriter::writeTo(const Layout& layout, Sink& sink, const std::function<bool(Sink&)>& deferredData,
    Ref deferredStringRef, const std::function<QString()>& deferredString) const
{
    BufferedOutput out(sink, layout.totalSize);
    out.putBytes("bplist00", 8);
    std::vector<quint64> offsets;
    offsets.reserve(layout.order.size());

    for (const Ref ref : layout.order) {
        offsets.push_back(out.written());
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
            const QString text = deferredString && ref == deferredStringRef ? deferredString() : m_strings[size_t(node.value)];
            const qsizetype length = m_strings[size_t(node.value)].size();
            if (text.size() != length || (isAsciiString(node) && !isAscii(text)))
                return false; // a late text must keep the layout it was given
            const char16_t* units = reinterpret_cast<const char16_t*>(text.utf16());
            const bool ascii = isAsciiString(node);
            out.putMarkerWithCount(ascii ? 0x5 : 0x6, quint64(length));
            // In pieces, so a long text never needs a buffer of its own size.
            for (qsizetype done = 0; done < length;) {
                const qsizetype piece = qMin<qsizetype>(length - done, out.capacity() / 2);
                if (ascii) {
                    narrowAscii(units + done, piece, out.reserve(piece));
                } else {
                    qToBigEndian<quint16>(units + done, piece, out.reserve(2 * piece));
                }
                done += piece;
            }
            break;
        }
        case Type::Data: {
            const QByteArray& bytes = m_data[size_t(node.value)];
            out.putMarkerWithCount(0x4, quint64(bytes.size()));
            out.putBytes(bytes.constData(), bytes.size());
            break;
        }
        case Type::DeferredData: {
            out.putMarkerWithCount(0x4, node.value);
            if (!out.flush() || !deferredData || !deferredData(sink))
                return false;
            out.account(node.value);
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
                out.putUnsigned(layout.number[m_children[size_t(node.value + i)]], layout.refSize);
            break;
        }
        }
    }

    for (const quint64 offset : offsets)
        out.putUnsigned(offset, layout.offsetIntSize);
    const char zeros[6] = {};
    out.putBytes(zeros, 6);
    out.put(uchar(layout.offsetIntSize));
    out.put(uchar(layout.refSize));
    out.putUnsigned(layout.order.size(), 8);
    out.putUnsigned(0, 8);
    out.putUnsigned(layout.offsetTableOffset, 8);
    return out.flush() && out.written() == layout.totalSize;
}

QByteArray BinaryPlistWriter::write(Ref top) const
{
    const Layout plan = layout(top);
    QByteArray bytes;
    bytes.reserve(qsizetype(plan.totalSize));
    ByteArraySink sink(bytes);
    return writeTo(plan, sink) ? bytes : QByteArray();
}
