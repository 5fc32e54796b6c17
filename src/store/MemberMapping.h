#pragma once

#include <QByteArray>
#include <QString>
#include <csignal>

/// A read-only memory map of one archived member, safe against the file
/// shrinking while it is read.
///
/// Reading a mapped page that a truncation has cut off raises SIGBUS, which
/// would end the process. While a mapping is alive, its thread answers such a
/// fault by mapping zero-filled pages over the rest of the mapping and noting
/// that the file was cut short: the reader sees whatever the file held when
/// each page was read, then zeros, and never crashes. Faults anywhere else
/// are left to the previous SIGBUS disposition.
///
/// Small files, and files on file systems that cannot map, are read into
/// memory instead. A mapping is never handed to another thread: the fault
/// handler only knows the mappings of the faulting thread.
class MemberMapping
{
public:
    /// Loaded: the bytes are there (mapped, or read). Unreadable: not a
    /// regular file, empty, or it could not be opened or read.
    enum class Status
    {
        Loaded,
        Missing,
        Unreadable
    };

    explicit MemberMapping(const QString& path);
    ~MemberMapping();
    MemberMapping(const MemberMapping&) = delete;
    MemberMapping& operator=(const MemberMapping&) = delete;

    Status status() const { return m_status; }
    /// The member's bytes; valid while this object lives (empty unless Loaded).
    QByteArray bytes() const;
    qint64 size() const { return m_size; }
    /// True once a read ran past the end of a file that shrank meanwhile.
    bool wasCutShort() const { return m_cutShort != 0; }

    /// Gives back the pages of [@p offset, @p offset + @p length) that were
    /// read and are not needed again, so a large member does not stay
    /// resident while the rest of it is read. The bytes stay readable.
    void release(qint64 offset, qint64 length);
    /// Tells the system the range will be read once, front to back.
    void adviseSequential(qint64 offset, qint64 length);

private:
    friend struct MemberMappingFaults;
    bool readFrom(int fd);

    Status m_status = Status::Missing;
    char* m_address = nullptr; ///< start of the mapping, or of m_copy's data
    qint64 m_size = 0;
    qint64 m_mappedLength = 0; ///< page-rounded length of the mapping; 0 for a copy
    QByteArray m_copy;
    volatile sig_atomic_t m_cutShort = 0;
    MemberMapping* m_below = nullptr; ///< the thread's mapping made before this one
};
