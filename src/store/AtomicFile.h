#pragma once

#include <QByteArray>
#include <QString>

/// Writes a file so that its final name only ever holds complete bytes that
/// are on disk: the bytes go to a temporary file beside it, every write, the
/// sync and the close are checked, and only then is the temporary file
/// renamed over the final name and the folder synced. On any failure the
/// temporary file is removed, the final name keeps what it held before, and
/// errorString() names the path and the system's reason ("No space left on
/// device").
///
/// Every file the engine writes for the user goes through this class: the
/// database, archived members, exports, file copies, reports and logs.
class AtomicFile
{
public:
    explicit AtomicFile(const QString& path);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Creates the temporary file beside the final name (the folder must exist).
    bool open();
    /// Writes all of @p size bytes or fails; partial writes are continued.
    bool write(const char* data, qint64 size);
    bool write(const QByteArray& bytes) { return write(bytes.constData(), bytes.size()); }
    /// Syncs and closes the temporary file, renames it over the final name
    /// and syncs the folder. After a failure nothing is left behind.
    bool commit();
    /// Removes the temporary file; the final name is not touched.
    void discard();

    QString path() const { return m_path; }
    QString errorString() const { return m_errorString; }
    qint64 bytesWritten() const { return m_written; }

    /// Writes @p bytes to @p path in one go; @p error gets errorString().
    static bool writeFile(const QString& path, const QByteArray& bytes, QString* error = nullptr);
    /// Flushes a folder's list of names to disk, so a rename, creation or
    /// removal inside it survives a crash.
    static bool syncDirectory(const QString& path, QString* error = nullptr);
    /// Flushes the bytes of an existing file or folder to disk.
    static bool syncPath(const QString& path, QString* error = nullptr);
    /// "path: reason" for the current errno (or @p errorNumber).
    static QString systemError(const QString& path, int errorNumber);

    /// Where an injected failure strikes (tests of full disks and failing devices).
    enum class Stage { Write, Sync, Rename };
    /// Makes every later AtomicFile fail at @p stage with @p errorNumber once
    /// @p afterBytes bytes were written, as a full or failing disk would;
    /// clearFault() ends it. Applies to every thread.
    static void injectFault(Stage stage, int errorNumber, qint64 afterBytes = 0);
    static void clearFault();

private:
    bool fail(int errorNumber);

    QString m_path;
    QString m_temporaryPath;
    QString m_errorString;
    int m_fd = -1;
    qint64 m_written = 0;
    qint64 m_writebackStart = 0; ///< bytes before this were handed to the disk early
};
