#pragma once

#include <corvane/zirn/ZirnResourceSemaphore.h>

#include <QHash>
#include <QMutex>
#include <QSharedPointer>
#include <QStringList>

namespace corvane::zirn {

/// The resources that plans share, by name. Any thread.
class ZirnResourceManager
{
public:
    /// @param capacity  of resources that are named for the first time; one plan at a time unless
    ///                  said otherwise, as the tasks that name resources expect
    explicit ZirnResourceManager(qint32 capacity = 1);

    /// The entry of that name, made if there is none.
    QSharedPointer<ZirnResourceSemaphore> ensureSemaphore(const QString &name);

    /// Takes all of them without waiting, or none.
    [[nodiscard]] bool tryAcquireAll(const QStringList &names, const QString &planId);
    void releaseAll(const QStringList &names, const QString &planId);

private:
    const qint32 m_capacity;
    QMutex m_mutex; ///< of m_semaphores
    QHash<QString, QSharedPointer<ZirnResourceSemaphore>> m_semaphores;
};

} // namespace corvane::zirn
