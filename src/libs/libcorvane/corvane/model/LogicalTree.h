#pragma once

#include <corvane/model/LogicalInstance.h>

#include <QMap>

namespace corvane::model {

class WarningList;

/// Makes a tree of nodes that refer to each other in any way.
///
/// A node stands where it is met first: as a root, else below the first parent on the way down from
/// the roots. Other places, and children and roots that do not exist, are left out with a warning.
/// Nodes that no root leads to keep what is below them, and are detached. Linear, and without
/// recursion, so that a file can't make it slow or overflow the stack.
class LogicalTree
{
public:
    LogicalTree(const QList<LogicalInstance> &nodes, WarningList &warnings);

    void placeRoots(const QList<QUuid> &roots);
    /// All nodes that are no children become roots.
    void placeTopsAsRoots();
    /// Settles the nodes that no root leads to. To be called last.
    void placeDetached();

    const QMap<QUuid, LogicalInstance> &nodes() const { return m_nodes; }
    const QList<QUuid> &roots() const { return m_roots; }
    const QMap<QUuid, QUuid> &parents() const { return m_parents; }

private:
    QList<QUuid> unplacedTops() const;
    void placeBelow(const QUuid &top);
    QList<QUuid> claimChildren(LogicalInstance &node);

    QMap<QUuid, LogicalInstance> m_nodes;
    QList<QUuid> m_order; ///< of the nodes as they came
    QList<QUuid> m_roots;
    QMap<QUuid, QUuid> m_parents;
    QSet<QUuid> m_placed;
    WarningList &m_warnings;
};

} // namespace corvane::model
