#pragma once

#include "store/BinaryPlistWriter.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

class AtomicFile;

/// Writes a stream of pieces into an atomic file on a thread of its own,
/// hashing the pieces marked for it on the way, so that encoding the next
/// piece, hashing and writing overlap. Pieces are written in order; a failed
/// write stops the stream and is reported by every later call.
class DatabaseFileWriter
{
public:
    explicit DatabaseFileWriter(AtomicFile& file);
    ~DatabaseFileWriter();

    /// A sink for bytes that are written only, or written and hashed.
    BinaryPlistWriter::Sink& plain() { return m_plain; }
    BinaryPlistWriter::Sink& hashed() { return m_hashed; }

    /// Waits until everything given so far is written, then returns the
    /// digest of the hashed pieces (empty after a failed write).
    QByteArray digest();
    /// Waits until everything is written; false when a write failed.
    bool finish();

private:
    struct Piece
    {
        QByteArray bytes;
        bool hash = false;
    };

    class Stream : public BinaryPlistWriter::Sink
    {
    public:
        Stream(DatabaseFileWriter& owner, bool hash)
            : m_owner(owner)
            , m_hash(hash)
        {
        }
        bool append(const char* data, qint64 size) override { return m_owner.enqueue(data, size, m_hash); }

    private:
        DatabaseFileWriter& m_owner;
        bool m_hash;
    };

    bool enqueue(const char* data, qint64 size, bool hash);
    void waitUntilDrained();
    void run();

    AtomicFile& m_file;
    Stream m_plain { *this, false };
    Stream m_hashed { *this, true };
    QCryptographicHash m_hash { QCryptographicHash::Md5 };

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Piece> m_queue;
    bool m_busy = false;    ///< the thread is writing a piece taken off the queue
    bool m_closing = false;
    bool m_failed = false;
    std::thread m_thread;
};
