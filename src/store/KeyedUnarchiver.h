#pragma once

#include "model/Value.h"
#include "store/ArchiveClass.h"
#include "store/BinaryPlistReader.h"
#include "store/DecodeLedger.h"

#include <QHash>

/// Decodes a keyed archive (binary or XML property list) into a value tree.
///
/// Strict about structure, tolerant about content: damaged files, records
/// without a class, bare lists in "$objects", references past the end or at a
/// class description, unknown class names, objects that contain themselves and
/// nesting deeper than maxDepth are errors; unknown keys are ignored, missing
/// keys and UID 0 are nil, and a field of the wrong kind reads as nil with a
/// log line.
///
/// Every stored object is decoded once, however many UIDs, object indexes or
/// records lead to it: a value referenced twice is the same value (lists and
/// dictionaries share their storage, archive objects are one object). The
/// work is also counted, and a file that asks for more than workPerByte units
/// per byte (objects that overlap each other's bytes can) is refused, so any
/// input decodes in time linear in its size.
class KeyedUnarchiver
{
public:
    /// Deepest nesting of records accepted. Real archives nest about a dozen
    /// levels (database, container, groups, documents, properties); the limit
    /// leaves room for nested properties while the decoder's recursion stays
    /// near 300 KB of stack, far below what any thread is given.
    static constexpr int maxDepth = 256;
    /// Keys scanned, list entries visited and characters converted per byte of
    /// input, at most. Archives written here need about half a unit per byte.
    static constexpr qint64 workPerByte = 16;

    bool decode(const QByteArray& bytes);
    const Value& root() const { return m_root; }
    QString errorString() const { return m_error; }

    /// Bytes values then point into the input instead of being copied; the
    /// caller keeps the input alive while it uses them (validation hashes
    /// members this way without a second copy).
    void setDataAsView(bool view) { m_dataAsView = view; }

    /// Distinct stored objects the last decode() turned into values.
    int decodedObjectCount() const { return m_ledger.valueCount(); }
    /// Work units the last decode() spent (see workPerByte).
    qint64 workCount() const { return m_ledger.work(); }

    /// The root object, or nil with the reason in `error`.
    static Value unarchiveObjectWithData(const QByteArray& bytes, QString* error = nullptr);

private:
    using Object = BinaryPlistReader::Object;
    using State = DecodeLedger::State;

    bool spend(qint64 work);
    bool decodeUid(quint64 uid, Value* out, int depth);
    bool decodeRecord(const Object& record, Value* out, int depth);
    bool decodePlatformValue(const Object& record, const ArchiveClass& entry, Value* out);
    bool decodeContainer(const Object& record, const ArchiveClass& entry, Value* out, int depth);
    bool decodeModelObject(const Object& record, const ArchiveClass& entry, Value* out, int depth);
    bool findList(const Object& record, QLatin1StringView key, Object* list, quint64* index);
    bool decodeList(const Object& list, quint64 index, QLatin1StringView key, ValueList* out, int depth);
    /// The value stored under `key` in a property-list dictionary; false when
    /// the key is missing or (with the error set) the value is damaged.
    bool recordValue(const Object& record, QLatin1StringView key, Object* value, quint64* index = nullptr);
    bool uidOf(const Object& object, quint64* uid) const;
    bool classOf(quint64 classUid, ArchiveClass* entry);
    QString keyAt(const Object& dictionary, quint64 i, quint64* keyIndex);
    int fieldIndex(quint64 keyIndex, const QString& key, const ClassInfo* info);
    /// The value of an inline text, number, date or bytes object; nil for anything else.
    Value plainValue(const Object& object, quint64 index);
    bool fail(const QString& message);

    BinaryPlistReader m_reader;
    std::vector<quint64> m_objectRefs; ///< "$objects": UID -> property-list object index
    DecodeLedger m_ledger;
    // Memos by slot (see DecodeLedger): keys, class descriptions, and
    // dictionaries by their key and value lists.
    QHash<quint64, QString> m_keyStrings;
    QHash<quint64, ArchiveClass> m_classes;
    QHash<QPair<quint64, const ClassInfo*>, int> m_fieldIndexes;
    QHash<QPair<quint64, quint64>, ValueMap> m_maps;
    Value m_root;
    bool m_dataAsView = false;
    QString m_error;
};
