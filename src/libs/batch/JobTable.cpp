#include "JobTable.h"

#include <algorithm>

namespace batch {

namespace {

ReadyJob readyFormOf(const JobTable::Entry &entry)
{
    return {.priority = entry.job->priority,
            .createdAt = entry.job->createdAt.toMSecsSinceEpoch(),
            .id = entry.job->id,
            .type = entry.type,
            .job = entry.job};
}

} // namespace

const JobType *JobTable::typeNamed(const QString &name)
{
    const auto known = m_types.find(name);
    if (known != m_types.end())
        return &known->second;
    return &m_types.emplace(name, JobType{.name = name, .number = m_types.size()}).first->second;
}

quint64 JobTable::insert(BatchJob &&job)
{
    const quint64 id = m_nextJobId++;
    job.id = id;
    const auto record = std::make_shared<const BatchJob>(std::move(job));
    const auto place = m_entries.emplace_hint(
        m_entries.end(), id, Entry{.job = record, .type = typeNamed(record->type)});
    m_idsByStatus[int(record->status)].insert(id);
    m_graph.add(id, record->dependsOn, [this](quint64 dependency) {
        const SharedJob other = this->job(dependency);
        return other ? DependencyGraph::State(other->status) : std::nullopt;
    });
    refreshReady(place->second);
    refreshDependents(id, std::nullopt, record->status);
    return id;
}

void JobTable::replace(BatchJob &&job)
{
    const auto record = std::make_shared<const BatchJob>(std::move(job));
    const quint64 id = record->id;
    Entry &entry = m_entries.find(id)->second;
    const BatchStatus before = entry.job->status;
    entry.job = record;
    if (before != record->status) {
        m_idsByStatus[int(before)].erase(id);
        m_idsByStatus[int(record->status)].insert(id);
    }
    refreshReady(entry);
    refreshDependents(id, before, record->status);
}

void JobTable::remove(quint64 id)
{
    const auto entry = m_entries.find(id);
    if (entry == m_entries.end())
        return;
    const SharedJob record = entry->second.job;
    m_ready.remove(readyFormOf(entry->second));
    m_entries.erase(entry);
    m_idsByStatus[int(record->status)].erase(id);
    m_graph.remove(id, record->dependsOn);
    refreshDependents(id, record->status, std::nullopt);
}

std::map<quint64, JobTable::Entry> JobTable::takeAll()
{
    for (std::set<quint64> &ids : m_idsByStatus)
        ids.clear();
    m_ready.clear();
    m_graph.clear();
    return std::exchange(m_entries, {});
}

JobTable::Entry *JobTable::find(quint64 id)
{
    const auto entry = m_entries.find(id);
    return entry == m_entries.end() ? nullptr : &entry->second;
}

JobTable::SharedJob JobTable::job(quint64 id) const
{
    const auto entry = m_entries.find(id);
    return entry == m_entries.end() ? nullptr : entry->second.job;
}

// The lists of ids by state are ascending, so a merge of those that the filter admits keeps the
// order and can stop at the limit.
std::vector<JobTable::SharedJob> JobTable::matching(const BatchJobFilter &filter) const
{
    using Range = std::pair<std::set<quint64>::const_iterator, std::set<quint64>::const_iterator>;
    std::vector<Range> ranges;
    for (const BatchStatus status : allBatchStatuses)
        if (filter.admits(status) && !idsIn(status).empty())
            ranges.emplace_back(idsIn(status).begin(), idsIn(status).end());
    if (filter.id)
        ranges.clear(); // one look-up instead

    std::vector<SharedJob> found;
    const auto add = [&](const SharedJob &job) {
        if (job && filter.matches(*job))
            found.push_back(job);
    };
    if (filter.id)
        add(job(*filter.id));
    while (!ranges.empty() && (filter.limit <= 0 || qint64(found.size()) < filter.limit)) {
        const auto next =
            std::min_element(ranges.begin(), ranges.end(),
                             [](const Range &a, const Range &b) { return *a.first < *b.first; });
        add(job(*next->first));
        if (++next->first == next->second)
            ranges.erase(next);
    }
    return found;
}

bool JobTable::isDoomed(quint64 id) const
{
    const SharedJob record = job(id);
    return record && record->status == BatchStatus::Pending && m_graph.needs(id).doomed();
}

void JobTable::refreshReady(const Entry &entry)
{
    const BatchJob &job = *entry.job;
    if (job.status == BatchStatus::Pending && m_graph.needs(job.id).allDone())
        m_ready.put(readyFormOf(entry));
    else
        m_ready.remove(readyFormOf(entry));
}

void JobTable::refreshDependents(quint64 id, DependencyGraph::State before,
                                 DependencyGraph::State after)
{
    if (!m_graph.follow(id, before, after))
        return;
    for (const quint64 dependent : m_graph.dependentsOf(id))
        if (const Entry *const entry = find(dependent))
            refreshReady(*entry);
}

} // namespace batch
