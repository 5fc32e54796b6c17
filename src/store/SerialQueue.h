#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// Work run one item after another, in the order given, on one background
/// thread of the queue's own (started with the first item).
///
/// Built on the standard thread, mutex and condition variable rather than a
/// Qt thread pool: every hand-over between the threads is then visible to
/// ThreadSanitizer, which cannot see inside Qt's own locks.
class SerialQueue
{
public:
    SerialQueue() = default;
    /// Lets the work already queued finish, then ends the thread.
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    /// Queues @p work behind everything queued before. Any thread.
    void dispatch(std::function<void()> work);

    /// Waits until nothing is queued or running; false when @p timeoutMs
    /// passed first. Nothing on the queue may wait for the waiting thread.
    bool waitUntilIdle(int timeoutMs);

private:
    void runQueue();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    std::deque<std::function<void()>> m_work;
    bool m_running = false; ///< an item is being run
    bool m_stopping = false;
    std::thread m_thread;
};
