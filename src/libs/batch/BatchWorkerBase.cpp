#include "BatchWorkerBase.h"

#include <concurrency/Outcome.h>

using namespace Qt::StringLiterals;

namespace lab {

BatchWorkerBase::BatchWorkerBase(QObject *parent)
    : QObject(parent)
{}

BatchWorkerBase::~BatchWorkerBase()
{
    waitForCoordinator();
}

bool BatchWorkerBase::startCoordinator(const QString &name, std::function<void()> function)
{
    if (m_busy.exchange(true))
        return false;
    waitForCoordinator(); // the slot is free a moment before the thread has ended
    m_coordinator.reset(QThread::create([this, work = std::move(function)] {
        work();
        m_busy = false;
    }));
    m_coordinator->setObjectName(name);
    m_coordinator->start();
    if (m_coordinator->isRunning() || m_coordinator->isFinished())
        return true;
    m_coordinator.reset();
    m_busy = false;
    return false;
}

void BatchWorkerBase::waitForCoordinator()
{
    if (m_coordinator)
        m_coordinator->wait();
}

bool BatchWorkerBase::failUnlessGood(batch::BatchQueue *queue, quint64 id,
                                     const std::function<void()> &work)
{
    const concurrency::Outcome outcome = concurrency::guarded(work);
    if (!outcome.isGood())
        queue->fail(id, u"The job broke off: %1"_s.arg(outcome.reason()));
    return outcome.isGood();
}

void BatchWorkerBase::postProgress(batch::BatchQueue *queue, quint64 id, qint32 current,
                                   qint32 total)
{
    QMetaObject::invokeMethod(
        queue, [=] { queue->setProgress(id, current, total); }, Qt::QueuedConnection);
}

void BatchWorkerBase::postLog(batch::BatchQueue *queue, quint64 id, batch::BatchLogLevel level,
                              const QString &message)
{
    QMetaObject::invokeMethod(
        queue, [=] { queue->appendLog(id, level, message); }, Qt::QueuedConnection);
}

} // namespace lab
