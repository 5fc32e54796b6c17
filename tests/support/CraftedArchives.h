#pragma once

#include "RawPlist.h"

#include <functional>

/// Keyed archives that are legal but shaped to make a careless reader do far
/// more work than their size suggests: values shared at every level, records
/// and lists reached through many references, long keys repeated. Built by
/// hand with RawKeyedArchive; also the source of the fuzz corpus's crafted files.
class CraftedArchives
{
public:
    /// Adds "leaf" and `levels` NSArrays above it, each holding the one below
    /// twice; returns the UID of the outermost.
    static int addSharedNesting(RawKeyedArchive& archive, int levels);
    /// Adds `levels` NSArrays, each holding the next once, around "leaf".
    static int addDeepNesting(RawKeyedArchive& archive, int levels);

    /// A keyed archive whose root is addSharedNesting(levels).
    static QByteArray sharedNesting(int levels);
    /// The same as an XML property list.
    static QByteArray xmlSharedNesting(int levels);
    /// A keyed archive whose root is addDeepNesting(levels).
    static QByteArray deepNesting(int levels);

    /// A whole database ("Quillarc.qldb"): its usual root entries and
    /// "companyData" holding a container titled `title` with one group
    /// "Belege" that holds one document. `extra`, when given, adds a value
    /// to the records' archive that the container's properties keep under
    /// "nested"; `groupListings` lists the group that many times.
    static QByteArray database(
        const QString& title, const std::function<int(RawKeyedArchive&)>& extra = {}, int groupListings = 1);

    /// `uids` entries of "$objects" naming one QuillarcDocument record of
    /// `keys` entries, each through an object index of its own that the
    /// offset table points at the same bytes; the root lists them all.
    static QByteArray uidsSharingOneRecord(int uids, int keys);
    /// `records` NSArray records that all hold one stored list of `items` references.
    static QByteArray recordsSharingOneList(int records, int items);
    /// `records` NSDictionary records that share their key and value lists of `entries` each.
    static QByteArray dictionariesSharingTheirLists(int records, int entries);
    /// `records` QuillarcDocument records that each carry one key of `keyLength` characters.
    static QByteArray longKeyInManyRecords(int records, int keyLength);
    /// `records` records whose classes are `records` UIDs of one class
    /// description that has `keys` extra keys.
    static QByteArray classesSharingOneDescription(int records, int keys);

    /// An XML keyed archive around the given "$objects" entries (each an XML
    /// value; "$null" comes first by itself) with the root at UID `root`.
    static QByteArray xmlArchive(const QStringList& objects, int root);
    static QString xmlUid(int uid);

    /// A dictionary record {key: UID} with the given class UID.
    static QByteArray dictionaryRecord(
        RawKeyedArchive& archive, int classUid, const QList<QPair<QString, int>>& entries);
};
