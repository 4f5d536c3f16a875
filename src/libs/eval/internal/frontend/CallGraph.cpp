// Strongly connected components after Tarjan 1972: a node is on a cycle when its component has
// another member or it leads to itself. The path is a list, not the stack of the program.

#include <eval/internal/frontend/CallGraph.h>

#include <eval/internal/frontend/AstWalk.h>

#include <QHash>

#include <algorithm>

namespace eval::internal {

namespace {

constexpr qsizetype unvisited = -1;

class ComponentSearch
{
public:
    explicit ComponentSearch(const QList<QList<qsizetype>> &edges)
        : m_edges(edges)
        , m_order(edges.size(), unvisited)
        , m_low(edges.size(), 0)
        , m_open(edges.size(), false)
        , m_onCycle(edges.size(), false)
    {}

    QList<bool> run()
    {
        for (qsizetype node = 0; node < m_edges.size(); ++node) {
            if (m_order[node] == unvisited)
                visitFrom(node);
        }
        return m_onCycle;
    }

private:
    struct Frame
    {
        qsizetype node = 0;
        qsizetype nextEdge = 0;
    };

    void visitFrom(qsizetype root)
    {
        enter(root);
        while (!m_path.isEmpty()) {
            Frame &frame = m_path.last();
            if (frame.nextEdge < m_edges[frame.node].size())
                follow(frame.node, m_edges[frame.node][frame.nextEdge++]);
            else
                leave();
        }
    }

    void enter(qsizetype node)
    {
        m_order[node] = m_low[node] = m_count++;
        m_open[node] = true;
        m_component.append(node);
        m_path.append({node, 0});
    }

    void follow(qsizetype from, qsizetype to)
    {
        if (from == to)
            m_onCycle[from] = true;
        if (m_order[to] == unvisited)
            enter(to);
        else if (m_open[to])
            m_low[from] = std::min(m_low[from], m_order[to]);
    }

    void leave()
    {
        const qsizetype node = m_path.takeLast().node;
        if (!m_path.isEmpty()) {
            const qsizetype parent = m_path.last().node;
            m_low[parent] = std::min(m_low[parent], m_low[node]);
        }
        if (m_low[node] == m_order[node])
            closeComponent(node);
    }

    void closeComponent(qsizetype first)
    {
        const bool isCycle = m_component.last() != first;
        qsizetype member = unvisited;
        do {
            member = m_component.takeLast();
            m_open[member] = false;
            m_onCycle[member] = m_onCycle[member] || isCycle;
        } while (member != first);
    }

    const QList<QList<qsizetype>> &m_edges;
    QList<qsizetype> m_order;
    QList<qsizetype> m_low;
    QList<bool> m_open;
    QList<bool> m_onCycle;
    QList<qsizetype> m_component;
    QList<Frame> m_path;
    qsizetype m_count = 0;
};

} // namespace

QSet<QString> detectRecursion(const QList<AstPtr> &functions)
{
    QHash<QString, qsizetype> indexes;
    QStringList names;
    for (const AstPtr &function : functions) {
        if (!indexes.contains(function->name)) {
            indexes.insert(function->name, names.size());
            names.append(function->name);
        }
    }
    QList<QList<qsizetype>> calls(names.size());
    for (const AstPtr &function : functions) {
        QList<qsizetype> &called = calls[indexes.value(function->name)];
        forEachNode(function->body, [&](const AstNode &node) {
            const auto callee = indexes.constFind(node.name);
            if (node.kind == AstKind::Call && callee != indexes.constEnd())
                called.append(*callee);
        });
    }
    const QList<bool> onCycle = nodesOnCycles(calls);
    QSet<QString> recursive;
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (onCycle[i])
            recursive.insert(names[i]);
    }
    return recursive;
}

QList<bool> nodesOnCycles(const QList<QList<qsizetype>> &edges)
{
    return ComponentSearch(edges).run();
}

} // namespace eval::internal
