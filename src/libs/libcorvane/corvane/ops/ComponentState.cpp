#include <corvane/ops/ComponentState.h>

#include <corvane/component/ComponentLibrary.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/SceneItem.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/OpChange.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using component::ComponentDefinition;

namespace {

void updateDefinitions(OpContext &context, const QVariantList &maps)
{
    for (const QVariant &map : maps) {
        QString error;
        const auto definition = ComponentDefinition::fromVariantMap(map.toMap());
        if (!context.tree->componentRegistry()->applyDefinition(definition, &error))
            qCWarning(lcOps).noquote() << "applyComponentState: update failed:" << error;
    }
}

void registerDefinitions(OpContext &context, const QVariantList &maps)
{
    for (const QVariant &map : maps) {
        QString error;
        const auto definition = ComponentDefinition::fromVariantMap(map.toMap());
        if (!context.tree->componentRegistry()->registerDefinition(definition, &error))
            qCWarning(lcOps).noquote() << "applyComponentState: re-register failed:" << error;
    }
}

void saveToLibrary(OpContext &context, const QVariantList &maps)
{
    for (const QVariant &map : maps) {
        QString error;
        const auto definition = ComponentDefinition::fromVariantMap(map.toMap());
        if (!context.library.saveDefinition(definition, &error))
            qCWarning(lcOps).noquote() << "applyComponentState: library save failed:" << error;
    }
}

void removeFromLibrary(OpContext &context, const QStringList &ids)
{
    for (const QString &id : ids) {
        QString error;
        if (!context.library.removeDefinition(id, &error))
            qCWarning(lcOps).noquote() << "applyComponentState: library remove failed:" << error;
    }
}

void changeSessions(OpContext &context, const QVariantMap &state)
{
    const QStringList ended = state.value(ComponentKeys::endSessions).toStringList();
    for (const QString &session : ended)
        context.editSessions.remove(session);
    context.editSessions.insert(state.value(ComponentKeys::beginSessions).toMap());
}

} // namespace

void applyComponentState(OpContext &context, const QVariantMap &state)
{
    if (!context.tree)
        return;
    const auto list = [&state](const QString &key) { return state.value(key).toList(); };
    const model::LogicalScene::Batch batch(*context.tree);
    const QList<QUuid> removed = idsOf(state.value(ComponentKeys::removeInstances));
    for (const QUuid &id : removed)
        context.tree->removeInstance(id);
    const QStringList removedDefinitions =
        state.value(ComponentKeys::removeDefinitions).toStringList();
    for (const QString &id : removedDefinitions)
        context.tree->componentRegistry()->removeDefinition(id);
    updateDefinitions(context, list(ComponentKeys::updateDefinitions));
    registerDefinitions(context, list(ComponentKeys::registerDefinitions));
    saveToLibrary(context, list(ComponentKeys::librarySaves));
    removeFromLibrary(context, state.value(ComponentKeys::libraryRemoves).toStringList());
    const QVariantList branches = list(ComponentKeys::restoreBranches);
    for (const QVariant &branch : branches)
        restoreBranch(*context.tree, branch.toList());
    restoreBranch(*context.tree, list(ComponentKeys::restoreInstances));
    changeSessions(context, state);
}

void restoreComponentState(OpContext &context, const QUuid &, const QVariantMap &state)
{
    applyComponentState(context, state);
}

QVariantMap instanceSnapshot(const OpContext &context, const QUuid &id)
{
    return nodeSnapshot(*context.node(id), placementOf(*context.tree, id));
}

QVariantMap structureMap(const QVariantMap &snapshot)
{
    auto node = model::LogicalInstance::fromVariantMap(snapshot);
    node.tags -= {model::ItemTags::Selected, model::ItemTags::Hovered};
    node.ownItem.clear(); // each place of the component has items of its own
    return node.toVariantMap();
}

} // namespace corvane::ops
