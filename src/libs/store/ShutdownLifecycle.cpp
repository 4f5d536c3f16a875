#include "ShutdownLifecycle.h"

#include <algorithm>
#include <utility>

namespace store {

ShutdownLifecycle &ShutdownLifecycle::instance()
{
    // Never destroyed: threads may still report to it while the process ends.
    static auto *const lifecycle = new ShutdownLifecycle;
    return *lifecycle;
}

ShutdownLifecycle::ShutdownLifecycle(QObject *parent)
    : QObject(parent)
{}

quint64 ShutdownLifecycle::registerTask(const ShutdownTask &task)
{
    quint64 id = 0;
    {
        const std::lock_guard lock(m_mutex);
        id = m_nextId++;
        m_entries.insert(id,
                         {.id = id, .task = task, .startedAt = QDateTime::currentDateTimeUtc()});
    }
    emit changed();
    return id;
}

void ShutdownLifecycle::deregisterTask(quint64 id)
{
    bool ready = false;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_entries.remove(id))
            return;
        if (m_entries.isEmpty()) {
            ready = std::exchange(m_waiting, false);
            m_idle.notify_all();
        }
    }
    emit changed();
    if (ready)
        emit shutdownReady();
}

void ShutdownLifecycle::setProgress(quint64 id, qint64 current, qint64 total)
{
    {
        const std::lock_guard lock(m_mutex);
        const auto entry = m_entries.find(id);
        if (entry == m_entries.end())
            return;
        entry->current = current;
        entry->total = total;
    }
    emit changed();
}

QList<ShutdownLifecycle::Entry> ShutdownLifecycle::entries() const
{
    QList<Entry> entries;
    {
        const std::lock_guard lock(m_mutex);
        entries = m_entries.values();
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry &a, const Entry &b) { return a.id < b.id; });
    return entries;
}

bool ShutdownLifecycle::isIdle() const
{
    const std::lock_guard lock(m_mutex);
    return m_entries.isEmpty();
}

quint64 ShutdownLifecycle::registerProbe(std::function<void()> probe)
{
    const std::lock_guard lock(m_mutex);
    const quint64 id = m_nextId++;
    m_probes.insert(id, std::move(probe));
    return id;
}

void ShutdownLifecycle::removeProbe(quint64 id)
{
    const std::lock_guard lock(m_mutex);
    m_probes.remove(id);
}

void ShutdownLifecycle::runProbes()
{
    QHash<quint64, std::function<void()>> probes;
    {
        const std::lock_guard lock(m_mutex);
        probes = m_probes;
    }
    for (const auto &probe : std::as_const(probes))
        probe();
}

void ShutdownLifecycle::beginShutdown()
{
    runProbes();
    {
        const std::lock_guard lock(m_mutex);
        m_waiting = !m_entries.isEmpty();
        if (m_waiting)
            return;
    }
    emit shutdownReady();
}

void ShutdownLifecycle::abortShutdown()
{
    {
        const std::lock_guard lock(m_mutex);
        m_waiting = false;
    }
    emit shutdownAborted();
}

bool ShutdownLifecycle::finishWork(std::chrono::milliseconds limit)
{
    runProbes();
    std::unique_lock lock(m_mutex);
    return m_idle.wait_for(lock, limit, [this] { return m_entries.isEmpty(); });
}

ShutdownHold::ShutdownHold(const ShutdownTask &task, ShutdownLifecycle &lifecycle)
    : m_lifecycle(lifecycle)
    , m_id(lifecycle.registerTask(task))
{}

ShutdownHold::~ShutdownHold()
{
    m_lifecycle.deregisterTask(m_id);
}

} // namespace store
