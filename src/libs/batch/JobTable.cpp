#include "JobTable.h"

#include <tuple>

namespace batch {

bool JobTable::ReadyKey::operator<(const ReadyKey &other) const
{
    return std::tuple(-qint64(priority), createdAt, id) <
           std::tuple(-qint64(other.priority), other.createdAt, other.id);
}

JobTable::ReadyKey JobTable::readyKeyOf(const BatchJob &job)
{
    return {.priority = job.priority, .createdAt = job.createdAt.toMSecsSinceEpoch(), .id = job.id};
}

quint64 JobTable::insert(BatchJob &&job)
{
    const quint64 id = m_nextJobId++;
    job.id = id;
    const auto record = std::make_shared<const BatchJob>(std::move(job));
    m_entries.emplace_hint(m_entries.end(), id, Entry{.job = record});
    m_idsByStatus[int(record->status)].insert(id);
    m_graph.add(id, record->dependsOn, [this](quint64 dependency) {
        const SharedJob other = this->job(dependency);
        return other ? DependencyGraph::State(other->status) : std::nullopt;
    });
    refreshReady(record);
    refreshDependents(id, std::nullopt, record->status);
    return id;
}

void JobTable::replace(BatchJob &&job)
{
    const auto record = std::make_shared<const BatchJob>(std::move(job));
    const quint64 id = record->id;
    SharedJob &place = m_entries.find(id)->second.job;
    const BatchStatus before = place->status;
    place = record;
    if (before != record->status) {
        m_idsByStatus[int(before)].erase(id);
        m_idsByStatus[int(record->status)].insert(id);
    }
    refreshReady(record);
    refreshDependents(id, before, record->status);
}

void JobTable::remove(quint64 id)
{
    const auto entry = m_entries.find(id);
    if (entry == m_entries.end())
        return;
    const SharedJob record = entry->second.job;
    m_entries.erase(entry);
    m_idsByStatus[int(record->status)].erase(id);
    m_ready.erase(readyKeyOf(*record));
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

std::vector<JobTable::SharedJob> JobTable::ready() const
{
    std::vector<SharedJob> jobs;
    jobs.reserve(m_ready.size());
    for (const auto &[key, job] : m_ready)
        jobs.push_back(job);
    return jobs;
}

bool JobTable::isDoomed(quint64 id) const
{
    const SharedJob record = job(id);
    return record && record->status == BatchStatus::Pending && m_graph.needs(id).doomed();
}

void JobTable::refreshReady(const SharedJob &job)
{
    if (job->status == BatchStatus::Pending && m_graph.needs(job->id).allDone())
        m_ready.insert_or_assign(readyKeyOf(*job), job);
    else
        m_ready.erase(readyKeyOf(*job));
}

void JobTable::refreshDependents(quint64 id, DependencyGraph::State before,
                                 DependencyGraph::State after)
{
    if (!m_graph.follow(id, before, after))
        return;
    for (const quint64 dependent : m_graph.dependentsOf(id))
        if (const SharedJob record = job(dependent))
            refreshReady(record);
}

} // namespace batch
