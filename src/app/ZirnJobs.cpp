#include "ZirnJobs.h"

#include "CorvaneMain.h"

#include <corvane/tasks/MeshTasks.h>

#include <QEventLoop>

using namespace Qt::StringLiterals;
using batch::BatchStatus;

ZirnJobs::ZirnJobs()
{
    m_workers.registerWorker(&m_bench);
    corvane::zirn::setBenchQueue(&m_queue);
}

ZirnJobs::~ZirnJobs()
{
    corvane::zirn::setBenchQueue(nullptr);
    m_workers.unregisterWorker(&m_bench);
}

bool ZirnJobs::finish()
{
    QEventLoop loop;
    QObject::connect(
        &m_queue, &batch::BatchQueue::jobChanged, &loop,
        [this, &loop] {
            if (!isBusy())
                loop.quit();
        },
        Qt::QueuedConnection);
    if (isBusy())
        loop.exec();
    bool allDone = true;
    const QList<batch::BatchJob> jobs = m_queue.jobs();
    for (const batch::BatchJob &job : jobs) {
        const bool isDone = job.status == BatchStatus::Done;
        allDone = allDone && isDone;
        const QString failures = job.result.value(u"failures"_s).toString();
        const QString end = !isDone              ? u"failed: "_s + job.error
                            : failures.isEmpty() ? u"done"_s
                                                 : u"done, but "_s + failures;
        CorvaneMain::printError(u"Job #%1 (%2) %3"_s.arg(QString::number(job.id), job.label, end));
    }
    return allDone;
}

bool ZirnJobs::isBusy() const
{
    return m_queue.count(BatchStatus::Pending) + m_queue.count(BatchStatus::InProgress) > 0;
}
