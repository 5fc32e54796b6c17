#include "store/SerialQueue.h"

#include "text/Logging.h"

#include <exception>

SerialQueue::~SerialQueue()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void SerialQueue::dispatch(std::function<void()> work)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work.push_back(std::move(work));
        if (!m_thread.joinable())
            m_thread = std::thread([this] { runQueue(); });
    }
    m_wake.notify_one();
}

bool SerialQueue::waitUntilIdle(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_idle.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_work.empty() && !m_running; });
}

void SerialQueue::runQueue()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return !m_work.empty() || m_stopping; });
        if (m_work.empty())
            return;
        std::function<void()> work = std::move(m_work.front());
        m_work.pop_front();
        m_running = true;
        lock.unlock();
        // A failing item must not take the queue, or the process, with it.
        try {
            work();
        } catch (const std::exception& exception) {
            qCWarning(lcQuillarc).noquote()
                << QStringLiteral("Background work failed: %1").arg(QString::fromLocal8Bit(exception.what()));
        } catch (...) {
            qCWarning(lcQuillarc).noquote() << QStringLiteral("Background work failed");
        }
        work = nullptr; // released before the queue counts as idle
        lock.lock();
        m_running = false;
        if (m_work.empty())
            m_idle.notify_all();
    }
}
