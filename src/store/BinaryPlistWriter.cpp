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

void appendUnsigned(QByteArray& out, quint64 value, int width)
{
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        out.append(char((value >> shift) & 0xFF));
}

void appendMarkerWithCount(QByteArray& out, uchar high, quint64 count)
{
    if (count < 15) {
        out.append(char(high << 4 | count));
        return;
    }
    out.append(char(high << 4 | 0x0F));
    const int width = widthFor(count);
    out.append(char(0x10 | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3)));
    appendUnsigned(out, count, width);
}

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

BinaryPlistWriter::Ref BinaryPlistWriter::addString(const QString& text)
{
    const bool share = text.size() <= maxSharedStringLength;
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
    QByteArray out;
    out.reserve(qsizetype(64 + objectCount * 8));
    out.append("bplist00", 8);
    std::vector<quint64> offsets;
    offsets.reserve(objectCount);

    for (const Ref ref : order) {
        offsets.push_back(quint64(out.size()));
        const Node& node = m_nodes[ref];
        switch (node.type) {
        case Type::Bool:
            out.append(char(node.value ? 0x09 : 0x08));
            break;
        case Type::Integer: {
            const qint64 value = qint64(node.value);
            const int width = value < 0 ? 8 : widthFor(quint64(value));
            out.append(char(0x10 | (width == 1 ? 0 : width == 2 ? 1 : width == 4 ? 2 : 3)));
            appendUnsigned(out, node.value, width);
            break;
        }
        case Type::Real32:
            out.append(char(0x22));
            appendUnsigned(out, node.value, 4);
            break;
        case Type::Real64:
            out.append(char(0x23));
            appendUnsigned(out, node.value, 8);
            break;
        case Type::Date:
            out.append(char(0x33));
            appendUnsigned(out, node.value, 8);
            break;
        case Type::String: {
            const QString& text = m_strings[size_t(node.value)];
            bool ascii = true;
            for (const QChar c : text) {
                if (c.unicode() >= 0x80) {
                    ascii = false;
                    break;
                }
            }
            if (ascii) {
                appendMarkerWithCount(out, 0x5, quint64(text.size()));
                out.append(text.toLatin1());
            } else {
                appendMarkerWithCount(out, 0x6, quint64(text.size()));
                const qsizetype start = out.size();
                out.resize(start + 2 * text.size());
                char* dst = out.data() + start;
                for (qsizetype i = 0; i < text.size(); ++i)
                    qToBigEndian<quint16>(text.at(i).unicode(), dst + 2 * i);
            }
            break;
        }
        case Type::Data: {
            const QByteArray& bytes = m_data[size_t(node.value)];
            appendMarkerWithCount(out, 0x4, quint64(bytes.size()));
            out.append(bytes);
            break;
        }
        case Type::Uid: {
            const int width = widthFor(node.value);
            out.append(char(0x80 | (width - 1)));
            appendUnsigned(out, node.value, width);
            break;
        }
        case Type::Array:
        case Type::Dictionary: {
            const quint32 children = node.type == Type::Array ? node.count : 2 * node.count;
            appendMarkerWithCount(out, node.type == Type::Array ? 0xA : 0xD, node.count);
            for (quint32 i = 0; i < children; ++i)
                appendUnsigned(out, number[m_children[size_t(node.value + i)]], refSize);
            break;
        }
        }
    }

    const quint64 offsetTableOffset = quint64(out.size());
    const int offsetIntSize = widthFor(offsetTableOffset);
    for (const quint64 offset : offsets)
        appendUnsigned(out, offset, offsetIntSize);
    out.append(QByteArray(6, '\0'));
    out.append(char(offsetIntSize));
    out.append(char(refSize));
    appendUnsigned(out, objectCount, 8);
    appendUnsigned(out, 0, 8);
    appendUnsigned(out, offsetTableOffset, 8);
    return out;
}
