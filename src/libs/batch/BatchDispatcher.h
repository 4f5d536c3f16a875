#pragma once

#include <batch/BatchQueue.h>
#include <batch/BatchWorkerRegistry.h>

#include <QObject>
#include <QTimer>

#include <chrono>

namespace batch {

/// Brings waiting jobs and workers together, ten times a second, on the thread that it lives on
/// (the main thread). Queue and registry must outlive it.
class BatchDispatcher : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultInterval{100};

    /// Starts ticking at once; stop() and start() change that.
    BatchDispatcher(BatchQueue *queue, BatchWorkerRegistry *registry, QObject *parent = nullptr);

    void start(std::chrono::milliseconds interval = defaultInterval);
    void stop();
    bool isRunning() const { return m_timer.isActive(); }

public slots:
    /// One tick: every job that is ready, by priority and age, is offered to its candidates in
    /// turn; the first that fits and has a free slot claims it and begins.
    ///
    /// A candidate fits if it has all requiredTags and its version does not compare less than
    /// minWorkerVersion. That is a comparison of plain strings: "10.0" is less than "9.0".
    void onTimer();

signals:
    void dispatched(quint64 id, const QString &workerId);

    /// A job found no worker in this tick. A pulse, repeated on every tick for as long as it waits.
    void noWorkerAvailable(quint64 id, const QString &type);

private:
    class Candidates;
    void dispatch(const ReadyJob &ready, Candidates &candidates);

    BatchQueue *const m_queue;
    BatchWorkerRegistry *const m_registry;
    QTimer m_timer{this};
};

} // namespace batch
