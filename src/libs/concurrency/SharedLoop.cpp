#include "SharedLoop.h"

#include "Crew.h"

#include <QScopeGuard>

#include <algorithm>

// The calling thread tells the progress and leaves the work to the others: were it to work as well,
// what they have done would wait for the end of its own piece. The count of threads that work goes
// down in a destructor, so that an exception counts as an end too.

namespace concurrency {

SharedLoop::SharedLoop(qint64 count)
    : m_count(count)
{}

qint64 SharedLoop::next()
{
    const qint64 number = m_next++;
    return number < m_count ? number : -1;
}

void SharedLoop::finishOne()
{
    qint64 done = 0;
    {
        const std::lock_guard lock(m_mutex);
        done = ++m_done;
        m_changed.notify_all();
    }
    if (m_direct)
        (*m_direct)(done);
}

void SharedLoop::run(const char *name, int threads, const Work &work, const Report &report)
{
    const int wanted = int(std::clamp<qint64>(threads, 1, std::max<qint64>(m_count, 1)));
    // All are counted before the first one starts: it may be done before the next one does.
    m_working = wanted;
    Crew crew(name, [this] { stop(); });
    const int started = crew.start(wanted, [this, &work] {
        const auto end = qScopeGuard([this] { leave(); });
        work();
    });
    if (started == 0)
        return runAlone(work, report);
    {
        const std::lock_guard lock(m_mutex);
        m_working -= wanted - started;
    }
    reportUntilDone(report);
    crew.finish();
}

void SharedLoop::leave()
{
    const std::lock_guard lock(m_mutex);
    --m_working;
    m_changed.notify_all();
}

void SharedLoop::runAlone(const Work &work, const Report &report)
{
    m_direct = &report;
    const auto end = qScopeGuard([this] { m_direct = nullptr; });
    work();
}

/// Reports from this one thread, so that the numbers rise one by one.
void SharedLoop::reportUntilDone(const Report &report)
{
    qint64 reported = 0;
    bool working = true;
    while (working) {
        qint64 done = 0;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [&] { return m_done != reported || m_working == 0; });
            done = m_done;
            working = m_working > 0;
        }
        while (reported < done)
            report(++reported);
    }
}

} // namespace concurrency
