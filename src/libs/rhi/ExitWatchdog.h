#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace rhi {

/// Sees to it that a program that is leaving does leave, though a producer hangs in its driver and
/// WorkerHost::stop() waits for it on the main thread:
///
///     rhi::ExitWatchdog::instance().begin(5s, [] { ...; std::_Exit(status); });
///     // stop the workers, end the process
///
/// Before begin() nothing is ever cut short.
class ExitWatchdog
{
public:
    static ExitWatchdog &instance();

    ExitWatchdog() = default;
    ~ExitWatchdog(); ///< ends the watch, and waits for a giveUp() that has begun
    ExitWatchdog(const ExitWatchdog &) = delete;
    ExitWatchdog &operator=(const ExitWatchdog &) = delete;

    void enter(); ///< a worker has started; any thread
    void leave(); ///< it has ended

    /// Gives workers `limit` from now to end. If one runs on then, `giveUp` is called on a thread
    /// of its own, while the main thread may be blocked; it should write what is left to write and
    /// end the process. Calls after the first do nothing.
    void begin(std::chrono::milliseconds limit, std::function<void()> giveUp);

private:
    void watch(std::chrono::milliseconds limit, const std::function<void()> &giveUp);

    // Of the standard library: a thread sanitizer does not see that Qt's condition lets go of a
    // mutex.
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_workers = 0;
    bool m_isBegun = false;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace rhi
