#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

/// Builds a binary property list ("bplist00") in the layout of the newer
/// reference writer: objects in depth-first pre-order from the top object (a
/// dictionary's keys, then its values), references and offsets 1, 2, 4 or 8
/// bytes wide, integers in their smallest width (negative ones in 8 bytes),
/// reals in the width they were given, strings in ASCII when possible and
/// UTF-16BE otherwise. Short strings, numbers and UIDs are shared; containers
/// never are.
class BinaryPlistWriter
{
public:
    using Ref = quint32;

    Ref addBool(bool value);
    Ref addInteger(qint64 value);
    Ref addReal(double value, bool is32Bit);
    Ref addDate(double secondsSince2001);
    /// Short texts are shared unless the caller has shared them already.
    Ref addString(const QString& text, bool share = true);
    Ref addData(const QByteArray& bytes);
    Ref addUid(quint64 uid);
    Ref addArray(const std::vector<Ref>& items);
    Ref addDictionary(const std::vector<Ref>& keys, const std::vector<Ref>& values);

    /// A container whose contents are given later (for objects that must be
    /// placed before their children are known).
    Ref reserve();
    void setArray(Ref slot, const std::vector<Ref>& items);
    void setDictionary(Ref slot, const std::vector<Ref>& keys, const std::vector<Ref>& values);

    /// The finished file with `top` as its top object.
    QByteArray write(Ref top) const;

private:
    enum class Type : quint8 { Bool, Integer, Real32, Real64, Date, String, Data, Uid, Array, Dictionary };
    struct Node
    {
        Type type;
        quint32 count = 0;  ///< elements (array) or entries (dictionary)
        quint64 value = 0;  ///< scalar bits, index into m_strings/m_data, or start in m_children
    };

    Ref addNode(Type type, quint64 value, quint32 count = 0);
    Ref addShared(Type type, quint64 value);

    std::vector<Node> m_nodes;
    std::vector<Ref> m_children;
    std::vector<QString> m_strings;
    std::vector<QByteArray> m_data;
    QHash<QString, Ref> m_sharedStrings;
    QHash<quint64, Ref> m_sharedScalars[5]; ///< per type: bool, integer, real32, real64, uid
};
