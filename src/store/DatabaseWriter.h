#pragma once

#include "model/Value.h"

#include <QSet>
#include <QString>
#include <QStringList>

class ArchiveSnapshot;

/// Writes a snapshot of an archive into its package: the database first,
/// atomically and on disk, and only then the removal of the folders of
/// deleted documents. A save that fails or is cut off therefore never leaves
/// records without their files; at worst it leaves folders nothing refers to,
/// which are listed in the package beforehand and removed by the next save
/// that succeeds.
class DatabaseWriter
{
public:
    /// The list of member folders waiting for removal, kept in the package
    /// while a save that deletes documents is under way.
    static constexpr const char* pendingDeletionsName = ".pending-deletions";

    /// Encodes and writes the snapshot; false with the path and the system's
    /// reason when the database could not be written (the old one stays).
    static bool write(ArchiveSnapshot& snapshot, QString* error);

    /// Encodes the snapshot (its lookups prepared) and writes the database
    /// file at @p path atomically, the records streamed and hashed on the way.
    static bool writeDatabase(const ArchiveSnapshot& snapshot, const QString& path, QString* error);

    /// The database dictionary saving writes, around the encoded records and their fingerprint.
    static Value databaseDictionary(const ArchiveSnapshot& snapshot, const Value& companyData, const QString& companyString);

    /// Removes from "Files" every folder named in @p uniqueIDs that is not
    /// in @p kept. Only plain names directly inside "Files" are touched, and
    /// a link is removed as a link, never followed.
    static void removeMemberFolders(const QString& packagePath, const QStringList& uniqueIDs, const QSet<QString>& kept);
};
