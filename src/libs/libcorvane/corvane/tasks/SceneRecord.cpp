#include <corvane/tasks/SceneRecord.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/tasks/SceneErrors.h>
#include <corvane/tasks/TaskJson.h>

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

QString idText(const QUuid &id)
{
    return id.isNull() ? QString() : id.toString(QUuid::WithoutBraces);
}

/// Of an item that was compiled in an earlier run, the name that its node had.
QString shownName(const model::SceneItem &item)
{
    if (item.itemType != model::ItemTypes::Sdf || !item.hasTag(model::ItemTags::Compiled))
        return item.name;
    const model::SDFNodeProvenance from = model::Instance(item).provenance();
    const bool isCore = from.role == model::SDFNodeProvenance::Role::Core;
    return isCore && !from.sourceItemName.isEmpty() ? from.sourceItemName : item.name;
}

} // namespace

QJsonObject SceneRecord::childSummary() const
{
    return {{u"id"_s, idText(id)}, {u"name"_s, name}, {u"type"_s, type}};
}

QJsonObject SceneRecord::summary() const
{
    QJsonObject object = childSummary();
    object.insert(u"parentId"_s, idText(parentId));
    return object;
}

QJsonObject SceneRecord::toJson() const
{
    QJsonObject object = summary();
    object.insert(u"translate"_s, jsonOf(translate));
    object.insert(u"rotate"_s, jsonOf(rotate));
    object.insert(u"scale"_s, jsonOf(scale));
    object.insert(u"material"_s, jsonOf(material.toVariantMap()));
    object.insert(u"materialId"_s, idText(materialId));
    QStringList words(tags.cbegin(), tags.cend());
    words.sort();
    object.insert(u"tags"_s, QJsonArray::fromStringList(words));
    QJsonArray below;
    for (const QUuid &child : children)
        below.append(idText(child));
    object.insert(u"children"_s, below);
    if (type == model::ItemTypes::Sdf) {
        object.insert(u"definitionId"_s, definitionId);
        object.insert(u"parameters"_s, jsonOfParameters(params));
        object.insert(u"modifiers"_s, jsonOf(modifiers));
    }
    if (!componentId.isEmpty())
        object.insert(u"componentId"_s, componentId);
    if (!typeData.isEmpty())
        object.insert(u"typeData"_s, jsonOf(typeData));
    return object;
}

SceneRecords::SceneRecords(const SceneAccess &access)
    : m_access(access)
{
    if (access.tree)
        m_ids = access.tree->nodesInOrder();
    const auto items = access.document->items();
    for (const model::SceneItem &item : items) {
        if (standsForNode(item, access.tree))
            continue;
        const QUuid owner = model::ItemWrappers::ownerOf(*access.document, item);
        if (owner.isNull())
            m_ids.append(item.id);
        else
            m_owners.insert(item.id, owner);
    }
    for (const QUuid &id : std::as_const(m_ids)) {
        if (access.isNode(id) || access.document->item(id).itemType != model::ItemTypes::Sdf)
            continue;
        const QList<QUuid> children = access.document->childInstanceIds(id);
        for (const QUuid &child : children) {
            if (shown(child) != id && !m_operators.contains(shown(child)))
                m_operators.insert(shown(child), id);
        }
    }
}

QList<QUuid> SceneRecords::roots() const
{
    QList<QUuid> roots;
    for (const QUuid &id : m_ids) {
        const bool isTop = m_access.isNode(id) ? m_access.tree->parentOf(id).isNull()
                                               : parentOfItem(m_access.document->item(id)).isNull();
        if (isTop)
            roots.append(id);
    }
    return roots;
}

QList<QUuid> SceneRecords::childrenOf(const QUuid &id) const
{
    if (id.isNull())
        return roots();
    if (m_access.isNode(id))
        return m_access.tree->children(id);
    QList<QUuid> children;
    const QList<QUuid> below =
        m_access.document->hierarchyChildIds(id) + m_access.document->childInstanceIds(id);
    for (const QUuid &child : below) {
        if (shown(child) != id && !children.contains(shown(child)))
            children.append(shown(child));
    }
    return children;
}

bool SceneRecords::contains(const QUuid &id) const
{
    return m_access.isNode(id) || m_access.document->hasItem(id);
}

SceneRecord SceneRecords::record(const QUuid &id) const
{
    if (m_access.isNode(id))
        return ofNode(*std::as_const(*m_access.tree).instance(id));
    return ofItem(m_access.document->item(id));
}

QUuid SceneRecords::idByName(const QString &name) const
{
    for (const QUuid &id : m_ids) {
        const bool isNode = m_access.isNode(id);
        const QString own = isNode ? std::as_const(*m_access.tree).instance(id)->name
                                   : shownName(m_access.document->item(id));
        if (own == name)
            return id;
    }
    return m_access.document->instanceIdByName(name);
}

SceneRecord SceneRecords::ofNode(const model::LogicalInstance &node) const
{
    return {.id = node.id,
            .name = node.name,
            .type = node.isContainer() ? model::ItemTypes::Group : model::ItemTypes::Sdf,
            .parentId = m_access.tree->parentOf(node.id),
            .definitionId = node.definitionId,
            .componentId = node.componentDefId,
            .params = node.params,
            .modifiers = {{u"densityScale"_s, node.densityScale},
                          {u"shellThickness"_s, node.shellThickness},
                          {u"blendSharpness"_s, node.blendSharpness},
                          {u"materialMode"_s, node.materialMode}},
            .translate = node.translate,
            .rotate = node.rotate,
            .scale = node.scale,
            .material = node.material,
            .materialId = node.materialId,
            .tags = node.tags,
            .children = node.children};
}

SceneRecord SceneRecords::ofItem(const model::SceneItem &item) const
{
    SceneRecord record{.id = item.id,
                       .name = shownName(item),
                       .type = item.itemType,
                       .parentId = parentOfItem(item),
                       .material = item.material,
                       .materialId = item.materialId,
                       .tags = item.tags,
                       .children = childrenOf(item.id)};
    const bool isOfField = item.itemType == model::ItemTypes::Sdf;
    const model::Transform transform =
        isOfField ? model::ItemWrappers(*m_access.document, item.id).transform()
                  : model::Transform{item.translate, item.rotate, item.scale};
    record.translate = transform.translate;
    record.rotate = transform.rotate;
    record.scale = transform.scale;
    if (!isOfField) {
        record.typeData = item.typeData;
        return record;
    }
    const model::Instance instance(item);
    record.definitionId = instance.definitionId();
    record.params = instance.rawParams();
    record.modifiers = {{u"densityScale"_s, instance.densityScale()},
                        {u"shellThickness"_s, instance.shellThickness()},
                        {u"blendSharpness"_s, instance.blendSharpness()},
                        {u"materialMode"_s, instance.materialMode()}};
    return record;
}

/// Its place in the display tree; for one at its top the operator that it is part of.
QUuid SceneRecords::parentOfItem(const model::SceneItem &item) const
{
    return item.parentId.isNull() ? m_operators.value(item.id) : item.parentId;
}

} // namespace corvane::zirn
