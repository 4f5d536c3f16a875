#include "DependencyGraph.h"

namespace batch {

namespace {

enum class Standing { Open, Done, Failed, Ended };

Standing standingOf(DependencyGraph::State state)
{
    if (!state || !isTerminal(*state))
        return Standing::Open;
    if (*state == BatchStatus::Done)
        return Standing::Done;
    return *state == BatchStatus::Failed ? Standing::Failed : Standing::Ended;
}

} // namespace

qsizetype &DependencyGraph::counterOf(Needs &needs, State state)
{
    switch (standingOf(state)) {
    case Standing::Open:
        return needs.open;
    case Standing::Done:
        return needs.done;
    case Standing::Failed:
        return needs.failed;
    case Standing::Ended:
        return needs.ended;
    }
    Q_UNREACHABLE();
}

void DependencyGraph::remove(quint64 id, const QList<quint64> &dependsOn)
{
    m_needs.remove(id);
    for (const quint64 dependency : dependsOn) {
        const auto dependents = m_dependents.find(dependency);
        if (dependents == m_dependents.end())
            continue;
        dependents->erase(id);
        if (dependents->empty())
            m_dependents.erase(dependents);
    }
}

bool DependencyGraph::follow(quint64 id, State before, State after)
{
    if (standingOf(before) == standingOf(after))
        return false;
    const auto dependents = m_dependents.constFind(id);
    if (dependents == m_dependents.constEnd())
        return false;
    for (const quint64 dependent : *dependents) {
        Needs &needs = m_needs[dependent];
        --counterOf(needs, before);
        ++counterOf(needs, after);
    }
    return true;
}

std::vector<quint64> DependencyGraph::dependentsOf(quint64 id) const
{
    const auto dependents = m_dependents.constFind(id);
    if (dependents == m_dependents.constEnd())
        return {};
    return {dependents->begin(), dependents->end()};
}

void DependencyGraph::clear()
{
    m_needs.clear();
    m_dependents.clear();
}

} // namespace batch
