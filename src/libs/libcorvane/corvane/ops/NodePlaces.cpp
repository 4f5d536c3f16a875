#include <corvane/ops/NodePlaces.h>

#include <corvane/model/LogicalScene.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>
#include <corvane/registry/Registry.h>

namespace corvane::ops {

namespace {

/// -1 without a limit.
int mostChildren(const OpContext &context, const QUuid &nodeId)
{
    const model::LogicalInstance *node = context.node(nodeId);
    if (!node || !node->hasOwnItem())
        return -1;
    const auto definition = registry::Registry::instance().getDefinition(node->definitionId);
    return definition ? definition->maxChildren() : 0;
}

QSet<QUuid> branchesOf(const model::LogicalScene &tree, const QList<QUuid> &tops)
{
    QSet<QUuid> nodes;
    for (const QUuid &top : tops) {
        const QList<QUuid> branch = tree.subtree(top);
        nodes.unite(QSet<QUuid>(branch.cbegin(), branch.cend()));
    }
    return nodes;
}

void exchange(model::LogicalScene &tree, const QUuid &a, const QUuid &b)
{
    const Placement placeOfA = placementOf(tree, a);
    const Placement placeOfB = placementOf(tree, b);
    tree.moveInstance(a, placeOfB.parentId, placeOfB.index);
    tree.moveInstance(b, placeOfA.parentId, placeOfA.index);
}

/// A part inside of the branches that is used outside, and that use; null when there is none.
std::pair<QUuid, QUuid> sharedPart(const model::LogicalScene &tree, const QList<QUuid> &tops)
{
    const auto &references = tree.references();
    if (references.isEmpty())
        return {};
    const QSet<QUuid> leaving = branchesOf(tree, tops);
    for (auto it = references.cbegin(); it != references.cend(); ++it) {
        if (!leaving.contains(it.key()) && leaving.contains(*it) && !tops.contains(*it))
            return {*it, it.key()};
    }
    return {};
}

} // namespace

bool takesChildren(const OpContext &context, const QUuid &nodeId)
{
    return mostChildren(context, nodeId) != 0;
}

bool hasRoom(const OpContext &context, const QUuid &nodeId)
{
    const int most = mostChildren(context, nodeId);
    return most < 0 || context.tree->children(nodeId).size() < most;
}

QList<QUuid> nodesInGroups(const OpContext &context, const QList<QUuid> &groups)
{
    QList<QUuid> members;
    if (!context.tree)
        return members;
    for (const model::LogicalInstance &node : context.tree->instances()) {
        const QUuid group = node.displayParent();
        if (!group.isNull() && groups.contains(group))
            members.append(node.id);
    }
    const QSet<QUuid> all(members.cbegin(), members.cend());
    members.removeIf([&](const QUuid &id) {
        QUuid above = context.tree->parentOf(id);
        while (!above.isNull() && !all.contains(above))
            above = context.tree->parentOf(above);
        return !above.isNull();
    });
    return members;
}

QList<QUuid> referencesInto(const model::LogicalScene &tree, const QList<QUuid> &tops)
{
    QList<QUuid> found;
    const auto &references = tree.references();
    if (references.isEmpty())
        return found;
    const QSet<QUuid> leaving = branchesOf(tree, tops);
    for (auto it = references.cbegin(); it != references.cend(); ++it) {
        if (tops.contains(*it) && !leaving.contains(it.key()))
            found.append(it.key());
    }
    return found;
}

QVariantList keepSharedParts(model::LogicalScene &tree, const QList<QUuid> &tops)
{
    QVariantList pairs;
    for (auto found = sharedPart(tree, tops); !found.first.isNull();
         found = sharedPart(tree, tops)) {
        exchange(tree, found.first, found.second);
        pairs.append(QVariant(idList({found.first, found.second})));
    }
    return pairs;
}

void exchangePlaces(model::LogicalScene &tree, const QVariantList &pairs)
{
    for (const QVariant &pair : pairs)
        exchange(tree, idsOf(pair).value(0), idsOf(pair).value(1));
}

void exchangePlacesBack(model::LogicalScene &tree, const QVariantList &pairs)
{
    for (auto pair = pairs.crbegin(); pair != pairs.crend(); ++pair)
        exchange(tree, idsOf(*pair).value(1), idsOf(*pair).value(0));
}

} // namespace corvane::ops
