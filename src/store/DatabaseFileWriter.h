#pragma once

#include "store/BinaryPlistWriter.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

class AtomicFile;

/// Writes a stream of pieces into an atomic file and hashes the pieces marked
/// for it on a thread of its own: the digest is the slowest step of a save,
/// so it runs beside encoding and writing instead of after them. Pieces are
/// written in order by the caller's thread; a failed write stops the stream
/// and is reported by every later call.
class DatabaseFileWriter
{
public:
    explicit DatabaseFileWriter(AtomicFile& file);
    ~DatabaseFileWriter();

    /// A sink for bytes that are written only, or written and hashed.
    BinaryPlistWriter::Sink& plain() { return m_plain; }
    BinaryPlistWriter::Sink& hashed() { return m_hashed; }

    /// Waits until everything given so far is hashed, then returns the
    /// digest of the hashed pieces (empty after a failed write).
    QByteArray digest();
    /// False once a write failed.
    bool ok() const { return !m_failed; }

private:
    class Stream : public BinaryPlistWriter::Sink
    {
    public:
        Stream(DatabaseFileWriter& owner, bool hash)
            : m_owner(owner)
            , m_hash(hash)
        {
        }
        bool append(const char* data, qint64 size) override { return m_owner.writePiece(data, size, m_hash); }

    private:
        DatabaseFileWriter& m_owner;
        bool m_hash;
    };

    /// Writes @p size bytes and, when @p hash, hands a copy to the hashing thread.
    bool writePiece(const char* data, qint64 size, bool hash);
    void waitUntilDrained();
    void run();

    AtomicFile& m_file;
    Stream m_plain { *this, false };
    Stream m_hashed { *this, true };
    QCryptographicHash m_hash { QCryptographicHash::Md5 };

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<QByteArray> m_queue; ///< written pieces waiting to be hashed
    bool m_busy = false;            ///< the thread is hashing a piece taken off the queue
    bool m_closing = false;
    bool m_failed = false; ///< a write failed (the writing thread's own)
    std::thread m_thread;
};
