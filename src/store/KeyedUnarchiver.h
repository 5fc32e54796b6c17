#pragma once

#include "model/Value.h"
#include "store/BinaryPlistReader.h"

#include <QHash>
#include <QSet>

class ClassInfo;

/// Decodes a keyed archive (binary or XML property list) into a value tree.
///
/// Strict about structure, tolerant about content: damaged files, records
/// without a class, bare lists in "$objects", references past the end or at a
/// class description, unknown class names, objects that contain themselves and
/// nesting deeper than maxDepth are errors; unknown keys are ignored, missing
/// keys and UID 0 are nil, and a field of the wrong kind reads as nil with a
/// log line.
///
/// Every stored object is decoded once, however many UIDs or object indexes
/// lead to it: a value referenced twice is the same value (lists and
/// dictionaries share their storage, archive objects are one object), so the
/// work stays proportional to the file's size even when references repeat.
class KeyedUnarchiver
{
public:
    /// Deepest nesting accepted. Real archives nest about a dozen levels
    /// (database, container, groups, documents, properties); the limit leaves
    /// room for nested properties while keeping the decoder's recursion far
    /// from the end of any thread's stack.
    static constexpr int maxDepth = 256;

    bool decode(const QByteArray& bytes);
    const Value& root() const { return m_root; }
    QString errorString() const { return m_error; }

    /// Bytes values then point into the input instead of being copied; the
    /// caller keeps the input alive while it uses them (validation hashes
    /// members this way without a second copy).
    void setDataAsView(bool view) { m_dataAsView = view; }

    /// Distinct stored objects the last decode() turned into values.
    int decodedObjectCount() const { return int(m_values.size()); }
    /// References, keys and list entries the last decode() visited.
    qint64 stepCount() const { return m_steps; }

    /// The root object, or nil with the reason in `error`.
    static Value unarchiveObjectWithData(const QByteArray& bytes, QString* error = nullptr);

private:
    using Object = BinaryPlistReader::Object;

    /// What a class description names, resolved once per description.
    struct ClassEntry
    {
        enum Kind : quint8 { Model, Date, Array, Dictionary, String, Data, Number, Unknown };
        QString name;
        Kind kind = Unknown;
        bool isMutable = false;
        const ClassInfo* info = nullptr;
    };

    bool decodeUid(quint64 uid, Value* out, int depth);
    bool decodeRecord(const Object& record, Value* out, int depth);
    bool decodeContainer(const Object& record, const ClassEntry& entry, Value* out, int depth);
    bool decodeModelObject(const Object& record, const ClassEntry& entry, Value* out, int depth);
    bool findList(const Object& record, QLatin1StringView key, Object* list);
    bool decodeList(const Object& list, QLatin1StringView key, ValueList* out, int depth);
    bool recordValue(const Object& record, QLatin1StringView key, Object* value);
    bool uidOf(const Object& object, quint64* uid) const;
    bool classOf(quint64 classUid, ClassEntry* entry);
    QString keyAt(const Object& dictionary, quint64 i, qsizetype* keyOffset);
    int fieldIndex(qsizetype keyOffset, const QString& key, const ClassInfo* info);
    /// The value of an inline text, number, date or bytes object; nil for anything else.
    Value plainValue(const Object& object);
    bool fail(const QString& message);

    BinaryPlistReader m_reader;
    std::vector<quint64> m_objectRefs; ///< "$objects": UID -> property-list object
    // Memos keyed by the stored object's file offset, so references that repeat
    // (by UID, by object index or through a shared list) cost one lookup.
    QHash<qsizetype, Value> m_values;
    QSet<qsizetype> m_inProgress;                          ///< records being decoded: meeting one again is a cycle
    QHash<qsizetype, ValueList> m_lists;                   ///< decoded UID lists
    QHash<QPair<qsizetype, qsizetype>, ValueMap> m_maps;   ///< dictionaries by their key and value lists
    QHash<qsizetype, QString> m_keyStrings;                ///< key texts
    QHash<qsizetype, ClassEntry> m_classes;                ///< class descriptions
    QHash<QPair<qsizetype, const ClassInfo*>, int> m_fieldIndexes;
    qint64 m_steps = 0;
    Value m_root;
    bool m_dataAsView = false;
    QString m_error;
};
