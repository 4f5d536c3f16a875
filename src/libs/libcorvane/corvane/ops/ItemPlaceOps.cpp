// Moving nodes in the tree, and items in the display tree.
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/NodePlaces.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

/// The place of a node, and what changes with it: references to it, and the groups of the document
/// that it and those below stand in.
QVariantMap nodePlace(const OpContext &context, const QUuid &id)
{
    const Placement place = placementOf(*context.tree, id);
    QVariantMap groups;
    const QList<QUuid> branch = context.tree->subtree(id);
    for (const QUuid &below : branch) {
        const model::LogicalInstance *node = context.node(below);
        if (node && node->hasOwnItem())
            groups.insert(idText(below), idText(node->displayParent()));
    }
    QVariantMap state{{u"csgParentId"_s, idText(place.parentId)},
                      {u"csgIndex"_s, place.index},
                      {StateKeys::itemType, model::ItemTypes::Sdf}};
    if (!groups.isEmpty())
        state.insert(u"groups"_s, groups);
    return state;
}

void setGroup(OpContext &context, const QUuid &id, const QString &group)
{
    model::LogicalInstance node = *context.node(id);
    if (group.isEmpty())
        node.ownItem.remove(u"parentId"_s);
    else
        node.ownItem.insert(u"parentId"_s, group);
    context.tree->replaceInstance(node);
}

/// Of a branch those that stand where its top did.
void moveToGroup(OpContext &context, const QUuid &id, const QUuid &group)
{
    if (!context.node(id)->hasOwnItem())
        return;
    const QUuid before = context.node(id)->displayParent();
    const QList<QUuid> branch = context.tree->subtree(id);
    for (const QUuid &below : branch) {
        const model::LogicalInstance *node = context.node(below);
        if (node && node->hasOwnItem() && node->displayParent() == before)
            setGroup(context, below, idText(group));
    }
}

/// Why a node can't stand there; empty when it can. What the tree refuses it says itself.
QString placeFlaw(const OpContext &context, const QUuid &id, const QUuid &parentId)
{
    if (parentId.isNull() || !context.tree->canMove(id, parentId))
        return {};
    if (context.tree->isReachable(parentId, id))
        return u"refused, the new parent stands below the item:"_s;
    const bool isThere = context.tree->parentOf(id) == parentId;
    return isThere || hasRoom(context, parentId) ? QString() : u"no room for another child:"_s;
}

OpOutcome moveNode(OpContext &context, const OpCall &call, const QUuid &id)
{
    const QUuid parentId = call.id("newParentId"_L1);
    const bool isToGroup = !context.node(parentId) && context.document.hasItem(parentId);
    if (isToGroup && !context.node(id)->hasOwnItem())
        return call.refuse(u"a node stands in the tree, or below an operator:"_s, parentId);
    const QUuid above = isToGroup ? QUuid() : parentId;
    const QString flaw = placeFlaw(context, id, above);
    if (!flaw.isEmpty())
        return call.refuse(flaw, parentId);
    OpChange change{.itemId = id, .before = nodePlace(context, id)};
    // What moves to another parent leaves all of its places.
    QList<QUuid> references;
    if (context.tree->parentOf(id) != above)
        references = referencesInto(*context.tree, {id});
    QVariantList snapshots;
    for (const QUuid &reference : std::as_const(references))
        snapshots.append(nodeSnapshot(*context.tree, reference));
    const model::LogicalScene::Batch batch(*context.tree);
    if (!context.tree->moveInstance(id, above, call.number("insertIndex"_L1, -1)))
        return call.refuse(u"refused:"_s, id);
    for (const QUuid &reference : std::as_const(references))
        context.tree->removeInstance(reference);
    const model::LogicalInstance *parent = context.node(above);
    moveToGroup(context, id, isToGroup ? parentId : parent ? parent->displayParent() : QUuid());
    change.after = nodePlace(context, id);
    if (change.before.value(u"groups"_s) == change.after.value(u"groups"_s)) {
        change.before.remove(u"groups"_s);
        change.after.remove(u"groups"_s);
    }
    if (!references.isEmpty()) {
        change.before.insert(u"references"_s, snapshots);
        change.after.insert(u"goneReferences"_s, idList(references));
    }
    return change;
}

/// Moving an item numbers its new siblings anew: that is part of the state.
QVariantMap itemPlace(const OpContext &context, const QUuid &id, const QList<QUuid> &siblings)
{
    QVariantMap order;
    for (const QUuid &sibling : siblings)
        order.insert(idText(sibling), context.document.item(sibling).sortOrder);
    const model::SceneItem item = context.document.item(id);
    return {{u"parentId"_s, idText(item.parentId)},
            {u"sortOrder"_s, item.sortOrder},
            {u"order"_s, order},
            {StateKeys::itemType, item.itemType}};
}

OpOutcome moveItem(OpContext &context, const OpCall &call, const QUuid &id)
{
    model::Corvane &document = context.document;
    const QUuid parentId = call.id("newParentId"_L1);
    if (context.node(parentId))
        return call.refuse(u"only items of the field go below nodes:"_s, id);
    if (!parentId.isNull() && !document.hasItem(parentId))
        return call.refuse(u"parent not found:"_s, parentId);
    const QList<QUuid> siblings = document.hierarchyChildIds(parentId);
    OpChange change{.itemId = id, .before = itemPlace(context, id, siblings)};
    if (!document.moveHierarchyItem(id, parentId, call.number("insertIndex"_L1, -1)))
        return call.refuse(u"refused:"_s, id);
    change.after = itemPlace(context, id, siblings);
    return change;
}

void restoreNodePlace(OpContext &context, const QUuid &id, const QVariantMap &state)
{
    model::LogicalScene &tree = *context.tree;
    const model::LogicalScene::Batch batch(tree);
    const QList<QUuid> gone = idsOf(state.value(u"goneReferences"_s));
    for (const QUuid &reference : gone)
        tree.removeInstance(reference);
    tree.detachInstance(id);
    const QUuid parentId = OpCall::toId(state.value(u"csgParentId"_s));
    const qsizetype index = state.value(u"csgIndex"_s).toLongLong();
    QVariantList before, behind;
    const QVariantList references = state.value(u"references"_s).toList();
    for (const QVariant &reference : references) {
        const bool isBefore = reference.toMap().value(StateKeys::index).toLongLong() < index;
        (isBefore ? before : behind).append(reference);
    }
    restorePlaces(tree, before);
    if (!parentId.isNull() || index >= 0)
        tree.moveInstance(id, parentId, index);
    restorePlaces(tree, behind);
    const QVariantMap groups = state.value(u"groups"_s).toMap();
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        setGroup(context, QUuid::fromString(group.key()), group->toString());
}

void restoreSortOrder(OpContext &context, const QUuid &id, qint32 sortOrder)
{
    if (!context.document.hasItem(id))
        return;
    model::SceneItem item = context.document.item(id);
    if (std::exchange(item.sortOrder, sortOrder) != sortOrder)
        context.document.updateItem(item);
}

} // namespace

OpOutcome applyItemSetParent(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    return context.node(id) ? moveNode(context, call, id) : moveItem(context, call, id);
}

void restorePlace(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    if (context.node(itemId) && state.contains(u"csgIndex"_s)) {
        restoreNodePlace(context, itemId, state);
        return;
    }
    model::SceneItem item = context.document.item(itemId);
    item.parentId = OpCall::toId(state.value(u"parentId"_s));
    item.sortOrder = state.value(u"sortOrder"_s).toInt();
    context.document.updateItem(item);
    const QVariantMap order = state.value(u"order"_s).toMap();
    for (auto it = order.cbegin(); it != order.cend(); ++it)
        restoreSortOrder(context, QUuid::fromString(it.key()), it->toInt());
}

} // namespace corvane::ops
