#include <corvane/zirn/ZirnResourceSemaphore.h>

#include <store/MethodGate.h>

#include <algorithm>
#include <utility>

namespace corvane::zirn {

ZirnResourceSemaphore::ZirnResourceSemaphore(QString name, qint32 capacity, QObject *parent)
    : QObject(parent)
    , m_name(std::move(name))
    , m_capacity(std::max(1, capacity))
{}

QSet<QString> ZirnResourceSemaphore::holders() const
{
    const store::MethodGate gate(this);
    const std::lock_guard lock(m_mutex);
    return m_holders;
}

bool ZirnResourceSemaphore::tryAcquire(const QString &planId)
{
    const store::MethodGate gate(this);
    const std::lock_guard lock(m_mutex);
    return takePlace(planId);
}

bool ZirnResourceSemaphore::acquire(const QString &planId, std::chrono::milliseconds limit)
{
    const store::MethodGate gate(this);
    std::unique_lock lock(m_mutex);
    return m_released.wait_for(lock, limit, [&] { return takePlace(planId); });
}

void ZirnResourceSemaphore::release(const QString &planId)
{
    const store::MethodGate gate(this);
    {
        const std::lock_guard lock(m_mutex);
        if (!m_holders.remove(planId))
            return;
    }
    m_released.notify_one();
}

bool ZirnResourceSemaphore::takePlace(const QString &planId)
{
    if (m_holders.size() >= m_capacity && !m_holders.contains(planId))
        return false;
    m_holders.insert(planId);
    return true;
}

} // namespace corvane::zirn
