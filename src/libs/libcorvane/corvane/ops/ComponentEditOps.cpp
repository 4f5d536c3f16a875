// Editing the inside of a component in the scene.
//
// A session is the map {definitionId, instance, nodes, given, structure}: which component is being
// edited, the instance that made room, and for each node that came from the definition its id
// there, the name that it got in the scene and the name that it has in the definition. With these a
// commit without edits gives back the very definition, and promotions find their targets again.
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/ComponentMaterializer.h>
#include <corvane/ops/ComponentOps.h>
#include <corvane/ops/ComponentState.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using component::ComponentDefinition;
using component::ComponentPromotion;
using model::LogicalInstance;

namespace {

template<class Value>
QVariantMap textMap(const QHash<QUuid, Value> &values)
{
    QVariantMap map;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        if constexpr (std::is_same_v<Value, QUuid>)
            map.insert(idText(it.key()), idText(*it));
        else
            map.insert(idText(it.key()), *it);
    }
    return map;
}

QVariantMap sessionOf(const QString &definitionId, const QVariantMap &instance,
                      const MaterializedBranch &branch)
{
    return {{u"definitionId"_s, definitionId},
            {u"instance"_s, instance},
            {u"nodes"_s, textMap(branch.ids)},
            {u"given"_s, textMap(branch.givenNames)},
            {u"structure"_s, textMap(branch.structureNames)}};
}

bool isBeingEdited(const OpContext &context, const QString &definitionId)
{
    return std::any_of(context.editSessions.cbegin(), context.editSessions.cend(),
                       [&definitionId](const QVariant &session) {
                           return session.toMap().value(u"definitionId"_s) == definitionId;
                       });
}

/// The id of a node in the definition: its old one where it came from there.
QUuid structureId(const QVariantMap &session, const QUuid &id)
{
    const QVariant known = session.value(u"nodes"_s).toMap().value(idText(id));
    return known.isValid() ? OpCall::toId(known) : id;
}

LogicalInstance structureNode(const QVariantMap &session, const LogicalInstance &node)
{
    const QString key = idText(node.id);
    LogicalInstance changed = node;
    changed.id = structureId(session, node.id);
    for (QUuid &child : changed.children)
        child = structureId(session, child);
    const QVariantMap given = session.value(u"given"_s).toMap();
    if (given.contains(key) && given.value(key).toString() == node.name)
        changed.name = session.value(u"structure"_s).toMap().value(key).toString();
    return changed;
}

ComponentDefinition editedDefinition(const OpContext &context, ComponentDefinition definition,
                                     const QVariantMap &session, const QUuid &branchRoot)
{
    QVariantList maps;
    QSet<QUuid> ids;
    const QList<QUuid> nodes = context.tree->subtree(branchRoot);
    for (const QUuid &id : nodes) {
        const LogicalInstance node = structureNode(session, *context.node(id));
        ids.insert(node.id);
        maps.append(structureMap(node.toVariantMap()));
    }
    definition.structure.insert(u"instances"_s, maps);
    definition.structure.insert(u"root"_s, idText(structureId(session, branchRoot)));
    definition.promotions.removeIf([&ids](const ComponentPromotion &promotion) {
        return !ids.contains(promotion.targetNode);
    });
    return definition;
}

void warnOfLostPromotions(const ComponentDefinition &before, const ComponentDefinition &after)
{
    for (const ComponentPromotion &promotion : before.promotions) {
        if (!after.promotions.contains(promotion))
            qCWarning(lcOps).noquote() << "component.edit_commit: promotion" << promotion.alias
                                       << "lost its target — dropped";
    }
}

/// The instance comes back where the branch stands now, and under a name that is free now.
QVariantMap returningInstance(const OpContext &context, const QVariantMap &session,
                              const QUuid &branchRoot)
{
    auto instance = LogicalInstance::fromVariantMap(session.value(u"instance"_s).toMap());
    instance.name = context.uniqueName(instance.name);
    return nodeSnapshot(instance, placementOf(*context.tree, branchRoot));
}

QVariantList branchOf(const OpContext &context, const QUuid &id)
{
    QVariantList branch;
    appendBranchSnapshot(*context.tree, id, branch);
    return QVariantList{QVariant(branch)};
}

} // namespace

OpOutcome applyComponentEditEnter(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QUuid id = call.id("itemId"_L1);
    if (!context.tree->isComponentInstance(id))
        return call.refuse(u"component instance not found:"_s, call.text("itemId"_L1));
    const QString definitionId = context.tree->componentDefIdOf(id);
    const auto definition = context.tree->componentRegistry()->definition(definitionId);
    if (!hasStructureRoot(definition))
        return call.refuse(u"unknown component definition:"_s, definitionId);
    if (isBeingEdited(context, definitionId))
        return call.refuse(u"already being edited:"_s, definitionId);

    const model::LogicalScene::Batch batch(*context.tree);
    const QVariantMap instance = instanceSnapshot(context, id);
    const Placement place = placementOf(*context.tree, id);
    context.tree->removeInstance(id);
    const auto branch = materializeDefinitionBranch(context, definition, place, nullptr);
    const QString key = idText(branch->rootId);
    const QVariantMap session = sessionOf(definitionId, instance, *branch);
    context.editSessions.insert(key, session);
    OpChange change{.itemId = branch->rootId, .createdId = branch->rootId};
    change.before = {{ComponentKeys::removeInstances, idList({branch->rootId})},
                     {ComponentKeys::restoreInstances, QVariantList{instance}},
                     {ComponentKeys::endSessions, QStringList{key}}};
    change.after = {{ComponentKeys::removeInstances, idList({id})},
                    {ComponentKeys::restoreBranches, branchOf(context, branch->rootId)},
                    {ComponentKeys::beginSessions, QVariantMap{{key, session}}}};
    return change;
}

OpOutcome applyComponentEditCommit(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QUuid branchRoot = call.id("branchRootId"_L1);
    const QString definitionId = call.text("definitionId"_L1);
    const QString key = idText(branchRoot);
    const QVariantMap session = context.editSessions.value(key).toMap();
    if (session.isEmpty() || session.value(u"definitionId"_s).toString() != definitionId)
        return call.refuse(u"session state missing"_s);
    if (!context.node(branchRoot))
        return call.refuse(u"branch root not found:"_s, branchRoot);
    const auto before = context.tree->componentRegistry()->definition(definitionId);
    const auto after = editedDefinition(context, before, session, branchRoot);
    const model::LogicalScene::Batch batch(*context.tree);
    const QVariantList branch = branchOf(context, branchRoot);
    QString error;
    if (!context.tree->componentRegistry()->applyDefinition(after, &error))
        return call.refuse(u"refused:"_s, error);
    warnOfLostPromotions(before, after);

    const QVariantMap instance = returningInstance(context, session, branchRoot);
    const QUuid instanceId = OpCall::toId(instance.value(u"id"_s));
    OpChange change{.itemId = instanceId, .createdId = instanceId};
    change.before = {{ComponentKeys::removeInstances, idList({instanceId})},
                     {ComponentKeys::updateDefinitions, QVariantList{before.toVariantMap()}},
                     {ComponentKeys::restoreBranches, branch},
                     {ComponentKeys::beginSessions, QVariantMap{{key, session}}}};
    change.after = {{ComponentKeys::removeInstances, idList({branchRoot})},
                    {ComponentKeys::updateDefinitions, QVariantList{after.toVariantMap()}},
                    {ComponentKeys::restoreInstances, QVariantList{instance}},
                    {ComponentKeys::endSessions, QStringList{key}}};
    // The definition is in force already; to apply it again changes nothing.
    applyComponentState(context, change.after);
    return change;
}

} // namespace corvane::ops
