// Following single edits of the source: each touches the items of one node.
#include <corvane/compile/LogicalSceneCompiler.h>

#include <corvane/compile/CompiledItems.h>
#include <corvane/compile/LogicalExpressions.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/NodeCompilation.h>
#include <corvane/model/TransformPart.h>

#include <QScopedValueRollback>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

const QString childrenParam = QStringLiteral("children");

void putBack(QVariantMap &params, const QString &param, const QVariantMap &before)
{
    if (const auto old = before.constFind(param); old != before.cend())
        params.insert(param, *old);
}

bool hasExpressionPromotion(const component::ComponentRegistry &components)
{
    for (const component::ComponentDefinition &definition : components.definitions()) {
        for (const component::ComponentPromotion &promotion : definition.promotions) {
            if (promotion.binding == component::ComponentPromotion::Expression)
                return true;
        }
    }
    return false;
}

} // namespace

void LogicalSceneCompiler::setSource(LogicalScene *source)
{
    if (m_source == source)
        return;
    if (m_source)
        disconnect(m_source, nullptr, this, nullptr);
    m_source = source;
    m_compileIsDue = false;
    if (!source)
        return;
    using Compiler = LogicalSceneCompiler;
    connect(source, &LogicalScene::structureChanged, this, &Compiler::fullCompile);
    connect(source, &LogicalScene::visibilityChanged, this, &Compiler::compileSoon);
    connect(source, &LogicalScene::batchEnded, this, &Compiler::onBatchEnded);
    connect(source, &LogicalScene::instanceParameterChanged, this,
            &Compiler::onInstanceParameterChanged);
    connect(source, &LogicalScene::instanceTransformChanged, this,
            &Compiler::onInstanceTransformChanged);
    connect(source, &LogicalScene::instanceNameChanged, this, &Compiler::onInstanceNameChanged);
    connect(source, &LogicalScene::instanceTagsChanged, this, &Compiler::onInstanceTagsChanged);
    connect(source, &LogicalScene::wrapperParameterChanged, this,
            &Compiler::onWrapperParameterChanged);
    connect(source, &LogicalScene::selectionChanged, this, &Compiler::onLogicalSelectionChanged);
}

void LogicalSceneCompiler::setTarget(Corvane *target)
{
    if (m_target == target)
        return;
    if (m_target)
        disconnect(m_target, nullptr, this, nullptr);
    m_target = target;
    forgetResults();
    *m_memory = {};
    if (!target)
        return;
    connect(target, &Corvane::varsetChanged, this, &LogicalSceneCompiler::onVarsetChanged);
    connect(target, &Corvane::materialUpdated, this, &LogicalSceneCompiler::onMaterialUpdated);
    connect(target, &Corvane::variableRenamed, this, &LogicalSceneCompiler::onVariableRenamed);
    connect(target, &Corvane::instanceRenamed, this, &LogicalSceneCompiler::onItemRenamed);
}

/// Expressions of plain nodes live on in the items' parameters; those of promotions are evaluated
/// here.
void LogicalSceneCompiler::onVarsetChanged()
{
    if (m_source && hasExpressionPromotion(*m_source->componentRegistry()))
        compileSoon();
}

void LogicalSceneCompiler::onVariableRenamed(const QString &oldName, const QString &newName)
{
    if (!m_source)
        return;
    LogicalExpressions expressions(*m_source);
    followRename(expressions, [&] { expressions.renameVariable(oldName, newName, *m_target); });
}

/// Names of compiled items stand in no expression of the tree.
void LogicalSceneCompiler::onItemRenamed(const QUuid &id, const QString &oldName,
                                         const QString &newName)
{
    if (!m_source || m_target->item(id).hasTag(ItemTags::Compiled))
        return;
    LogicalExpressions expressions(*m_source);
    followRename(expressions, [&] { expressions.renameItem(oldName, newName, *m_target); });
}

void LogicalSceneCompiler::followRename(LogicalExpressions &expressions,
                                        const std::function<void()> &rename)
{
    {
        const QScopedValueRollback own(m_isRenaming, true);
        rename();
    }
    if (expressions.haveComponentsChanged()) {
        compileSoon();
        return;
    }
    const QList<QUuid> changed = expressions.changedNodes();
    for (const QUuid &id : changed) {
        onInstanceParameterChanged(id);
        const QStringList wrappers = m_mappings.value(id).wrapperIds.keys();
        for (const QString &wrapperId : wrappers)
            onWrapperParameterChanged(id, wrapperId);
        onInstanceTransformChanged(id);
    }
}

void LogicalSceneCompiler::onInstanceParameterChanged(const QUuid &id)
{
    const LogicalInstance *node = nodeFor(id);
    const auto mapping = m_mappings.constFind(id);
    if (m_isRenaming || !m_target || !node || mapping == m_mappings.cend())
        return;
    if (node->isComponentInstance())
        compileSoon();
    else
        updateCore(*node, mapping->coreId);
}

void LogicalSceneCompiler::updateCore(const LogicalInstance &node, const QUuid &coreId)
{
    change(coreId, [this, &node](Instance &core) {
        const QVariantMap before = core.rawParams();
        QVariantMap params = NodeCompilation::coreParameters(node, before);
        putBack(params, childrenParam, before);
        core.setRawParams(params);
        NodeCompilation(*m_target).fillSurface(core, node);
    });
}

void LogicalSceneCompiler::onInstanceTransformChanged(const QUuid &id)
{
    const LogicalInstance *node = nodeFor(id);
    const QMap<QString, QUuid> wrappers = m_mappings.value(id).wrapperIds;
    for (auto it = wrappers.cbegin(); node && it != wrappers.cend(); ++it) {
        if (connectedParameter(it.key()).isEmpty())
            continue;
        change(*it, [&](Instance &wrapper) {
            QVariantMap params = wrapper.rawParams();
            NodeCompilation::applyConnectedTransform(params, it.key(), *node);
            wrapper.setRawParams(params);
        });
    }
}

/// A name has no effect on the field; it is kept beside each item for those who show where an item
/// comes from.
/// But where the node has an item of its own, others refer to that by its name.
void LogicalSceneCompiler::onInstanceNameChanged(const QUuid &id, const QString &name)
{
    const LogicalInstance *node = nodeFor(id);
    if (node && node->hasOwnItem()) {
        compileSoon();
        return;
    }
    const CompiledInstanceMapping mapping = m_mappings.value(id);
    const QList<QUuid> items = QList<QUuid>{mapping.coreId} + mapping.wrapperIds.values();
    for (const QUuid &itemId : items) {
        change(itemId, [&id, &name](Instance &item) {
            SDFNodeProvenance provenance = item.provenance();
            // The core of a component instance comes from a node of its structure.
            if (provenance.sourceItemId != id)
                return;
            provenance.sourceItemName = name;
            item.setProvenance(provenance);
        });
    }
}

void LogicalSceneCompiler::onInstanceTagsChanged(const QUuid &id)
{
    const LogicalInstance *node = nodeFor(id);
    const auto mapping = m_mappings.constFind(id);
    if (!node || mapping == m_mappings.cend() || node->isComponentInstance())
        return;
    change(mapping->coreId, [node](Instance &core) {
        const bool isSelected = core.hasTag(ItemTags::Selected);
        core.tags = NodeCompilation::coreTags(*node);
        if (isSelected)
            core.tags.insert(ItemTags::Selected);
    });
}

/// A transform that is connected is not applied again: it stays as the item has it, unless the
/// values have one of their own.
void LogicalSceneCompiler::onWrapperParameterChanged(const QUuid &id, const QString &wrapperId)
{
    const LogicalInstance *node = nodeFor(id);
    const WrapperValues *values = node ? node->wrapper(wrapperId) : nullptr;
    if (m_isRenaming || !m_target || !values)
        return;
    change(m_mappings.value(id).wrapperIds.value(wrapperId), [&](Instance &wrapper) {
        const QVariantMap before = wrapper.rawParams();
        QVariantMap params = NodeCompilation(*m_target).wrapperParameters(*values, before);
        putBack(params, childrenParam, before);
        const QString connected = connectedParameter(wrapperId);
        if (!NodeCompilation::connectedExpression(*node, wrapperId).isEmpty())
            NodeCompilation::applyConnectedTransform(params, wrapperId, *node);
        else if (!connected.isEmpty() && !values->values.contains(connected))
            putBack(params, connected, before);
        wrapper.setRawParams(params);
    });
}

void LogicalSceneCompiler::onLogicalSelectionChanged()
{
    if (!m_source || !m_target)
        return;
    QList<QUuid> wanted;
    const QList<QUuid> nodes = m_source->selectedInstances();
    for (const QUuid &id : nodes) {
        const auto mapping = m_mappings.constFind(id);
        if (mapping != m_mappings.cend())
            wanted.append(mapping->outerId);
    }
    const QSet<QUuid> kept(wanted.cbegin(), wanted.cend());
    QList<QUuid> removed;
    const QList<QUuid> selected = m_target->selectedInstances();
    for (const QUuid &id : selected) {
        const bool isOurs = m_source->contains(id) || m_compiledToSource.contains(id);
        if (isOurs && !kept.contains(id))
            removed.append(id);
    }
    m_target->changeSelection(removed, wanted);
}

void LogicalSceneCompiler::onMaterialUpdated(const QUuid &id)
{
    for (const CompiledInstanceMapping &mapping : std::as_const(m_mappings)) {
        const LogicalInstance *node = nodeFor(mapping.logicalId);
        if (!node || node->materialId != id || node->isComponentInstance())
            continue;
        change(mapping.coreId, [this, node](Instance &core) {
            NodeCompilation(*m_target).fillSurface(core, *node);
        });
    }
}

void LogicalSceneCompiler::change(const QUuid &itemId, const std::function<void(Instance &)> &edit)
{
    if (!m_target || !m_target->hasItem(itemId))
        return;
    const Instance before = m_target->instance(itemId);
    Instance after = before;
    edit(after);
    if (after != before)
        m_target->updateItem(after);
}

} // namespace corvane::model
