#pragma once

#include <corvane/mesh/HermiteSample.h>

#include <QHash>

#include <vector>

namespace corvane::mesh {

/// The crossings of a grid by edge, since four cells read each. The caller numbers the edges.
class CrossingTable
{
public:
    CrossingTable() = default;
    explicit CrossingTable(CrossingRule rule);

    /// Adds the crossing of an edge that is not in the table. It is computed together with others,
    /// at the latest by finish().
    void add(quint64 key, const CrossedEdge &edge);
    void finish();

    /// Null for an edge that is not in the table, or not computed yet.
    const HermiteSample *find(quint64 key) const;
    qsizetype count() const { return m_samples.size(); }

private:
    CrossingRule m_rule;
    QHash<quint64, HermiteSample> m_samples;
    std::vector<quint64> m_openKeys;
    std::vector<CrossedEdge> m_openEdges;
};

} // namespace corvane::mesh
