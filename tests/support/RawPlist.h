#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

/// Writes binary property lists object by object with the widths and order a
/// test chooses, so tests can reproduce what other archivers write (3-byte
/// references, breadth-first order, orphans, a top object other than 0) and
/// damage it on purpose. References are indexes into the object list.
class RawPlist
{
public:
    int add(const QByteArray& encodedObject) { m_objects.append(encodedObject); return int(m_objects.size() - 1); }
    /// Placeholder for an object whose children are known later.
    int reserve() { return add(QByteArray()); }
    void set(int index, const QByteArray& encodedObject) { m_objects[index] = encodedObject; }
    /// A second object index whose offset-table entry points at object
    /// `index`, or `delta` bytes into it (objects that overlap).
    int alias(int index, int delta = 0);

    QByteArray boolean(bool value) const { return QByteArray(1, value ? '\x09' : '\x08'); }
    QByteArray ascii(const QString& text) const;
    QByteArray utf16(const QString& text) const;
    QByteArray integer(qint64 value, int width) const;
    QByteArray real(double value, int width) const;
    QByteArray date(double secondsSince2001) const;
    QByteArray data(const QByteArray& bytes) const;
    QByteArray uid(quint64 value, int width) const;
    QByteArray array(const QList<int>& refs) const;
    QByteArray dict(const QList<int>& keys, const QList<int>& values) const;

    void setRefSize(int bytes) { m_refSize = bytes; }
    void setOffsetSize(int bytes) { m_offsetSize = bytes; }
    QByteArray build(int top) const;

private:
    QByteArray marker(int high, qsizetype count) const;
    QByteArray refs(const QList<int>& refs) const;

    QList<QByteArray> m_objects;
    QHash<int, QPair<int, int>> m_aliases; ///< object index -> the index (and byte within it) it points at
    int m_refSize = 1;
    int m_offsetSize = 2;
};

/// A small keyed archive assembled with RawPlist: callers add objects to
/// "$objects" by hand (strings, records, class descriptions) and get the
/// whole file with the archive frame around them.
class RawKeyedArchive
{
public:
    /// refSize: width of every object reference (3 is what some archivers write).
    explicit RawKeyedArchive(int refSize = 1);
    RawPlist& plist() { return m_plist; }
    /// Adds an entry of "$objects" and returns its UID.
    int addObject(const QByteArray& encodedObject);
    /// Adds an entry of "$objects" that names an object already in the property list.
    int addObjectRef(int plistIndex);
    /// The property-list index of the object behind a UID.
    int plistIndex(int uid) const { return m_objectRefs[uid]; }
    /// Reserves an entry of "$objects" to be filled with setObject(), so records can refer to it first.
    int reserveObject() { return addObject(QByteArray()); }
    void setObject(int uid, const QByteArray& encodedObject) { m_plist.set(m_objectRefs[uid], encodedObject); }
    /// A reference to UID `uid` as a property-list object of its own.
    int uidRef(int uid) { return m_plist.add(m_plist.uid(quint64(uid), uid < 256 ? 1 : uid < 65536 ? 2 : 4)); }
    /// A record {"$class": UID(classUid), key: value...}; values are already-encoded plist objects.
    QByteArray record(int classUid, const QList<QPair<QString, QByteArray>>& fields);
    int addClass(const QString& name, const QStringList& chain);
    QByteArray build(int rootUid);

private:
    RawPlist m_plist;
    QList<int> m_objectRefs;
};
