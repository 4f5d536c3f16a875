// Changes of single nodes of a logical scene, and the selection.
#include <corvane/model/LogicalScene.h>

#include <corvane/model/NodeCompilation.h>
#include <corvane/model/SceneItem.h>
#include <corvane/model/TransformPart.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

QStringList wrapperIds(const LogicalInstance &node)
{
    QStringList ids;
    for (const WrapperValues &wrapper : node.wrappers)
        ids.append(wrapper.definitionId);
    return ids;
}

/// A stack holds each wrapper once: its first place counts.
QList<WrapperValues> withoutRepeats(const QList<WrapperValues> &wrappers)
{
    QList<WrapperValues> kept;
    QSet<QString> seen;
    for (const WrapperValues &wrapper : wrappers) {
        if (wrapper.definitionId.isEmpty() || seen.contains(wrapper.definitionId))
            continue;
        seen.insert(wrapper.definitionId);
        kept.append(wrapper);
    }
    return kept;
}

bool haveSameSurface(const LogicalInstance &a, const LogicalInstance &b)
{
    return a.material == b.material && a.materialId == b.materialId && a.modifiers == b.modifiers;
}

bool haveSameTransform(const LogicalInstance &a, const LogicalInstance &b)
{
    return a.translate == b.translate && a.rotate == b.rotate && a.scale == b.scale;
}

} // namespace

void LogicalScene::setInstanceName(const QUuid &id, const QString &name)
{
    LogicalInstance *node = instance(id);
    if (!node || node->name == name)
        return;
    m_names.remove(node->name);
    node->name = name;
    m_names.add(name);
    emit instanceNameChanged(id, name);
}

void LogicalScene::setInstanceDefinition(const QUuid &id, const QString &definitionId)
{
    LogicalInstance *node = instance(id);
    if (!node || node->definitionId == definitionId)
        return;
    node->definitionId = definitionId;
    node->componentDefId.clear();
    structureTouched();
}

void LogicalScene::setInstanceParameter(const QUuid &id, const QString &key, const QVariant &value)
{
    LogicalInstance *node = instance(id);
    if (!node)
        return;
    node->params.insert(key, value);
    emit instanceParameterChanged(id);
}

void LogicalScene::removeInstanceParameter(const QUuid &id, const QString &key)
{
    LogicalInstance *node = instance(id);
    if (node && node->params.remove(key) > 0)
        emit instanceParameterChanged(id);
}

void LogicalScene::setInstanceParameters(const QUuid &id, const QVariantMap &params)
{
    LogicalInstance *node = instance(id);
    if (!node)
        return;
    node->params = params;
    emit instanceParameterChanged(id);
}

void LogicalScene::setWrapperParameter(const QUuid &id, const QString &wrapperId,
                                       const QString &key, const QVariant &value)
{
    LogicalInstance *node = instance(id);
    if (!node || wrapperId.isEmpty())
        return;
    const bool isNew = !std::as_const(*node).wrapper(wrapperId);
    if (isNew)
        node->wrappers.append({wrapperId, {}});
    node->wrapper(wrapperId)->values.insert(key, value);
    emit wrapperParameterChanged(id, wrapperId);
    if (isNew)
        structureTouched();
}

void LogicalScene::setWrappers(const QUuid &id, const QList<WrapperValues> &wrappers)
{
    if (!contains(id))
        return;
    LogicalInstance changed = *instance(id);
    changed.wrappers = wrappers;
    replaceInstance(changed);
}

void LogicalScene::setInstanceTransform(const QUuid &id, const QVector3D &translate,
                                        const QVector3D &rotate, const QVector3D &scale)
{
    LogicalInstance *node = instance(id);
    if (!node)
        return;
    node->translate = translate;
    node->rotate = rotate;
    node->scale = scale;
    emit instanceTransformChanged(id);
}

void LogicalScene::setInstanceMaterial(const QUuid &id, const Material &material,
                                       const QUuid &materialId)
{
    LogicalInstance *node = instance(id);
    if (!node)
        return;
    node->material = material;
    node->setMaterialId(materialId);
    emit instanceParameterChanged(id);
}

void LogicalScene::setInstanceTags(const QUuid &id, const QSet<QString> &tags)
{
    LogicalInstance *node = instance(id);
    if (!node || node->tags == tags)
        return;
    const QSet<QString> before = std::exchange(node->tags, tags);
    const auto differs = [&before, &tags](const QString &tag) {
        return before.contains(tag) != tags.contains(tag);
    };
    emit instanceTagsChanged(id);
    if (differs(InstanceTags::Hidden))
        emit visibilityChanged(id);
    if (differs(InstanceTags::Selected))
        emit selectionChanged();
}

void LogicalScene::setInstanceTag(const QUuid &id, const QString &tag, bool on)
{
    const LogicalInstance *node = std::as_const(*this).instance(id);
    if (!node)
        return;
    QSet<QString> tags = node->tags;
    if (on)
        tags.insert(tag);
    else
        tags.remove(tag);
    setInstanceTags(id, tags);
}

bool LogicalScene::replaceInstance(const LogicalInstance &replacement)
{
    LogicalInstance *node = instance(replacement.id);
    if (!node)
        return false;
    const QUuid id = replacement.id;
    const LogicalInstance before = *node;
    *node = replacement;
    node->children = before.children;
    node->wrappers = withoutRepeats(replacement.wrappers);
    // Names and tags are set by their own setters, which keep the books and tell of it.
    node->name = before.name;
    node->tags = before.tags;
    noteOriginal(*node);
    const LogicalInstance after = *node;

    setInstanceName(id, replacement.name);
    if (before.params != after.params || !haveSameSurface(before, after))
        emit instanceParameterChanged(id);
    bool isTransformTouched = !haveSameTransform(before, after);
    for (const WrapperValues &wrapper : after.wrappers) {
        const WrapperValues *old = before.wrapper(wrapper.definitionId);
        if (old && *old == wrapper)
            continue;
        emit wrapperParameterChanged(id, wrapper.definitionId);
        isTransformTouched |= !connectedParameter(wrapper.definitionId).isEmpty();
    }
    // Last, as it overrides what the values of wrappers say.
    if (isTransformTouched)
        emit instanceTransformChanged(id);
    setInstanceTags(id, replacement.tags);
    if (before.definitionId != after.definitionId ||
        before.componentDefId != after.componentDefId || wrapperIds(before) != wrapperIds(after) ||
        before.ownItem != after.ownItem || before.original != after.original)
        structureTouched();
    return true;
}

QList<QUuid> LogicalScene::selectedInstances() const
{
    QList<QUuid> selected;
    for (auto it = m_instances.cbegin(); it != m_instances.cend(); ++it) {
        if (it->hasTag(InstanceTags::Selected))
            selected.append(it.key());
    }
    return selected;
}

void LogicalScene::setSelectedInstance(const QUuid &id)
{
    const bool wasCleared = clearSelectedTags();
    if (setSelectedTag(id, true) || wasCleared)
        emit selectionChanged();
}

void LogicalScene::addToSelection(const QUuid &id)
{
    if (setSelectedTag(id, true))
        emit selectionChanged();
}

void LogicalScene::removeFromSelection(const QUuid &id)
{
    if (setSelectedTag(id, false))
        emit selectionChanged();
}

void LogicalScene::clearSelection()
{
    if (clearSelectedTags())
        emit selectionChanged();
}

bool LogicalScene::setSelectedTag(const QUuid &id, bool on)
{
    LogicalInstance *node = instance(id);
    if (!node || node->hasTag(InstanceTags::Selected) == on)
        return false;
    if (on)
        node->tags.insert(InstanceTags::Selected);
    else
        node->tags.remove(InstanceTags::Selected);
    emit instanceTagsChanged(id);
    return true;
}

bool LogicalScene::clearSelectedTags()
{
    const QList<QUuid> selected = selectedInstances();
    for (const QUuid &id : selected)
        setSelectedTag(id, false);
    return !selected.isEmpty();
}

} // namespace corvane::model
