// Moving nodes in the tree, and items in the display tree.
#include <corvane/model/Corvane.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/Adoption.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/Operands.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

QVariantMap nodePlace(const OpContext &context, const QUuid &id)
{
    const Placement place = placementOf(*context.tree, id);
    return {{u"csgParentId"_s, idText(place.parentId)},
            {u"csgIndex"_s, place.index},
            {StateKeys::itemType, model::ItemTypes::Sdf}};
}

OpOutcome moveNode(OpContext &context, const OpCall &call, const QUuid &id)
{
    const QUuid parentId = call.id("newParentId"_L1);
    OpChange change{.itemId = id, .before = nodePlace(context, id)};
    const model::LogicalScene::Batch batch(*context.tree);
    if (!context.tree->moveInstance(id, parentId, call.number("insertIndex"_L1, -1)))
        return call.refuse(u"refused:"_s, id);
    change.after = nodePlace(context, id);
    return change;
}

/// Moving an item numbers its new siblings anew, and changes what operators list and what is drawn:
/// all that is part of the state.
QVariantMap itemPlace(const OpContext &context, const QUuid &id, const QList<QUuid> &siblings,
                      const QList<QUuid> &operators)
{
    QVariantMap order;
    for (const QUuid &sibling : siblings)
        order.insert(idText(sibling), context.document.item(sibling).sortOrder);
    const model::SceneItem item = context.document.item(id);
    QVariantMap state{{u"parentId"_s, idText(item.parentId)},
                      {u"sortOrder"_s, item.sortOrder},
                      {u"order"_s, order},
                      {StateKeys::itemType, item.itemType}};
    if (item.itemType != model::ItemTypes::Sdf)
        return state;
    state.insert(u"operands"_s, operandsOf(context.document, operators));
    if (!context.document.drawsAllItems())
        state.insert(u"roots"_s, idList(context.document.roots()));
    return state;
}

/// Of the same domain as what they are around.
void takeWrappersAlong(OpContext &context, const QUuid &id)
{
    const QUuid parentId = context.document.item(id).parentId;
    const QList<QUuid> wrappers = model::ItemWrappers(context.document, id).ids();
    for (const QUuid &wrapperId : wrappers) {
        model::SceneItem wrapper = context.document.item(wrapperId);
        if (std::exchange(wrapper.parentId, parentId) != parentId)
            context.document.updateItem(wrapper);
    }
}

/// Takes the item out of the operators that list it, and gives it to another one, or draws it.
void moveInExpression(OpContext &context, const QUuid &outerId, const QUuid &newOperator, int index)
{
    model::Corvane &document = context.document;
    const QList<QUuid> operators = operatorsOver(document, outerId);
    for (const QUuid &user : operators)
        removeOperand(document, user, outerId);
    if (!newOperator.isNull()) {
        insertOperand(document, newOperator, outerId, index);
        document.removeRoot(outerId);
    } else if (!operators.isEmpty() && !document.drawsAllItems()) {
        document.addRoot(outerId);
    }
}

/// Below a node: what it is made of becomes nodes.
OpOutcome moveIntoTree(OpContext &context, const OpCall &call, const QUuid &id)
{
    const QUuid parentId = call.id("newParentId"_L1);
    if (context.document.item(id).itemType != model::ItemTypes::Sdf)
        return call.refuse(u"only items of the field go below nodes:"_s, id);
    if (context.tree->isComponentInstance(parentId))
        return call.refuse(u"cannot move into a component instance:"_s, parentId);
    const qsizetype siblings = context.tree->children(parentId).size();
    const int index = call.number("insertIndex"_L1, -1);
    QString reason;
    const auto adoption = planAdoption(context, id, parentId,
                                       index < 0 || index > siblings ? siblings : index, reason);
    if (!adoption)
        return call.refuse(reason, id);
    restoreAdoption(context, adoption->after);
    return OpChange{.itemId = id, .before = adoption->before, .after = adoption->after};
}

/// Below an item: the expression that the item is part of becomes nodes first.
OpOutcome moveBelowItem(OpContext &context, const OpCall &call, const QUuid &id)
{
    const QUuid parentId = call.id("newParentId"_L1);
    if (!isOperator(context.document, parentId))
        return call.refuse(u"a node stands in the tree, or below an operator:"_s, parentId);
    if (!hasRoom(context.document, parentId))
        return call.refuse(u"no room for another child:"_s, parentId);
    const QUuid top = topOfExpression(context, parentId);
    QString reason = u"a part is used more than once:"_s;
    const auto adoption =
        top.isNull() ? std::nullopt
                     : planAdoption(context, top, {}, context.tree->roots().size(), reason);
    if (!adoption)
        return call.refuse(reason, parentId);
    const model::LogicalScene::Batch batch(*context.tree);
    OpChange change{.itemId = id, .before = adoption->before, .after = adoption->after};
    change.before.insert(nodePlace(context, id));
    restoreAdoption(context, adoption->after);
    context.tree->moveInstance(id, parentId, call.number("insertIndex"_L1, -1));
    change.after.insert(nodePlace(context, id));
    return change;
}

OpOutcome moveItem(OpContext &context, const OpCall &call, const QUuid &id)
{
    model::Corvane &document = context.document;
    const QUuid parentId = call.id("newParentId"_L1);
    if (!parentId.isNull() && !document.hasItem(parentId))
        return call.refuse(u"parent not found:"_s, parentId);
    const bool isOfField = document.item(id).itemType == model::ItemTypes::Sdf;
    const QUuid newOperator = isOfField && isOperator(document, parentId) ? parentId : QUuid();
    if (isOfField && expressionOf(document, id).contains(parentId))
        return call.refuse(u"refused, the new parent stands below the item:"_s, id);
    const QUuid outerId = model::ItemWrappers(document, id).outerId();
    QList<QUuid> operators = isOfField ? operatorsOver(document, outerId) : QList<QUuid>();
    if (!newOperator.isNull() && !operators.contains(newOperator)) {
        if (!hasRoom(document, newOperator))
            return call.refuse(u"no room for another child:"_s, newOperator);
        operators.append(newOperator);
    }
    const QList<QUuid> siblings = document.hierarchyChildIds(parentId);
    OpChange change{.itemId = id, .before = itemPlace(context, id, siblings, operators)};
    const int index = call.number("insertIndex"_L1, -1);
    if (!document.moveHierarchyItem(id, parentId, index))
        return call.refuse(u"refused:"_s, id);
    if (isOfField) {
        takeWrappersAlong(context, id);
        moveInExpression(context, outerId, newOperator, index);
    }
    change.after = itemPlace(context, id, siblings, operators);
    return change;
}

void restoreNodePlace(OpContext &context, const QUuid &id, const QVariantMap &state)
{
    const QUuid parentId = OpCall::toId(state.value(u"csgParentId"_s));
    qsizetype index = state.value(u"csgIndex"_s).toLongLong();
    if (parentId.isNull() && index < 0) {
        context.tree->detachInstance(id);
        return;
    }
    const Placement now = placementOf(*context.tree, id);
    // moveInstance() counts by the list as it is before the move.
    if (now.parentId == parentId && now.index >= 0 && now.index < index)
        ++index;
    context.tree->moveInstance(id, parentId, index);
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
    const QUuid parentId = call.id("newParentId"_L1);
    if (context.node(id))
        return context.document.hasItem(parentId) && !context.node(parentId)
                   ? moveBelowItem(context, call, id)
                   : moveNode(context, call, id);
    return context.node(parentId) ? moveIntoTree(context, call, id) : moveItem(context, call, id);
}

void restorePlace(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    if (isAdoption(state)) {
        // A node that came along leaves before what it stands below, and comes after it.
        const bool isLeaving = !state.contains(u"nodes"_s);
        const auto place = [&] {
            if (state.contains(u"csgIndex"_s))
                restoreNodePlace(context, itemId, state);
        };
        if (isLeaving)
            place();
        restoreAdoption(context, state);
        if (!isLeaving)
            place();
        return;
    }
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
    takeWrappersAlong(context, itemId);
    restoreOperands(context.document, state.value(u"operands"_s).toMap());
    if (state.contains(u"roots"_s))
        context.document.setRoots(idsOf(state.value(u"roots"_s)));
}

} // namespace corvane::ops
