#include <corvane/tasks/SceneAccess.h>

#include <corvane/model/CompiledItems.h>
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

/// The node that compiles to a core of that id; null when none does.
QUuid nodeOf(const model::LogicalScene &tree, const QUuid &coreId)
{
    const auto &nodes = tree.instances();
    const auto node = std::find_if(nodes.keyBegin(), nodes.keyEnd(), [&coreId](const QUuid &id) {
        return model::CompiledItems::itemId(id, {}) == coreId;
    });
    return node == nodes.keyEnd() ? QUuid() : *node;
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
    const QUuid node = tree ? nodeOf(*tree, id) : QUuid();
    return node.isNull() ? coreOf(*document, id) : node;
}

bool SceneAccess::isNode(const QUuid &id) const
{
    return tree && tree->contains(id);
}

} // namespace corvane::zirn
