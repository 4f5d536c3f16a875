#include <corvane/ops/DefinitionOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using registry::Definition;
using registry::DefinitionPtr;

namespace {

qsizetype indexOf(const QList<DefinitionPtr> &definitions, const QString &id)
{
    const auto it =
        std::find_if(definitions.cbegin(), definitions.cend(),
                     [&id](const DefinitionPtr &definition) { return definition->id == id; });
    return it == definitions.cend() ? -1 : it - definitions.cbegin();
}

QVariantMap definitionState(const OpContext &context, const QString &id)
{
    const QList<DefinitionPtr> definitions = context.document.customDefinitions();
    const qsizetype index = indexOf(definitions, id);
    return {{StateKeys::opDomain, OpDomain::definition},
            {u"definitionId"_s, id},
            {u"definition"_s, definitions.at(index)->toVariantMap()},
            {StateKeys::index, index}};
}

QString labelOf(const Definition &definition)
{
    return definition.name.isEmpty() ? definition.id : definition.name;
}

} // namespace

OpOutcome applyDefinitionAdd(OpContext &context, const OpCall &call)
{
    const DefinitionPtr definition = Definition::fromVariantMap(call.map("definition"_L1));
    if (!definition || !definition->isValid())
        return call.refuse(u"failed to parse definition"_s);
    const QString id = definition->id;
    if (context.document.hasCustomDefinition(id) || registry::Registry::instance().contains(id))
        return call.refuse(u"already exists:"_s, id);
    context.document.setCustomDefinitions(context.document.customDefinitions() << definition);
    return OpChange{.category = OpCategory::ItemAdded,
                    .after = definitionState(context, id),
                    .textArgs = {labelOf(*definition)}};
}

OpOutcome applyDefinitionRemove(OpContext &context, const OpCall &call)
{
    const QString id = call.text("definitionId"_L1);
    if (!context.document.hasCustomDefinition(id))
        return call.refuse(u"definition not found:"_s, id);
    OpChange change{.category = OpCategory::ItemRemoved,
                    .before = definitionState(context, id),
                    .textArgs = {id}};
    removeDefinitionSnapshot(context, change.before);
    return change;
}

OpOutcome applyDefinitionUpdate(OpContext &context, const OpCall &call)
{
    const QString id = call.text("definitionId"_L1);
    if (!context.document.hasCustomDefinition(id))
        return call.refuse(u"definition not found:"_s, id);
    QVariantMap map = call.map("definition"_L1);
    if (map.value(u"id"_s, id).toString() != id)
        return call.refuse(u"a definition keeps its id:"_s, id);
    map.insert(u"id"_s, id);
    const DefinitionPtr definition = Definition::fromVariantMap(map);
    if (!definition || !definition->isValid())
        return call.refuse(u"failed to parse definition"_s);
    OpChange change{.before = definitionState(context, id), .textArgs = {labelOf(*definition)}};
    change.after = change.before;
    change.after.insert(u"definition"_s, definition->toVariantMap());
    restoreCustomDefinition(context, {}, change.after);
    return change;
}

void restoreCustomDefinition(OpContext &context, const QUuid &, const QVariantMap &state)
{
    QList<DefinitionPtr> definitions = context.document.customDefinitions();
    const qsizetype index = indexOf(definitions, state.value(u"definitionId"_s).toString());
    if (index < 0)
        return;
    definitions[index] = Definition::fromVariantMap(state.value(u"definition"_s).toMap());
    context.document.setCustomDefinitions(definitions);
}

void insertDefinitionSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    QList<DefinitionPtr> definitions = context.document.customDefinitions();
    const qsizetype index = snapshot.value(StateKeys::index).toLongLong();
    definitions.insert(std::clamp<qsizetype>(index, 0, definitions.size()),
                       Definition::fromVariantMap(snapshot.value(u"definition"_s).toMap()));
    context.document.setCustomDefinitions(definitions);
}

void removeDefinitionSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    QList<DefinitionPtr> definitions = context.document.customDefinitions();
    const QString id = snapshot.value(u"definitionId"_s).toString();
    definitions.removeIf([&id](const DefinitionPtr &definition) { return definition->id == id; });
    context.document.setCustomDefinitions(definitions);
}

} // namespace corvane::ops
