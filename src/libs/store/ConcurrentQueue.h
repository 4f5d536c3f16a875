#pragma once

#include <store/ConfigureHelper.h>

#include <QString>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>

namespace store {

/// A queue with a thread of its own that handles its items one at a time, in order. Any thread may
/// put items in, before start() too; start() and stop() belong to the owner.
template<typename T>
class ConcurrentQueue
{
public:
    using Handler = std::function<void(T &item)>;

    /// @param threadName  at most 15 characters are shown by the system
    ConcurrentQueue(const QString &threadName, Handler handler)
        : m_state(std::make_shared<State>())
        , m_threadName(threadName)
    {
        m_state->handler = std::move(handler);
        m_helper.configure();
    }
    ~ConcurrentQueue() { stop(); }
    ConcurrentQueue(const ConcurrentQueue &) = delete;
    ConcurrentQueue &operator=(const ConcurrentQueue &) = delete;

    void start()
    {
        if (m_thread.joinable())
            return;
        m_state->stopping = false;
        m_helper.activate(true);
        m_thread = std::thread([state = m_state] { serve(*state); });
        const QByteArray shown = m_threadName.toUtf8().left(longestThreadName);
        pthread_setname_np(m_thread.native_handle(), shown.constData());
    }

    /// Handles what is still queued, then ends the thread. From a handler it returns at once, and
    /// the thread ends after that handler.
    void stop()
    {
        if (!m_thread.joinable())
            return;
        {
            const std::lock_guard lock(m_state->mutex);
            m_state->stopping = true;
        }
        m_state->changed.notify_all();
        m_helper.activate(false);
        if (m_thread.get_id() == std::this_thread::get_id())
            m_thread.detach();
        else
            m_thread.join();
    }

    void enqueue(T item)
    {
        {
            const std::lock_guard lock(m_state->mutex);
            m_state->items.push_back(std::move(item));
        }
        m_state->changed.notify_all();
    }

    bool isRunning() const { return m_helper.isActivated(); }

private:
    static constexpr qsizetype longestThreadName = 15;

    // Shared with the thread, which may outlive the queue when a handler destroys that.
    struct State
    {
        std::mutex mutex;
        std::condition_variable changed;
        std::deque<T> items;
        bool stopping = false;
        Handler handler;
    };

    static void serve(State &state)
    {
        std::unique_lock lock(state.mutex);
        for (;;) {
            state.changed.wait(lock, [&] { return state.stopping || !state.items.empty(); });
            if (state.items.empty())
                return;
            {
                T item = std::move(state.items.front());
                state.items.pop_front();
                lock.unlock();
                state.handler(item);
            } // the item goes without the lock: it may hold the last reference to much
            lock.lock();
        }
    }

    ConfigureHelper m_helper{QStringLiteral("ConcurrentQueue"), {.needsActivation = true}};
    const std::shared_ptr<State> m_state;
    const QString m_threadName;
    std::thread m_thread;
};

} // namespace store
