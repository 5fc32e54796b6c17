#pragma once

#include "model/ModelPointers.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>

class Document;
class ExportJob;

/// Copies archived files out of an archive into an ordinary folder, each
/// under its readable copy name, and adds a summary PDF that lists them.
///
/// A group export takes the group's documents in the natural order of their
/// voucher numbers (2 before 10); the archive export takes every group's
/// documents in the plain character order (10 before 2). The run stops at the
/// first document whose archived file is missing or corrupted: copies written
/// before stay, no summary is written. Every file is written atomically, so
/// a copy is either complete or absent.
///
/// The archive's preferences decide, at the moment of the run, whether the
/// summary is written, whether it shows comments and tags, and whether the
/// copies carry the documents' tags. Tags are set 0.18 seconds after a file
/// is written, on the main thread; tagsWritten() says when all have run.
class Exporter : public QObject
{
    Q_OBJECT

public:
    enum class Result
    {
        Success,
        MissingFile,
        CorruptedFile,
        WriteFailed
    };

    /// Delay between writing a file and setting its tags, in milliseconds.
    static constexpr int tagDelayMs = 180;
    /// The tag the summary PDF always carries.
    static constexpr const char* summaryTag = "red";

    explicit Exporter(Document* archive, QObject* parent = nullptr);
    ~Exporter() override;

    /// Exports the documents of `group` into `folder`; the summary names the group.
    Result exportGroup(const GroupPtr& group, const QString& folder);
    /// Exports the documents of every group of the archive into `folder`; the
    /// summary names the archive, its footer the current group.
    Result exportDocument(const QString& folder, const GroupPtr& currentGroup);

    /// The reason of the last failure, for the user; "" after a success.
    QString errorString() const { return m_errorString; }
    /// The document the last run stopped at, if it stopped at one.
    DocumentPtr failedDocument() const { return m_failedDocument; }
    /// Paths of the copies written by the last run, in writing order.
    QStringList writtenFiles() const { return m_writtenFiles; }
    /// Path of the summary written by the last run; "" when none was written.
    QString summaryPath() const { return m_summaryPath; }
    /// Number of tag writes scheduled and not yet run.
    int pendingTagWrites() const { return m_pendingTagWrites; }

    /// " Summary.pdf": the leading space sorts it ahead of the copies.
    static QString summaryFileName();
    /// The copy's file name, kept to one path component and to the length a
    /// file system accepts (the extension is kept when the name is cut).
    static QString safeFileName(const QString& name);

    /// Voucher-number order of a group export: locale-aware, numbers by value,
    /// case ignored; documents with equal numbers keep their order.
    static QList<DocumentPtr> sortedForGroup(QList<DocumentPtr> documents);
    /// Voucher-number order of the archive export: plain character order, stable.
    static QList<DocumentPtr> sortedForArchive(QList<DocumentPtr> documents);

    /// Runs a prepared export here and now, setting the tags of what it wrote
    /// 0.18 seconds after each file.
    Result run(const ExportJob& job);
    /// Sets the tags of a written file 0.18 seconds from now, on the main thread.
    void scheduleTags(const QString& path, const QStringList& tags);

Q_SIGNALS:
    /// Every tag write scheduled so far has run.
    void tagsWritten();

private:
    Result fail(Result result, const QString& message, const DocumentPtr& document = nullptr);

    Document* m_archive;
    QString m_errorString;
    DocumentPtr m_failedDocument;
    QStringList m_writtenFiles;
    QString m_summaryPath;
    int m_pendingTagWrites = 0;
};
