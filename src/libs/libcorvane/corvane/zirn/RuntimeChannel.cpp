#include <corvane/zirn/RuntimeChannel.h>

#include <corvane/zirn/ZirnTaskRuntime.h>

#include <QMetaObject>

#include <utility>

namespace corvane::zirn {

RuntimeChannel::RuntimeChannel(ZirnTaskRuntime *runtime)
    : m_runtime(runtime)
{}

void RuntimeChannel::close()
{
    std::deque<Entry> unheard;
    const std::lock_guard lock(m_mutex);
    m_runtime = nullptr;
    m_outbox.swap(unheard);
}

void RuntimeChannel::announce(Announcement announcement)
{
    const std::lock_guard lock(m_mutex);
    push({.announcement = std::move(announcement)});
}

void RuntimeChannel::announceProgress(const PlanRun *source, int step, Announcement announcement)
{
    const std::lock_guard lock(m_mutex);
    const bool mayReplace = m_waitingProgress >= mostWaitingProgress && !m_outbox.empty() &&
                            m_outbox.back().progressSource == source &&
                            m_outbox.back().step == step;
    if (mayReplace)
        m_outbox.back().announcement = std::move(announcement);
    else
        push({.announcement = std::move(announcement), .progressSource = source, .step = step});
}

void RuntimeChannel::push(Entry entry)
{
    if (!m_runtime)
        return;
    m_waitingProgress += entry.progressSource ? 1 : 0;
    m_outbox.push_back(std::move(entry));
    // One event an entry, so that an event loop inside of a slot goes on where the outer one
    // stands. Posting under the lock is what keeps the runtime alive meanwhile: close() waits for
    // it.
    QMetaObject::invokeMethod(
        m_runtime, [self = shared_from_this()] { self->deliverNext(); }, Qt::QueuedConnection);
}

void RuntimeChannel::deliverNext()
{
    Entry entry;
    ZirnTaskRuntime *runtime = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_runtime || m_outbox.empty())
            return;
        entry = std::move(m_outbox.front());
        m_outbox.pop_front();
        m_waitingProgress -= entry.progressSource ? 1 : 0;
        runtime = m_runtime;
    }
    entry.announcement(*runtime);
}

int RuntimeChannel::openQuestion()
{
    const std::lock_guard lock(m_mutex);
    m_decided.insert(m_nextDecisionId, false);
    return m_nextDecisionId++;
}

bool RuntimeChannel::awaitDecision(int id, std::chrono::milliseconds limit,
                                   const std::function<bool()> &isAbandoned)
{
    std::unique_lock lock(m_mutex);
    m_decisionArrived.wait_for(lock, limit, [&] { return m_decided.value(id) || isAbandoned(); });
    m_decided.remove(id);
    return m_decisions.take(id);
}

void RuntimeChannel::deliverDecision(int id, bool granted)
{
    {
        const std::lock_guard lock(m_mutex);
        const auto question = m_decided.find(id);
        if (question == m_decided.end())
            return;
        *question = true;
        m_decisions.insert(id, granted);
    }
    m_decisionArrived.notify_all();
}

void RuntimeChannel::wakeQuestions()
{
    {
        // A question that has just found itself not abandoned is asleep once this is passed.
        const std::lock_guard lock(m_mutex);
    }
    m_decisionArrived.notify_all();
}

void RuntimeChannel::addRun(const std::shared_ptr<PlanRun> &run)
{
    const std::lock_guard lock(m_mutex);
    m_runs.push_back(run);
}

void RuntimeChannel::removeRun(const PlanRun *run)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_runs, [run](const auto &other) { return other.get() == run; });
}

std::vector<std::shared_ptr<PlanRun>> RuntimeChannel::runs() const
{
    const std::lock_guard lock(m_mutex);
    return m_runs;
}

} // namespace corvane::zirn
