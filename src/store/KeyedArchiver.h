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
class KeyedArchiver
{
public:
    /// Where the fields of an archive object are read: a snapshot taken
    /// earlier, so that encoding on another thread sees one consistent state.
    class FieldSource
    {
    public:
        virtual ~FieldSource() = default;
        virtual const FieldValues& fieldsOf(const QuillarcDatabaseObject& object) const = 0;
    };

    /// Objects' fields are read from @p fields when given, else from the objects.
    static QByteArray archivedDataWithRootObject(const Value& root, const FieldSource* fields = nullptr);

private:
    using Ref = BinaryPlistWriter::Ref;

    quint64 encode(const Value& value);
    quint64 appendSlot(Ref ref);
    quint64 reserveSlot();
    quint64 classUid(const QString& className, const QStringList& chain);
    void finishRecord(quint64 uid, std::vector<Ref>& keys, std::vector<Ref>& values, const QString& className,
        const QStringList& chain);
    void finishContainerRecord(quint64 uid, std::vector<Ref>& keys, std::vector<Ref>& values, const QString& immutableName,
        bool isMutable);
    QByteArray finish(quint64 rootUid);

    const FieldSource* m_fields = nullptr;
    BinaryPlistWriter m_writer;
    // Keys every record repeats, added once.
    Ref m_classKey = 0;
    Ref m_timeKey = 0;
    Ref m_keysKey = 0;
    Ref m_objectsKey = 0;
    std::vector<Ref> m_objects;
    const std::vector<Ref>& fieldKeys(const class ClassInfo& info);

    QHash<const void*, quint64> m_objectUids;
    QHash<const void*, std::vector<Ref>> m_fieldKeys; ///< per class, its coding keys as written
    QHash<QString, quint64> m_classUids;
    QHash<QString, quint64> m_stringUids;
    QHash<quint64, quint64> m_numberUids[4]; ///< bool, integer, real32, real64 by bits
};
