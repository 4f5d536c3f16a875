#include <corvane/zirn/ZirnResourceManager.h>

namespace corvane::zirn {

ZirnResourceManager::ZirnResourceManager(qint32 capacity)
    : m_capacity(capacity)
{}

QSharedPointer<ZirnResourceSemaphore> ZirnResourceManager::ensureSemaphore(const QString &name)
{
    const QMutexLocker lock(&m_mutex);
    QSharedPointer<ZirnResourceSemaphore> &semaphore = m_semaphores[name];
    if (!semaphore)
        semaphore = QSharedPointer<ZirnResourceSemaphore>::create(name, m_capacity);
    return semaphore;
}

bool ZirnResourceManager::tryAcquireAll(const QStringList &names, const QString &planId)
{
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (!ensureSemaphore(names.at(i))->tryAcquire(planId)) {
            releaseAll(names.first(i), planId);
            return false;
        }
    }
    return true;
}

void ZirnResourceManager::releaseAll(const QStringList &names, const QString &planId)
{
    for (const QString &name : names)
        ensureSemaphore(name)->release(planId);
}

} // namespace corvane::zirn
