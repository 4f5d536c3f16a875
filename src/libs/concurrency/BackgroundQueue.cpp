#include "BackgroundQueue.h"

#include "Outcome.h"
#include "startThread.h"

#include <algorithm>
#include <utility>

namespace concurrency {

BackgroundQueue::BackgroundQueue(const char *name, std::chrono::milliseconds quiet,
                                 std::size_t most)
    : m_name(name)
    , m_quiet(quiet)
    , m_most(most)
{}

BackgroundQueue::~BackgroundQueue()
{
    stop();
}

void BackgroundQueue::add(const QString &key, Work work)
{
    {
        const std::lock_guard lock(m_mutex);
        m_due = std::chrono::steady_clock::now() + m_quiet;
        if (m_stops || holds(key))
            return;
        if (m_items.size() >= m_most)
            m_items.pop_front();
        m_items.push_back({key, std::move(work)});
        if (!m_isRunning)
            start();
    }
    m_changed.notify_all();
}

bool BackgroundQueue::finish(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    m_isHurried = true;
    m_changed.notify_all();
    const bool isDone = m_changed.wait_for(lock, limit, [this] { return !m_isRunning; });
    m_isHurried = false;
    return isDone;
}

void BackgroundQueue::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stops = true;
        m_items.clear();
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

bool BackgroundQueue::holds(const QString &key) const
{
    return std::any_of(m_items.cbegin(), m_items.cend(),
                       [&key](const Item &item) { return item.key == key; });
}

void BackgroundQueue::start()
{
    if (m_thread.joinable()) // it has left run(), or is about to without the lock
        m_thread.join();
    m_isRunning = startThread(m_thread, m_name, [this] { run(); });
    if (!m_isRunning)
        m_items.clear();
}

void BackgroundQueue::run()
{
    lowerPriority();
    std::unique_lock lock(m_mutex);
    while (waitForItem(lock)) {
        {
            const Item item = std::move(m_items.front());
            m_items.pop_front();
            lock.unlock();
            static_cast<void>(guarded(item.work));
        }
        lock.lock();
    }
    m_isRunning = false;
    m_changed.notify_all();
}

/// False when there is none.
bool BackgroundQueue::waitForItem(std::unique_lock<std::mutex> &lock)
{
    const auto mayGoOn = [this] { return m_stops || m_isHurried; };
    while (!mayGoOn() && std::chrono::steady_clock::now() < m_due)
        m_changed.wait_until(lock, m_due, mayGoOn);
    return !m_items.empty();
}

} // namespace concurrency
