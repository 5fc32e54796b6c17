#pragma once

#include "model/ModelPointers.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>

class Document;

/// One export of archived files into a folder, in two steps: everything it
/// needs is taken from the archive on the main thread (forGroup(),
/// forArchive()), then run() copies the files and writes the summary on any
/// thread, touching no archive object. A window can so export gigabytes
/// without freezing, and show which document is being copied.
///
/// The run checks each member before copying it (missing, undecodable, or
/// bytes that no longer match the fingerprint taken at intake) and stops at
/// the first that fails: copies written before stay, no summary is written.
/// Every file is written atomically, so a copy is either complete or absent.
class ExportJob
{
public:
    enum class Result
    {
        Success,
        MissingFile,
        CorruptedFile,
        WriteFailed,
        Cancelled
    };

    /// One document to copy, as taken from the archive.
    struct Entry
    {
        QString memberPath; ///< the archived member; "" when its path leads outside the package
        QString fingerprint; ///< the document's stored fingerprint
        QString fileName; ///< the copy's name in the folder
        QString displayName; ///< title, or the file name without a title, for progress and alerts
        QStringList tags;
        QString summaryLine; ///< the document's line of the summary
    };

    struct Outcome
    {
        Result result = Result::Success;
        QString errorString; ///< for the user; "" after a success
        int failedIndex = -1; ///< the entry the run stopped at
        QStringList writtenFiles; ///< copies, in writing order
        QString summaryPath; ///< "" when none was written
    };

    /// Reports before each copy: index of the entry, number of entries.
    using Progress = std::function<void(int index, int count, const Entry& entry)>;
    /// Reports a file written, with the tags it should carry (set by the caller, later).
    using Written = std::function<void(const QString& path, const QStringList& tags)>;

    /// The documents of @p group in the natural order of their voucher numbers.
    static ExportJob forGroup(const Document& archive, const GroupPtr& group, const QString& folder);
    /// The documents of every group in the plain character order of their
    /// voucher numbers; the summary's footer names @p currentGroup.
    static ExportJob forArchive(const Document& archive, const QString& folder, const GroupPtr& currentGroup);

    /// Copies the files and writes the summary. @p cancel, when set, stops
    /// the run before the next copy.
    Outcome run(
        const Progress& progress = {}, const Written& written = {}, const std::atomic_bool* cancel = nullptr) const;

    const QList<Entry>& entries() const { return m_entries; }
    /// The documents of the entries, in the same order; for the main thread
    /// only (run() never touches them).
    const QList<DocumentPtr>& documents() const { return m_documents; }
    /// Drops the documents, so a copy handed to another thread holds no
    /// archive object and may outlive the archive.
    void releaseDocuments() { m_documents.clear(); }
    QString folder() const { return m_folder; }
    bool includesSummary() const { return m_includeSummary; }
    bool writesTags() const { return m_writeFinderTags; }
    /// Total bytes of the members to copy, as far as their sizes are known.
    qint64 memberBytes() const;

    /// Writes @p bytes to @p path atomically; false with the path and the
    /// system's reason in @p error.
    static bool writeFile(const QString& path, const QByteArray& bytes, QString* error);

private:
    static ExportJob make(const Document& archive, const QList<DocumentPtr>& documents, const QString& title,
        const QString& description, const QString& folder, const QString& footerTitle);

    QString m_folder;
    QString m_salt;
    QString m_title;
    QString m_description;
    QString m_totalsLine;
    QString m_footerTitle;
    QDate m_today;
    bool m_includeSummary = false;
    bool m_writeFinderTags = false;
    QList<Entry> m_entries;
    QList<DocumentPtr> m_documents;
};
