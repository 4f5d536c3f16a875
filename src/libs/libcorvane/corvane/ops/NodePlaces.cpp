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
    QList<QUuid> tops;
    if (!context.tree || groups.isEmpty())
        return tops;
    const QSet<QUuid> wanted(groups.cbegin(), groups.cend());
    QSet<QUuid> taken;
    const QList<QUuid> nodes = context.tree->nodesInOrder();
    for (const QUuid &id : nodes) {
        const bool isBelow = taken.contains(context.tree->parentOf(id));
        const model::LogicalInstance *node = context.node(id);
        if (!isBelow && !(node && wanted.contains(node->displayParent())))
            continue;
        taken.insert(id);
        if (!isBelow)
            tops.append(id);
    }
    return tops;
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
    if (tree.references().isEmpty())
        return pairs;
    QSet<QUuid> leaving = branchesOf(tree, tops);
    // What has come out may hold references to what is still inside.
    for (qsizetype before = -1; before != pairs.size();) {
        before = pairs.size();
        const auto references = tree.references();
        for (auto it = references.cbegin(); it != references.cend(); ++it) {
            if (leaving.contains(it.key()) || !leaving.contains(*it) || tops.contains(*it))
                continue;
            exchange(tree, *it, it.key());
            leaving -= branchesOf(tree, {*it});
            leaving.insert(it.key());
            pairs.append(QVariant(idList({*it, it.key()})));
        }
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
