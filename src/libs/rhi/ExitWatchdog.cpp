#include <rhi/ExitWatchdog.h>

#include <concurrency/startThread.h>

#include <QLoggingCategory>

#include <utility>

namespace rhi {

Q_LOGGING_CATEGORY(lcExit, "ondrel.rhi.exit", QtWarningMsg)

ExitWatchdog &ExitWatchdog::instance()
{
    // Never destroyed: its thread may run until the process ends.
    static auto *const watchdog = new ExitWatchdog;
    return *watchdog;
}

ExitWatchdog::~ExitWatchdog()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
        m_ended.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void ExitWatchdog::enter()
{
    const std::lock_guard lock(m_mutex);
    ++m_workers;
}

void ExitWatchdog::leave()
{
    const std::lock_guard lock(m_mutex);
    if (--m_workers == 0)
        m_ended.notify_all();
}

void ExitWatchdog::begin(std::chrono::milliseconds limit, std::function<void()> giveUp)
{
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_isBegun, true))
        return;
    const auto work = [this, limit, giveUp = std::move(giveUp)] { watch(limit, giveUp); };
    if (!concurrency::startThread(m_thread, "ExitWatchdog", work))
        qCWarning(lcExit) << "no thread can be started to watch over the exit";
}

void ExitWatchdog::watch(std::chrono::milliseconds limit, const std::function<void()> &giveUp)
{
    {
        std::unique_lock lock(m_mutex);
        if (m_ended.wait_for(lock, limit, [this] { return m_isOver || m_workers == 0; }))
            return;
    }
    qCWarning(lcExit) << "a render worker did not end within" << limit.count()
                      << "ms: the program ends without it";
    giveUp();
}

} // namespace rhi
