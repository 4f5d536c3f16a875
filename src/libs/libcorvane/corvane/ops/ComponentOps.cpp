// Making components out of branches, and branches out of components.
#include <corvane/ops/ComponentOps.h>

#include <corvane/component/ComponentLibrary.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/ComponentMaterializer.h>
#include <corvane/ops/ComponentState.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using component::ComponentDefinition;
using model::LogicalInstance;

namespace {

constexpr auto unionDefinition = "union"_L1;

/// Branches on their way into a component.
struct Nesting
{
    QList<QUuid> roots{};     ///< in the order of the tree
    QVariantList branches{};  ///< snapshots of each
    QVariantList structure{}; ///< the nodes of the component
    QUuid structureRoot{};
    Placement place{};
    QString name{};
};

QVariantList structureMaps(const QVariantList &branch)
{
    QVariantList maps;
    for (const QVariant &node : branch)
        maps.append(structureMap(node.toMap()));
    return maps;
}

ComponentDefinition definitionOf(const Nesting &nesting, const QString &id)
{
    ComponentDefinition definition;
    definition.id = id.isEmpty() ? idText(QUuid::createUuid()) : id;
    definition.name = nesting.name;
    definition.structure = {{u"instances"_s, nesting.structure},
                            {u"root"_s, idText(nesting.structureRoot)}};
    return definition;
}

/// Whether something in the branches is used elsewhere, or something elsewhere is used in them: a
/// component has nothing in common with what is around it.
bool sharesParts(const OpContext &context, const QList<QUuid> &roots)
{
    const auto &references = context.tree->references();
    return std::any_of(references.keyBegin(), references.keyEnd(), [&](const QUuid &reference) {
        return std::any_of(roots.cbegin(), roots.cend(), [&](const QUuid &root) {
            return context.tree->isWithin(reference, root) ||
                   context.tree->isWithin(references.value(reference), root);
        });
    });
}

/// The steps that both ways of nesting share.
OpOutcome nest(OpContext &context, const OpCall &call, const Nesting &nesting)
{
    if (sharesParts(context, nesting.roots))
        return call.refuse(u"a part is used more than once:"_s, nesting.name);
    const ComponentDefinition definition = definitionOf(nesting, call.text("definitionId"_L1));
    model::LogicalScene &tree = *context.tree;
    const model::LogicalScene::Batch batch(tree);
    QString error;
    if (!tree.componentRegistry()->registerDefinition(definition, &error))
        return call.refuse(u"refused:"_s, error);
    for (const QUuid &root : nesting.roots)
        tree.removeInstance(root);
    const QUuid instance =
        tree.addComponentInstance(definition.id, nesting.place.parentId, nesting.place.index);
    if (instance.isNull()) {
        applyComponentState(context,
                            {{ComponentKeys::removeDefinitions, QStringList{definition.id}},
                             {ComponentKeys::restoreBranches, nesting.branches}});
        return call.refuse(u"refused:"_s, definition.name);
    }
    tree.setInstanceName(instance, context.uniqueName(context.nameOf(instance), instance));
    OpChange change{.itemId = instance, .createdId = instance};
    change.before = {{ComponentKeys::removeInstances, idList({instance})},
                     {ComponentKeys::removeDefinitions, QStringList{definition.id}},
                     {ComponentKeys::restoreBranches, nesting.branches}};
    change.after = {
        {ComponentKeys::removeInstances, idList(nesting.roots)},
        {ComponentKeys::registerDefinitions, QVariantList{definition.toVariantMap()}},
        {ComponentKeys::restoreInstances, QVariantList{instanceSnapshot(context, instance)}}};
    return change;
}

/// The given nodes, less those that stand below another of them, in the order of the tree.
QList<QUuid> topNodes(const OpContext &context, const QList<QUuid> &ids)
{
    const QSet<QUuid> wanted(ids.cbegin(), ids.cend());
    QSet<QUuid> inside;
    QList<QUuid> tops;
    const QList<QUuid> all = context.tree->nodesInOrder();
    for (const QUuid &id : all) {
        if (inside.contains(context.tree->parentOf(id)))
            inside.insert(id);
        if (inside.contains(id) || !wanted.contains(id))
            continue;
        inside.insert(id);
        tops.append(id);
    }
    return tops;
}

/// How many of the nodes stand before an index of a parent, and leave it when they go.
qsizetype leavingBefore(const OpContext &context, const QList<QUuid> &ids, const Placement &place)
{
    return std::count_if(ids.cbegin(), ids.cend(), [&](const QUuid &id) {
        const Placement at = placementOf(*context.tree, id);
        return at.parentId == place.parentId && at.index < place.index;
    });
}

QStringList publishedIds(const OpContext &context, const QString &definitionId)
{
    QStringList ids{definitionId};
    for (qsizetype i = 0; i < ids.size(); ++i) {
        const ComponentDefinition *known = context.tree->componentRegistry()->find(ids.at(i));
        const QStringList references = known ? known->referencedComponentIds() : QStringList();
        for (const QString &id : references) {
            if (!ids.contains(id) && context.tree->componentRegistry()->contains(id))
                ids.append(id);
        }
    }
    return ids;
}

bool isPlaced(const OpContext &context, const QString &definitionId)
{
    const auto &definitions = context.tree->componentRegistry()->definitions();
    const bool isReferenced =
        std::any_of(definitions.cbegin(), definitions.cend(),
                    [&definitionId](const ComponentDefinition &definition) {
                        return definition.referencedComponentIds().contains(definitionId);
                    });
    return isReferenced ||
           std::any_of(context.editSessions.cbegin(), context.editSessions.cend(),
                       [&definitionId](const QVariant &session) {
                           return session.toMap().value(u"definitionId"_s) == definitionId;
                       });
}

QVariantList branchOf(const OpContext &context, const QUuid &id)
{
    QVariantList branch;
    appendBranchSnapshot(*context.tree, id, branch);
    return branch;
}

/// An instance makes room for its nodes. Returns their root.
QUuid replaceInstance(OpContext &context, const ComponentDefinition &definition, const QUuid &id)
{
    const LogicalInstance instance = *context.node(id);
    const Placement place = placementOf(*context.tree, id);
    context.tree->removeInstance(id);
    const auto branch = materializeDefinitionBranch(context, definition, place, &instance);
    return branch ? branch->rootId : QUuid();
}

} // namespace

OpOutcome applyComponentNest(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QUuid root = call.id("itemId"_L1);
    if (!context.node(root))
        return call.refuse(u"branch root not found:"_s, call.text("itemId"_L1));
    const QVariantList branch = branchOf(context, root);
    const QString name = call.text("name"_L1);
    return nest(context, call,
                {.roots = {root},
                 .branches = QVariantList{QVariant(branch)},
                 .structure = structureMaps(branch),
                 .structureRoot = root,
                 .place = placementOf(*context.tree, root),
                 .name = name.isEmpty() ? context.nameOf(root) : name});
}

OpOutcome applyComponentNestMulti(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QList<QUuid> roots = topNodes(context, call.ids("itemIds"_L1));
    if (roots.size() < 2)
        return call.refuse(u"need >= 2 valid items, got"_s, QString::number(roots.size()));
    if (!registry::Registry::instance().contains(unionDefinition))
        return call.refuse(u"failed to create union root"_s);
    LogicalInstance top;
    top.definitionId = unionDefinition;
    top.name = context.tree->generateUniqueName(u"Union"_s);
    const QStringList wrappers = model::initialWrappers(top.definitionId, {});
    for (const QString &wrapperId : wrappers)
        top.wrappers.append({wrapperId, {}});
    top.children = roots;

    const QString name = call.text("name"_L1);
    Nesting nesting{.roots = roots,
                    .structure = {top.toVariantMap()},
                    .structureRoot = top.id,
                    .place = placementOf(*context.tree, roots.first()),
                    .name = name.isEmpty() ? u"Component"_s : name};
    for (const QUuid &root : roots) {
        const QVariantList branch = branchOf(context, root);
        nesting.branches.append(QVariant(branch));
        nesting.structure += structureMaps(branch);
    }
    nesting.place.index -= leavingBefore(context, roots, nesting.place);
    OpOutcome outcome = nest(context, call, nesting);
    if (outcome)
        outcome->textArgs = {QString::number(roots.size())};
    return outcome;
}

OpOutcome applyComponentUnnest(OpContext &context, const OpCall &call)
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
    const model::LogicalScene::Batch batch(*context.tree);
    const QVariantMap instance = instanceSnapshot(context, id);
    const QUuid root = replaceInstance(context, definition, id);
    OpChange change{.itemId = root, .createdId = root};
    change.before = {{ComponentKeys::removeInstances, idList({root})},
                     {ComponentKeys::restoreInstances, QVariantList{instance}}};
    change.after = {
        {ComponentKeys::removeInstances, idList({id})},
        {ComponentKeys::restoreBranches, QVariantList{QVariant(branchOf(context, root))}}};
    return change;
}

OpOutcome applyComponentExplode(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QString definitionId = call.text("definitionId"_L1);
    const auto definition = context.tree->componentRegistry()->definition(definitionId);
    if (!hasStructureRoot(definition))
        return call.refuse(u"unknown component definition:"_s, definitionId);
    QList<QUuid> instances = context.tree->nodesInOrder();
    instances.removeIf([&context, &definitionId](const QUuid &id) {
        return context.tree->componentDefIdOf(id) != definitionId;
    });

    const model::LogicalScene::Batch batch(*context.tree);
    QVariantList snapshots;
    QVariantList branches;
    QList<QUuid> roots;
    for (const QUuid &id : std::as_const(instances)) {
        snapshots.append(instanceSnapshot(context, id));
        roots.append(replaceInstance(context, definition, id));
        branches.append(QVariant(branchOf(context, roots.last())));
    }
    OpChange change;
    change.before = {{ComponentKeys::removeInstances, idList(roots)},
                     {ComponentKeys::restoreInstances, snapshots}};
    change.after = {{ComponentKeys::removeInstances, idList(instances)},
                    {ComponentKeys::restoreBranches, branches}};
    change.textArgs = {QString::number(instances.size()),
                       instances.size() == 1 ? QString() : u"s"_s};
    if (!isPlaced(context, definitionId)) {
        context.tree->componentRegistry()->removeDefinition(definitionId);
        change.before.insert(ComponentKeys::registerDefinitions,
                             QVariantList{definition.toVariantMap()});
        change.after.insert(ComponentKeys::removeDefinitions, QStringList{definitionId});
    }
    return change;
}

OpOutcome applyComponentUpdateDefinition(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QString definitionId = call.text("definitionId"_L1);
    const ComponentDefinition *known = context.tree->componentRegistry()->find(definitionId);
    if (!known)
        return call.refuse(u"unknown component definition:"_s, definitionId);
    const QVariantMap before = known->toVariantMap();
    const QVariantMap given = call.map("definition"_L1);
    QVariantMap map = given.contains(u"structure"_s) ? QVariantMap() : before;
    map.insert(given);
    map.insert(u"id"_s, definitionId);
    const ComponentDefinition definition = ComponentDefinition::fromVariantMap(map);
    if (!hasStructureRoot(definition))
        return call.refuse(u"refused:"_s, u"the structure has no root"_s);
    QString error;
    if (!context.tree->componentRegistry()->applyDefinition(definition, &error))
        return call.refuse(u"refused:"_s, error);
    return OpChange{
        .before = {{ComponentKeys::updateDefinitions, QVariantList{before}}},
        .after = {{ComponentKeys::updateDefinitions, QVariantList{definition.toVariantMap()}}},
        .textArgs = {definition.name}};
}

OpOutcome applyComponentPublish(OpContext &context, const OpCall &call)
{
    if (!context.tree)
        return call.refuse(u"no LogicalScene"_s);
    const QString definitionId = call.text("definitionId"_L1);
    if (!context.tree->componentRegistry()->contains(definitionId))
        return call.refuse(u"unknown component definition:"_s, definitionId);
    QVariantList saved;
    QVariantList replaced;
    QStringList added;
    const QStringList ids = publishedIds(context, definitionId);
    for (const QString &id : ids) {
        if (context.library.contains(id))
            replaced.append(context.library.definition(id).toVariantMap());
        else
            added.append(id);
        const auto definition = context.tree->componentRegistry()->definition(id);
        QString error;
        if (!context.library.saveDefinition(definition, &error)) {
            added.removeAll(id);
            applyComponentState(context, {{ComponentKeys::librarySaves, replaced},
                                          {ComponentKeys::libraryRemoves, added}});
            return call.refuse(u"refused:"_s, error);
        }
        saved.append(definition.toVariantMap());
    }
    const QString name = context.tree->componentRegistry()->find(definitionId)->name;
    return OpChange{
        .before = {{ComponentKeys::librarySaves, replaced}, {ComponentKeys::libraryRemoves, added}},
        .after = {{ComponentKeys::librarySaves, saved}},
        .textArgs = {name}};
}

} // namespace corvane::ops
