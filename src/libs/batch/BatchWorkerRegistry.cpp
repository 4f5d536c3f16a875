#include "BatchWorkerRegistry.h"

namespace batch {

BatchWorkerRegistry::BatchWorkerRegistry(QObject *parent)
    : QObject(parent)
{}

void BatchWorkerRegistry::registerWorker(IBatchWorker *worker)
{
    if (!worker || !m_workers.insert(worker).second)
        return;
    const QStringList types = worker->supportedTypes();
    for (const QString &type : types)
        m_workersByType.emplace(type, worker);
    ++m_revision;
    emit workerRegistered(worker);
}

void BatchWorkerRegistry::unregisterWorker(IBatchWorker *worker)
{
    if (m_workers.erase(worker) == 0)
        return;
    std::erase_if(m_workersByType, [&](const auto &row) { return row.second == worker; });
    ++m_revision;
    emit workerUnregistered(worker);
}

QList<IBatchWorker *> BatchWorkerRegistry::candidatesFor(const QString &type) const
{
    QList<IBatchWorker *> candidates;
    const auto [first, last] = m_workersByType.equal_range(type);
    for (auto row = first; row != last; ++row)
        candidates.append(row->second);
    if (!candidates.isEmpty())
        return candidates;
    for (const auto &[pattern, worker] : m_workersByType)
        if (pattern.endsWith(u'*') && type.startsWith(QStringView(pattern).chopped(1)))
            candidates.append(worker);
    return candidates;
}

QList<IBatchWorker *> BatchWorkerRegistry::workers() const
{
    return {m_workers.begin(), m_workers.end()};
}

} // namespace batch
