#include "CrossingTable.h"

#include <utility>

namespace corvane::mesh {

namespace {

// Enough to fill the lanes of any field, few enough to stay in the cache.
constexpr size_t batchSize = 1024;

} // namespace

CrossingTable::CrossingTable(CrossingRule rule)
    : m_rule(std::move(rule))
{}

void CrossingTable::add(quint64 key, const CrossedEdge &edge)
{
    m_openKeys.push_back(key);
    m_openEdges.push_back(edge);
    if (m_openKeys.size() == batchSize)
        finish();
}

void CrossingTable::finish()
{
    if (m_openKeys.empty())
        return;
    std::vector<HermiteSample> samples(m_openEdges.size());
    hermiteSamples(m_openEdges, m_rule, samples);
    for (size_t i = 0; i < samples.size(); ++i)
        m_samples.insert(m_openKeys[i], samples[i]);
    m_openKeys.clear();
    m_openEdges.clear();
}

const HermiteSample *CrossingTable::find(quint64 key) const
{
    const auto known = m_samples.constFind(key);
    return known == m_samples.constEnd() ? nullptr : &*known;
}

} // namespace corvane::mesh
