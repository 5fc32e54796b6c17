#include "store/DatabaseFileWriter.h"

#include "store/AtomicFile.h"

namespace {
// A few pieces in flight keep both threads busy without holding much memory.
constexpr size_t maxQueuedPieces = 4;
} // namespace

DatabaseFileWriter::DatabaseFileWriter(AtomicFile& file)
    : m_file(file)
    , m_thread([this] { run(); })
{
}

DatabaseFileWriter::~DatabaseFileWriter()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closing = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

bool DatabaseFileWriter::enqueue(const char* data, qint64 size, bool hash)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_failed || m_queue.size() < maxQueuedPieces; });
    if (m_failed)
        return false;
    m_queue.push_back({ QByteArray(data, size), hash });
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void DatabaseFileWriter::waitUntilDrained()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_failed || (m_queue.empty() && !m_busy); });
}

QByteArray DatabaseFileWriter::digest()
{
    waitUntilDrained();
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_failed ? QByteArray() : m_hash.result();
}

bool DatabaseFileWriter::finish()
{
    waitUntilDrained();
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_failed;
}

void DatabaseFileWriter::run()
{
    for (;;) {
        Piece piece;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_closing || !m_queue.empty(); });
            if (m_queue.empty())
                return;
            piece = std::move(m_queue.front());
            m_queue.pop_front();
            m_busy = true;
        }
        m_changed.notify_all();
        if (piece.hash)
            m_hash.addData(piece.bytes);
        const bool written = m_file.write(piece.bytes);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_busy = false;
            if (!written)
                m_failed = true;
        }
        m_changed.notify_all();
    }
}
