#pragma once

#include "model/ModelPointers.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

class BatchIntake;
class Document;

/// Groups tied to a folder on disk: making a group from a folder, switching a
/// group's monitoring on and off, and finding the files of a monitored folder
/// that its group does not hold yet.
///
/// A file is recognised by its file-system number alone (the record's
/// `fileID`); names, sizes, dates and fingerprints play no part. Only the
/// folder's direct entries count: hidden files, subfolders and packages are
/// never taken in.
class MonitoredFolders
{
public:
    explicit MonitoredFolders(Document& archive);

    /// The first steps of a folder group: checks that the archive was saved
    /// once and that the path is a folder, then makes a group titled after the
    /// folder (not monitored). Returns nothing (and sets @p refusal) otherwise.
    /// The caller takes the folder's files in as a folder-group batch.
    GroupPtr createFolderGroup(const QString& folderPath, QString* refusal = nullptr);

    /// Makes a group titled after the folder and starts @p batch with the
    /// folder's files (records built for the group but not yet in it), marked
    /// as a folder-group batch so that cancelling it removes the group again;
    /// then saves. The group is not monitored by this. Returns nothing (and
    /// sets @p refusal) when the archive was never saved or the path is no folder.
    GroupPtr createFolderGroupFromFolderPath(const QString& folderPath, BatchIntake& batch, QString* refusal = nullptr);

    /// Reacts to the group's `hasMonitoredFolder` having been toggled: off
    /// clears the folder and saves; on stores @p chosenFolder (see setFolderPath()).
    bool selectFolderPath(const GroupPtr& group, const QString& chosenFolder);
    /// Stores the folder a monitored group watches and saves; an empty
    /// @p chosenFolder (the panel was cancelled) switches monitoring off again.
    /// Nothing is imported now: the folder is scanned at the next opening.
    bool setFolderPath(const GroupPtr& group, const QString& chosenFolder);

    /// The paths of the group's folder that are new to the group, in listing
    /// order. Every decision is written to the log. Safe on a background thread
    /// as long as nobody changes the group meanwhile.
    static QStringList importFilePathsForGroup(const QuillarcGroup& group);

    /// The folder's direct, visible entries that are files, in listing order.
    static QStringList folderEntries(const QString& folderPath);
    /// The file-system number of a path as decimal text; "0" (and the reason
    /// logged) when its attributes cannot be read.
    static QString fileIDForPath(const QString& path);

    /// The text for refusing any intake into an archive that was never saved.
    static QString notSavedErrorText();

private:
    Document& m_archive;
};
