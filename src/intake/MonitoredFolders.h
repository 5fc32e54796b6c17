#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class Document;
class QuillarcDocument;
class QuillarcGroup;
using DocumentPtr = std::shared_ptr<QuillarcDocument>;
using GroupPtr = std::shared_ptr<QuillarcGroup>;

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
    /// Builds one archived record for a file, with its parent set to the given
    /// group (the archive's record builder, or a stand-in in tests). Runs on
    /// the main thread.
    using RecordBuilder = std::function<DocumentPtr(const QString& filePath, const GroupPtr& group)>;

    explicit MonitoredFolders(Document& archive);

    void setRecordBuilder(RecordBuilder builder) { m_recordBuilder = std::move(builder); }
    const RecordBuilder& recordBuilder() const { return m_recordBuilder; }

    /// The records built for a new folder group; they join the group only when
    /// the batch is confirmed.
    struct FolderGroupBatch
    {
        GroupPtr group;
        QList<DocumentPtr> batchDocuments;
        bool isFolderGroupBatchAction = true;
    };

    /// Makes a group titled after the folder and builds a record for each of
    /// the folder's files, then saves. The group is not monitored by this.
    /// Refused (no group, @p refusal set) when the archive was never saved.
    FolderGroupBatch createFolderGroupFromFolderPath(const QString& folderPath, QString* refusal = nullptr);

    /// Files a folder group's batch as the batch sheet does when confirmed with
    /// the values it opens with: numbered from the voucher counter when
    /// automatic numbering is on, colour tag 7, no comment, locked when the
    /// group is locked or new records are locked automatically, one audit
    /// entry each; the counter then advances by the batch size. The caller saves.
    void confirmFolderGroupBatch(const FolderGroupBatch& batch);

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
    /// A directory that presents itself as one file (by its suffix).
    static bool isFilePackage(const QString& path);
    /// The file-system number of a path as decimal text; "0" (and the reason
    /// logged) when its attributes cannot be read.
    static QString fileIDForPath(const QString& path);

    /// The text for refusing any intake into an archive that was never saved.
    static QString notSavedErrorText();

private:
    Document& m_archive;
    RecordBuilder m_recordBuilder;
};
