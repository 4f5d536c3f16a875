#pragma once

#include <batch/IBatchWorker.h>

#include <QObject>

#include <map>
#include <set>

namespace batch {

/// The workers at hand, by the types that they serve. It does not own them: a worker that goes away
/// is unregistered first. For the main thread.
class BatchWorkerRegistry : public QObject
{
    Q_OBJECT

public:
    explicit BatchWorkerRegistry(QObject *parent = nullptr);

    /// Takes a worker in under each of its types. A null or a worker that is in already is ignored.
    void registerWorker(batch::IBatchWorker *worker);
    void unregisterWorker(batch::IBatchWorker *worker);

    /// The workers to try for a type, in order: those registered under exactly that type, in order
    /// of registration; only if there are none, those under a prefix ("corvane/*") that fits, by
    /// prefix.
    QList<IBatchWorker *> candidatesFor(const QString &type) const;

    QList<IBatchWorker *> workers() const;

    /// Rises with every change, so that answers can be kept as long as they hold.
    quint64 revision() const { return m_revision; }

signals:
    void workerRegistered(batch::IBatchWorker *worker);
    void workerUnregistered(batch::IBatchWorker *worker);

private:
    std::set<IBatchWorker *> m_workers;
    std::multimap<QString, IBatchWorker *> m_workersByType; ///< equal keys in order of registration
    quint64 m_revision = 0;
};

} // namespace batch
