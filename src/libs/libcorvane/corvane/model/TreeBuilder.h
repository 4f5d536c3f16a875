#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/model/SlotManager.h>
#include <corvane/model/TreeNode.h>

#include <QHash>
#include <QSet>

#include <deque>
#include <functional>

namespace corvane::model {

/// Makes the rows of a TreeModel of a document's expression.
///
/// The expression is a graph: what several slots refer to is shown below each of them. A reference
/// that leads back to an instance above it is shown, but not followed. Where sharing would double
/// the rows at each level, rows end at a limit, the upper levels being whole. Linear in the rows,
/// without recursion.
class TreeBuilder
{
public:
    /// Called for each filled slot with its row and what stands there.
    using Recurse = std::function<void(TreeNode &slot, const QUuid &childId)>;

    /// `nodes` owns the rows, and does not move them.
    TreeBuilder(const Corvane &scene, std::deque<TreeNode> &nodes);

    /// The rows below `root`: the roots of the scene, and one more above all instances that none of
    /// these leads to.
    void build(TreeNode &root);
    /// Adds a row for each visible slot of an instance.
    void createSlotNodes(TreeNode &parent, const QUuid &instanceId, const Recurse &recurse);

private:
    TreeNode &addNode(TreeNode &parent);
    TreeNode &addInstance(TreeNode &parent, const QUuid &instanceId);
    void fillFrom(TreeNode &node, const QUuid &instanceId);
    void expand();
    const ChildSlots &slotsOfDefinition(const QString &definitionId);
    QList<QUuid> slotsOf(const QUuid &instanceId);
    QList<QUuid> readSlots(const QUuid &instanceId);
    void collectInstanceIds(const QUuid &start);
    QList<QUuid> orphanTops();

    struct Open
    {
        TreeNode *node = nullptr;
        QUuid instanceId{};
    };

    const Corvane &m_scene;
    std::deque<TreeNode> &m_nodes;
    qsizetype m_maxNodes = 0;
    bool m_isCut = false;
    std::deque<Open> m_open;
    QHash<QString, ChildSlots> m_definitions;
    QHash<QUuid, QList<QUuid>> m_slots; ///< what stands in each visible slot, null for nothing
    QSet<QUuid> m_collected;
    QSet<std::pair<QUuid, int>> m_backReferences; ///< an instance, and the slot of it that leads up
};

} // namespace corvane::model
