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
    static bool write(const ArchiveSnapshot& snapshot, QString* error);

    /// The encoded container ("companyData") of a snapshot.
    static QByteArray encodeCompanyData(const ArchiveSnapshot& snapshot);
    /// The database dictionary saving writes, around already encoded records.
    static Value databaseDictionary(const ArchiveSnapshot& snapshot, const QByteArray& companyData);

    /// Removes from "Files" every folder named in @p uniqueIDs that is not
    /// in @p kept. Only plain names directly inside "Files" are touched, and
    /// a link is removed as a link, never followed.
    static void removeMemberFolders(const QString& packagePath, const QStringList& uniqueIDs, const QSet<QString>& kept);
};
