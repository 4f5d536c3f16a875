#include <corvane/tasks/SceneAccess.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/ops/CorvaneServiceLocator.h>

namespace corvane::zirn {

namespace {

using Role = model::SDFNodeProvenance::Role;

QUuid coreOf(const model::Corvane &document, const QUuid &sourceId)
{
    const auto items = document.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType != model::ItemTypes::Sdf)
            continue;
        const model::SDFNodeProvenance from = model::Instance(item).provenance();
        if (from.sourceItemId == sourceId && from.role == Role::Core)
            return item.id;
    }
    return {};
}

} // namespace

SceneAccess SceneAccess::current()
{
    const auto &locator = ops::CorvaneServiceLocator::instance();
    ops::CorvaneOpExecutor *executor = locator.executor();
    return {.document = locator.scene(),
            .tree = executor ? executor->logicalScene() : nullptr,
            .executor = executor};
}

bool SceneAccess::isCurrent() const
{
    const SceneAccess now = current();
    return now.document == document && now.executor == executor && now.tree == tree;
}

QUuid SceneAccess::resolve(const QString &text) const
{
    const QUuid id = QUuid::fromString(text);
    if (id.isNull() || isNode(id) || document->hasItem(id))
        return id;
    return coreOf(*document, id);
}

bool SceneAccess::isNode(const QUuid &id) const
{
    return tree && tree->contains(id);
}

} // namespace corvane::zirn
