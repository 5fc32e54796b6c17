#pragma once

#include "model/ModelPointers.h"
#include "model/Value.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

class Document;

/// Turns files on disk into archived documents of one open archive.
///
/// quillarcDocumentForURL() builds a record and stores the file's member
/// ("Files/<uniqueID>/<name>" and its preview "<name>.png") in the package; it
/// neither numbers the record, nor adds it to a group, nor writes the audit
/// log. The single-file and scan flows below do those steps in the order the
/// windows present them; BatchIntake does them for many files.
///
/// Members are written under a temporary name inside Files/ and renamed into
/// place once complete and flushed, so a crash never leaves a half-written
/// member under a document's name.
class DocumentIntake : public QObject
{
    Q_OBJECT

public:
    /// Time spent in each phase of building records, summed over all calls.
    struct Timings
    {
        qint64 attributesNs = 0; ///< statx, file type and description, tags
        qint64 extractionNs = 0; ///< text content (recognition of images included)
        qint64 previewsNs = 0; ///< previews
        qint64 iconsNs = 0; ///< icons of the files' types
        qint64 readingNs = 0; ///< reading and hashing the bytes
        qint64 writingNs = 0; ///< encoding and writing the member
    };

    explicit DocumentIntake(Document& archive, QObject* parent = nullptr);

    /// Whether a folder presented as one file (a package) is archived like a
    /// file that cannot be read, with its attributes and empty bytes, instead
    /// of being refused. The open dialog's single-file intake takes packages
    /// in this way after its alert; drops and batches refuse them.
    void setTakesPackagesAsFiles(bool takes) { m_takesPackagesAsFiles = takes; }

    /// Why the last call refused a file ("" when it did not).
    QString errorString() const { return m_errorString; }

    /// Builds the record for the file at filePath, its parent set to
    /// currentGroup, and stores the file's member. Returns nullptr, with
    /// errorString() set, when the archive has not been saved yet or the path
    /// names no file that can be archived (a folder, device, FIFO, socket,
    /// link loop, or a file too large to hold). A file that has vanished
    /// becomes a record without attributes and an empty member; an unreadable
    /// one a record with an empty member.
    DocumentPtr quillarcDocumentForURL(const QString& filePath, const GroupPtr& currentGroup);

    /// Gives the record the next slip number and advances the counter, when
    /// the archive numbers vouchers automatically.
    void applyVoucherNumbering(const DocumentPtr& record);

    /// Single-file intake: builds and numbers the record and appends it to the
    /// group. nullptr (with errorString()) when the file was refused.
    DocumentPtr addDocument(const QString& filePath, const GroupPtr& group);
    /// Confirms a single intake: the record's creation entry in the audit log.
    void closeAddDocumentSheet(const DocumentPtr& record);
    /// Undoes a single intake: the record leaves its group, its number is
    /// given back, and its member goes at the next save. No audit entry.
    void cancelAddDocumentSheet(const DocumentPtr& record);
    /// A finished scan (any PDF): a single intake whose creation entry is
    /// written at once; confirming its sheet writes a second one.
    DocumentPtr addScanDocumentWithURL(const QString& filePath, const GroupPtr& group);

    /// Staged writing, for many files at once: members are written under
    /// their temporary names without waiting for the disk, and only
    /// commitStagedMembers() flushes them all with one file-system sync and
    /// renames them into place. Until then no member stands under a
    /// document's name.
    void beginStaging();
    /// Flushes and renames the staged members; false (with errorString()) when
    /// the sync failed, and then nothing was renamed. Renames that fail are
    /// returned in failedIDs and their folders removed.
    bool commitStagedMembers(QStringList* failedIDs);
    /// Removes the staged members and leaves staging.
    void discardStagedMembers();

    /// Appends records to a group's documents, announcing "documentCount".
    void appendDocuments(const GroupPtr& group, const QList<DocumentPtr>& records);

    /// "prefix number suffix" with nothing between them; nil parts are "".
    static QString slipNumber(const Value& prefix, const Value& number, const Value& suffix);
    /// Splits a last path component into name and extension at the last dot.
    /// A leading dot belongs to the name (".profile" has no extension), and so
    /// does a trailing one ("notes." has none either).
    static void splitFileName(const QString& fileName, QString* name, QString* extension);
    /// A folder presented as one file: its name ends in a bundle suffix.
    static bool isFilePackage(const QString& path);
    /// Removes member folders left behind by an intake that was cut off.
    static int removeUnfinishedMembers(const QString& filesPath);

    const Timings& timings() const { return m_timings; }

Q_SIGNALS:
    /// A group's "documentCount" is about to change / has changed.
    void documentCountAboutToChange(QuillarcGroup* group);
    void documentCountChanged(QuillarcGroup* group);

private:
    bool refuseUnsavedArchive();
    bool writeMember(const QString& uniqueID, const QString& name, const QByteArray& member, const QByteArray& png);

    Document& m_archive;
    QString m_errorString;
    Timings m_timings;
    bool m_staging = false;
    bool m_takesPackagesAsFiles = false;
    QStringList m_stagedIDs;
    QHash<QString, QByteArray> m_iconCache; ///< icon bytes by MIME type: the same for every file of a type
};
