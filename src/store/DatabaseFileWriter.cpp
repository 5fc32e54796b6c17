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

bool DatabaseFileWriter::writePiece(const char* data, qint64 size, bool hash)
{
    if (m_failed)
        return false;
    if (!m_file.write(data, size)) {
        m_failed = true;
        return false;
    }
    if (!hash)
        return true;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queue.size() < maxQueuedPieces; });
    m_queue.emplace_back(data, size);
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void DatabaseFileWriter::waitUntilDrained()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queue.empty() && !m_busy; });
}

QByteArray DatabaseFileWriter::digest()
{
    waitUntilDrained();
    return m_failed ? QByteArray() : m_hash.result();
}

void DatabaseFileWriter::run()
{
    for (;;) {
        QByteArray piece;
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
        m_hash.addData(piece);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_busy = false;
        }
        m_changed.notify_all();
    }
}
