#include <corvane/tasks/SceneAccess.h>

#include <corvane/compile/CompiledItems.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/ops/CorvaneServiceLocator.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

/// The node that is, by itself, the core of a node that an earlier run compiled.
QUuid leftoverOf(const model::LogicalScene &tree, const QUuid &sourceId)
{
    for (const model::LogicalInstance &node : tree.instances()) {
        if (!node.ownItem.contains(u"__provenance"_s))
            continue;
        const auto from =
            model::SDFNodeProvenance::fromVariantMap(node.ownItem.value(u"__provenance"_s).toMap());
        if (from.sourceItemId == sourceId && from.role == model::SDFNodeProvenance::Role::Core)
            return node.id;
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
    if (!tree)
        return {};
    const QUuid node = nodeOf(*tree, id);
    return node.isNull() ? leftoverOf(*tree, id) : node;
}

bool SceneAccess::isNode(const QUuid &id) const
{
    return tree && tree->contains(id);
}

} // namespace corvane::zirn
