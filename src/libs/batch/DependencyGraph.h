#pragma once

#include <batch/BatchStatus.h>

#include <QHash>
#include <QList>

#include <optional>
#include <set>
#include <vector>

namespace batch {

/// Which job waits for which, with a count a job of how its dependencies stand: a change of one job
/// costs one step for each job that waits for it, and asking whether a job is ready costs nothing,
/// however many dependencies it has. Not locked; part of the table that the queue guards.
class DependencyGraph
{
public:
    /// How the dependencies of one job stand, each counted once.
    struct Needs
    {
        qsizetype open = 0;   ///< not terminal, or not in the queue
        qsizetype done = 0;   ///< Done
        qsizetype failed = 0; ///< Failed
        qsizetype ended = 0;  ///< Cancelled or Stopped
        bool allDone() const { return open == 0 && failed == 0 && ended == 0; }
        bool doomed() const { return open == 0 && failed > 0; }
    };
    /// Nothing stands for a job that is not in the queue.
    using State = std::optional<BatchStatus>;

    /// Enters a job. `stateOf` answers the State of any id.
    template<typename StateOf>
    void add(quint64 id, const QList<quint64> &dependsOn, StateOf stateOf)
    {
        if (dependsOn.isEmpty())
            return;
        Needs &needs = m_needs[id];
        for (const quint64 dependency : dependsOn)
            if (m_dependents[dependency].insert(id).second)
                ++counterOf(needs, stateOf(dependency));
    }

    void remove(quint64 id, const QList<quint64> &dependsOn);

    /// Follows a job from one state to another. True if anything changed for those that wait for
    /// it.
    bool follow(quint64 id, State before, State after);

    Needs needs(quint64 id) const { return m_needs.value(id); }
    std::vector<quint64> dependentsOf(quint64 id) const; ///< ascending
    void clear();

private:
    static qsizetype &counterOf(Needs &needs, State state);

    QHash<quint64, Needs> m_needs; ///< only of jobs that have dependencies
    QHash<quint64, std::set<quint64>> m_dependents;
};

} // namespace batch
