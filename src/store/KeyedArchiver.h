#pragma once

#include "model/QuillarcDatabaseObject.h"
#include "store/BinaryPlistWriter.h"

#include <QHash>

/// Encodes a value tree as a keyed archive in a binary property list, the way
/// the reference archiver lays it out: "$archiver", "$version" 100000,
/// "$top" {"root": UID}, "$objects" starting with "$null", one class
/// description per class, nil as UID 0. Texts, numbers and bytes sit inline in
/// "$objects"; dates, lists, dictionaries and archive objects are object
/// records. An archive object referenced twice is stored once.
///
/// archivedDataWithRootObject() gives the bytes at once. For a large archive
/// the encoder can instead leave the finished graph in writer(), to be
/// streamed into a file, with one data value and one text supplied only then.
class KeyedArchiver
{
public:
    using Ref = BinaryPlistWriter::Ref;

    /// Where the fields of an archive object are read: a snapshot taken
    /// earlier, so that encoding on another thread sees one consistent state.
    class FieldSource
    {
    public:
        virtual ~FieldSource() = default;
        /// nullptr for an object the source does not hold.
        virtual const FieldValues* fieldsOf(const QuillarcDatabaseObject& object) const = 0;
    };

    /// Objects' fields are read from @p fields when given, else from the
    /// objects. Empty, with @p error set, when @p fields lacks an object.
    static QByteArray archivedDataWithRootObject(const Value& root, const FieldSource* fields = nullptr, QString* error = nullptr);

    explicit KeyedArchiver(const FieldSource* fields = nullptr);

    /// A data value sharing the bytes of @p marker stands for @p size bytes
    /// that are written later, straight into their place (BinaryPlistWriter::writeTo).
    void setDeferredData(const QByteArray& marker, qint64 size);
    /// A text sharing @p marker is a placeholder of the same length whose
    /// real text is given while writing; deferredStringNode() names it.
    void setDeferredString(const QString& marker);
    Ref deferredStringNode() const { return m_deferredStringNode; }

    /// Encodes the archive of @p root into writer() and returns its top
    /// object; errorString() tells when the fields of an object were missing.
    Ref archive(const Value& root);
    const BinaryPlistWriter& writer() const { return m_writer; }
    QString errorString() const { return m_errorString; }

private:
    /// Classes of the platform that records are written with.
    enum PlatformClass { NSDate, NSArray, NSMutableArray, NSDictionary, NSMutableDictionary, PlatformClassCount };
    /// What a model class needs written once: its description and its coding keys.
    struct ModelClass
    {
        quint64 uid = 0;
        std::vector<Ref> keys; ///< the coding keys, then "$class"
    };

    quint64 encode(const Value& value);
    quint64 encodeString(const QString& text);
    quint64 encodeNumber(const Value& value);
    quint64 encodeObject(const ObjectPtr& object);
    /// Reserves the record of a list or dictionary, or finds the one it
    /// already has (true): shared containers that lead further are stored once.
    bool knownContainer(const Value& container, quint64* uid);
    quint64 appendSlot(Ref ref);
    quint64 reserveSlot();
    quint64 classDescription(const QString& className, const QStringList& chain);
    quint64 platformClass(PlatformClass which);
    ModelClass& modelClass(const ClassInfo& info);
    /// Fills a reserved record with @p count keys and values, "$class" last.
    void finishRecord(quint64 uid, const Ref* keys, const Ref* values, quint32 count);

    const FieldSource* m_fields = nullptr;
    QString m_errorString;
    BinaryPlistWriter m_writer;
    // Keys every record repeats, added once.
    Ref m_classKey = 0;
    Ref m_timeKey = 0;
    Ref m_keysKey = 0;
    Ref m_objectsKey = 0;
    std::vector<Ref> m_objects;
    std::vector<Ref> m_scratch; ///< references of records being built, nested records above their parents

    QByteArray m_deferredData;
    qint64 m_deferredSize = -1;
    QString m_deferredString;
    Ref m_deferredStringNode = 0;

    quint64 m_platformClasses[PlatformClassCount] = {};
    QHash<const ClassInfo*, ModelClass> m_modelClasses;
    QHash<const void*, quint64> m_objectUids;
    QHash<quintptr, quint64> m_containerUids; ///< by storage, mutability in the lowest bit
    QHash<QString, quint64> m_stringUids;
    QHash<quint64, quint64> m_numberUids[4]; ///< bool, integer, real32, real64 by bits
};
