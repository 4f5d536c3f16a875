#include "Crew.h"

#include "startThread.h"

namespace concurrency {

Crew::Crew(const char *name, std::function<void()> stop)
    : m_name(name)
    , m_stop(std::move(stop))
{}

Crew::~Crew()
{
    if (m_threads.empty())
        return;
    m_stop();
    join();
}

int Crew::start(int count, const std::function<void()> &work)
{
    if (count < 1)
        return 0;
    const std::size_t before = m_threads.size();
    m_threads.reserve(before + std::size_t(count));
    for (int i = 0; i < count; ++i) {
        std::thread thread;
        if (!startThread(thread, m_name, [this, work] { run(work); }))
            break; // the next one would not start either
        m_threads.push_back(std::move(thread));
    }
    return int(m_threads.size() - before);
}

void Crew::run(const std::function<void()> &work)
{
    const Outcome outcome = guarded(work);
    if (outcome.isGood())
        return;
    m_stop();
    const std::lock_guard lock(m_mutex);
    if (m_outcome.isGood())
        m_outcome = outcome;
}

void Crew::finish()
{
    join();
    m_outcome.passOn();
}

void Crew::join()
{
    for (std::thread &thread : m_threads)
        thread.join();
    m_threads.clear();
}

} // namespace concurrency
