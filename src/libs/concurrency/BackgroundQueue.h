#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace concurrency {

/// Work that nobody waits for: one item after another, on a thread of the lowest priority, once
/// there has been quiet for a while. The thread is there only while there is work.
///
/// Any thread may call. An exception that leaves an item ends that item.
class BackgroundQueue
{
public:
    using Work = std::function<void()>;

    /// @param name   of the thread; 15 characters are shown
    /// @param quiet  so long nothing new must have come before work begins
    /// @param most   items that wait; beyond that the oldest is dropped
    BackgroundQueue(const char *name, std::chrono::milliseconds quiet, std::size_t most);
    ~BackgroundQueue(); ///< stops
    BackgroundQueue(const BackgroundQueue &) = delete;
    BackgroundQueue &operator=(const BackgroundQueue &) = delete;

    /// Where an item of that key waits already, nothing is added. Where no thread starts, the item
    /// is dropped.
    void add(const QString &key, Work work);

    /// Does what waits now without the quiet, and returns when it is done. False when the time is
    /// over first.
    bool finish(std::chrono::milliseconds limit);

    /// Waits for the item that runs, drops the others, and takes no more.
    void stop();

private:
    struct Item
    {
        QString key;
        Work work;
    };

    bool holds(const QString &key) const;
    void start();
    void run();
    bool waitForItem(std::unique_lock<std::mutex> &lock);

    const char *const m_name;
    const std::chrono::milliseconds m_quiet;
    const std::size_t m_most;

    std::mutex m_mutex; ///< of all below
    std::condition_variable m_changed;
    std::deque<Item> m_items;
    std::chrono::steady_clock::time_point m_due{}; ///< the quiet ends then
    std::thread m_thread;
    bool m_isRunning = false; ///< the thread; it looks for items until it is not
    bool m_isHurried = false;
    bool m_stops = false;
};

} // namespace concurrency
