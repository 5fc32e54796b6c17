#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <vector>

/// Builds a binary property list ("bplist00") in the layout of the newer
/// reference writer: objects in depth-first pre-order from the top object (a
/// dictionary's keys, then its values), references and offsets 1, 2, 4 or 8
/// bytes wide, integers in their smallest width (negative ones in 8 bytes),
/// reals in the width they were given, strings in ASCII when possible and
/// UTF-16BE otherwise. Short strings, numbers and UIDs are shared; containers
/// never are.
///
/// The bytes can be had in one piece (write()) or streamed into a Sink after
/// the layout is known (layout(), writeTo()): a large archive is then never
/// held in memory, and one data object may be supplied only while writing.
class BinaryPlistWriter
{
public:
    using Ref = quint32;

    /// Where streamed bytes go, in large pieces and in order.
    class Sink
    {
    public:
        virtual ~Sink() = default;
        virtual bool append(const char* data, qint64 size) = 0;
    };

    /// Object order, reference and offset widths and the total size of a file.
    struct Layout
    {
        Ref top = 0;
        std::vector<Ref> order;      ///< nodes in file order
        std::vector<quint32> number; ///< per node: its object number, or unnumbered
        int refSize = 1;
        int offsetIntSize = 1;
        quint64 offsetTableOffset = 0;
        quint64 totalSize = 0;
    };

    Ref addBool(bool value);
    Ref addInteger(qint64 value);
    Ref addReal(double value, bool is32Bit);
    Ref addDate(double secondsSince2001);
    /// Short texts are shared unless the caller has shared them already.
    Ref addString(const QString& text, bool share = true);
    Ref addData(const QByteArray& bytes);
    /// A data object of @p size bytes that writeTo() asks its caller for.
    Ref addDeferredData(qint64 size);
    Ref addUid(quint64 uid);
    Ref addArray(const std::vector<Ref>& items);
    Ref addDictionary(const std::vector<Ref>& keys, const std::vector<Ref>& values);

    /// A container whose contents are given later (for objects that must be
    /// placed before their children are known).
    Ref reserve();
    void setArray(Ref slot, const std::vector<Ref>& items);
    void setDictionary(Ref slot, const std::vector<Ref>& keys, const std::vector<Ref>& values);
    /// The same from plain arrays, for callers that keep their own scratch space.
    Ref addArray(const Ref* items, quint32 count);
    void setDictionary(Ref slot, const Ref* keys, const Ref* values, quint32 count);

    /// The finished file with `top` as its top object.
    QByteArray write(Ref top) const;

    /// Orders the objects below `top` and works out every width and the size.
    Layout layout(Ref top) const;
    /// Streams the file of a layout. @p deferredData writes the bytes of the
    /// deferred data object (exactly its size) when its place is reached;
    /// @p deferredString, when set, replaces the text of @p deferredStringRef
    /// at the moment it is written (same length and ASCII, so the layout holds).
    bool writeTo(const Layout& layout, Sink& sink, const std::function<bool(Sink&)>& deferredData = {},
        Ref deferredStringRef = 0, const std::function<QString()>& deferredString = {}) const;

private:
    enum class Type : quint8 { Bool, Integer, Real32, Real64, Date, String, Data, DeferredData, Uid, Array, Dictionary };
    struct Node
    {
        Type type;
        quint32 count = 0;  ///< elements (array) or entries (dictionary)
        quint64 value = 0;  ///< scalar bits, index into m_strings/m_data, size, or start in m_children
    };

    Ref addNode(Type type, quint64 value, quint32 count = 0);
    Ref addShared(Type type, quint64 value);
    /// Bytes the node takes in the file with references of @p refSize bytes.
    quint64 encodedSize(const Node& node, int refSize) const;
    bool isAsciiString(const Node& node) const;

    std::vector<Node> m_nodes;
    std::vector<Ref> m_children;
    std::vector<QString> m_strings;
    std::vector<bool> m_stringIsAscii; ///< per entry of m_strings, found when added
    std::vector<QByteArray> m_data;
    QHash<QString, Ref> m_sharedStrings;
    QHash<quint64, Ref> m_sharedScalars[5]; ///< per type: bool, integer, real32, real64, large UIDs
    std::vector<Ref> m_uidNodes;            ///< UIDs are mostly small and dense: their nodes by value
};
