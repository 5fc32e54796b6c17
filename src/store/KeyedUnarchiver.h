#pragma once

#include "model/Value.h"
#include "store/BinaryPlistReader.h"

#include <QHash>
#include <QSet>

/// Decodes a keyed archive (binary or XML property list) into a value tree.
///
/// Strict about structure, tolerant about content: damaged files, records
/// without a class, bare lists in "$objects", references past the end or at a
/// class description, unknown class names and containers that contain
/// themselves are errors; unknown keys are ignored, missing keys and UID 0 are
/// nil, and a field of the wrong kind reads as nil with a log line. Archive
/// objects are memoized by UID, so shared references stay shared.
class KeyedUnarchiver
{
public:
    bool decode(const QByteArray& bytes);
    const Value& root() const { return m_root; }
    QString errorString() const { return m_error; }

    /// Bytes values then point into the input instead of being copied; the
    /// caller keeps the input alive while it uses them (validation hashes
    /// members this way without a second copy).
    void setDataAsView(bool view) { m_dataAsView = view; }

    /// The root object, or nil with the reason in `error`.
    static Value unarchiveObjectWithData(const QByteArray& bytes, QString* error = nullptr);

private:
    using Object = BinaryPlistReader::Object;

    bool decodeUid(quint64 uid, Value* out, int depth);
    bool decodeRecord(quint64 uid, const Object& record, Value* out, int depth);
    bool decodeModelObject(quint64 uid, const Object& record, const QString& className, Value* out, int depth);
    bool recordValue(const Object& record, const QString& key, Object* value);
    bool uidOf(const Object& object, quint64* uid);
    bool uidList(const Object& record, const QString& key, std::vector<quint64>* uids);
    bool className(quint64 classUid, QString* name);
    QString keyAt(const Object& dictionary, quint64 i);
    bool fail(const QString& message);
    QByteArray dataOf(const Object& object) const;

    BinaryPlistReader m_reader;
    std::vector<quint64> m_objectRefs; ///< "$objects": UID -> property-list object
    QHash<quint64, ObjectPtr> m_decodedObjects;
    QHash<quint64, QString> m_keyStrings; ///< key texts by property-list object
    QHash<quint64, QString> m_classNames;  ///< class names by class-description UID
    QSet<quint64> m_inProgress;
    Value m_root;
    bool m_dataAsView = false;
    QString m_error;
};
