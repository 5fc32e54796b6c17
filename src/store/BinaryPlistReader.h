#pragma once

#include <QByteArray>
#include <QString>

/// Reads a binary property list ("bplist00") in place, object by object, with
/// the structural checks of the reference reader: a damaged trailer, offsets
/// out of range or counts that run past the object area are errors, never
/// out-of-bounds reads. Objects are parsed on demand, so unreferenced objects
/// cost nothing and widths of 1 to 8 bytes (including 3) are all accepted.
class BinaryPlistReader
{
public:
    enum class Type : quint8 {
        Invalid, Null, Bool, Integer, Real, Date, Data, AsciiString, Utf16String, Utf8String, Uid, Array, Set, Dictionary
    };

    /// The header of one object: its type, element count and where its payload starts.
    struct Object
    {
        Type type = Type::Invalid;
        quint64 count = 0;      ///< bytes, characters, UTF-16 units, elements or entries
        qsizetype payload = 0;  ///< file offset of the payload
        quint8 width = 0;       ///< bytes of an integer, real or UID
        bool boolean = false;
    };

    bool open(const QByteArray& bytes);
    QString errorString() const { return m_error; }

    quint64 objectCount() const { return m_objectCount; }
    quint64 topObject() const { return m_topObject; }

    /// File offset of object `index` (below objectCount()). Several indexes
    /// may name the same offset, that is the same stored object.
    qsizetype offsetOf(quint64 index) const;

    /// Parses the header of object `index`; false (with errorString) when it is damaged.
    bool object(quint64 index, Object* out) const;

    qint64 integerValue(const Object& object) const;
    double realValue(const Object& object) const;   ///< also for dates
    QString stringValue(const Object& object) const; ///< any of the three string types
    QByteArray dataValue(const Object& object) const;
    /// The bytes without a copy, valid while the reader's input lives.
    QByteArray dataView(const Object& object) const;
    quint64 uidValue(const Object& object) const;
    /// Element i of an array or set; for a dictionary, keys are 0..count-1 and
    /// values count..2*count-1.
    quint64 ref(const Object& container, quint64 i) const;

    static bool isString(Type type) { return type == Type::AsciiString || type == Type::Utf16String || type == Type::Utf8String; }

private:
    quint64 readUnsigned(qsizetype offset, int width) const;
    bool fail(const QString& message) const;

    QByteArray m_bytes;
    const uchar* m_data = nullptr;
    quint64 m_objectCount = 0;
    quint64 m_topObject = 0;
    quint64 m_offsetTableOffset = 0;
    int m_offsetIntSize = 0;
    int m_refSize = 0;
    mutable QString m_error;
};
