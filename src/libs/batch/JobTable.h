#pragma once

#include <batch/BatchJob.h>
#include <batch/BatchJobFilter.h>
#include <batch/DependencyGraph.h>
#include <batch/ReadyList.h>

#include <array>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace batch {

/// The records of the queue, by id, and what is asked of them often: which are in a state, which
/// are ready, who waits for whom. Every change costs about the same with a hundred thousand records
/// in it.
///
/// A record is never changed in place but replaced, so that one that was handed out can be read
/// without the lock. The table itself is not locked: BatchQueue guards it.
class JobTable
{
public:
    using SharedJob = std::shared_ptr<const BatchJob>;

    /// What is kept of a job beside its record.
    struct Entry
    {
        SharedJob job{};
        const JobType *type = nullptr;
        std::pair<qint32, qint32> progress{0, 0};
        QList<BatchJobLog> logs{};
    };

    /// Gives the job the next id and takes it in.
    quint64 insert(BatchJob &&job);

    /// Takes the place of the record with the same id, which must be there. Priority, createdAt and
    /// dependsOn stay as they were inserted.
    void replace(BatchJob &&job);

    void remove(quint64 id);

    /// Empties the table; ids go on. What was in it is handed out, to die where it costs nobody's
    /// time.
    std::map<quint64, Entry> takeAll();

    Entry *find(quint64 id); ///< null if unknown
    SharedJob job(quint64 id) const;

    const std::set<quint64> &idsIn(BatchStatus status) const { return m_idsByStatus[int(status)]; }
    std::vector<SharedJob> matching(const BatchJobFilter &filter) const;

    /// Pending with all dependencies Done: by priority, then age.
    ReadySnapshot ready() { return m_ready.snapshot(); }

    std::vector<quint64> dependentsOf(quint64 id) const { return m_graph.dependentsOf(id); }

    /// Whether a job is Pending although nothing can come of it: all its dependencies are terminal
    /// and one of them failed.
    bool isDoomed(quint64 id) const;

private:
    const JobType *typeNamed(const QString &name);
    void refreshReady(const Entry &entry);
    void refreshDependents(quint64 id, DependencyGraph::State before, DependencyGraph::State after);

    std::map<quint64, Entry> m_entries;
    std::array<std::set<quint64>, batchStatusCount> m_idsByStatus;
    ReadyList m_ready;
    std::map<QString, JobType> m_types; ///< never removed: snapshots point to them
    DependencyGraph m_graph;
    quint64 m_nextJobId = 1;
};

} // namespace batch
