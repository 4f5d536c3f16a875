// A queue with a dispatcher that ticks when the test says so. Needs batch and Qt Test.
#pragma once

#include <batch/BatchDispatcher.h>
#include <batch/BatchQueue.h>

#include <QTest>

namespace support {

/// Id, version, tags and types of jobs, on one line.
inline QString describe(const batch::IBatchWorker &worker)
{
    const QLatin1Char comma(',');
    return QStringList{worker.workerId(), worker.workerVersion(), worker.workerTags().join(comma),
                       worker.supportedTypes().join(comma)}
        .join(QLatin1Char(' '));
}

struct JobRunner
{
    static constexpr int patienceMs = 60000;

    batch::BatchQueue queue{};
    batch::BatchWorkerRegistry registry{};
    batch::BatchDispatcher dispatcher{&queue, &registry};

    explicit JobRunner(batch::IBatchWorker *worker)
    {
        dispatcher.stop();
        registry.registerWorker(worker);
    }

    /// Submits a job and gives it to its worker.
    quint64 start(const QString &type, const QVariantMap &payload)
    {
        batch::BatchJob job;
        job.type = type;
        job.payload = payload;
        const quint64 id = queue.submit(job);
        dispatcher.onTimer();
        return id;
    }
    /// Waits until the job has ended, and until its worker is free again.
    batch::BatchJob ended(quint64 id)
    {
        static_cast<void>(QTest::qWaitFor(
            [&] { return batch::isTerminal(queue.job(id)->status) && isIdle(); }, patienceMs));
        QCoreApplication::processEvents(); // log lines that were posted
        return *queue.job(id);
    }
    batch::BatchJob run(const QString &type, const QVariantMap &payload)
    {
        return ended(start(type, payload));
    }
    bool isIdle() const
    {
        const auto workers = registry.workers();
        return std::all_of(workers.begin(), workers.end(),
                           [](const batch::IBatchWorker *worker) { return worker->canAccept(); });
    }
    QStringList messages(quint64 id) const
    {
        QStringList texts;
        const auto lines = queue.logs(id);
        for (const batch::BatchJobLog &line : lines)
            texts.append(line.message);
        return texts;
    }
};

} // namespace support
