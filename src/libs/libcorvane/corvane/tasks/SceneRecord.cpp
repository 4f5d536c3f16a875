#include <corvane/tasks/SceneRecord.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/TransformPart.h>
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
    for (std::size_t i = 0; i < model::transformParts.size(); ++i)
        object.insert(model::transformParts[i].key,
                      jsonOf(this->*model::transformField<SceneRecord>(i)));
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
    if (access.tree) {
        m_ids = access.tree->nodesInOrder();
        m_ids.removeIf([this](const QUuid &id) { return shown(id) != id; });
    }
    for (const QUuid &id : std::as_const(m_ids)) {
        const QUuid group = node(id).displayParent();
        if (!group.isNull())
            m_members[group].append(id);
    }
    const auto items = access.document->items();
    for (const model::SceneItem &item : items) {
        if (!model::standsForNode(item, access.tree))
            m_ids.append(item.id);
    }
}

const model::LogicalInstance &SceneRecords::node(const QUuid &id) const
{
    return *std::as_const(*m_access.tree).instance(id);
}

QUuid SceneRecords::shown(const QUuid &nodeId) const
{
    const QUuid original = node(nodeId).original;
    return original.isNull() ? nodeId : original;
}

QList<QUuid> SceneRecords::roots() const
{
    QList<QUuid> roots;
    for (const QUuid &id : m_ids) {
        if (parentOf(id).isNull())
            roots.append(id);
    }
    return roots;
}

QList<QUuid> SceneRecords::childrenOf(const QUuid &id) const
{
    if (id.isNull())
        return roots();
    QList<QUuid> children;
    QSet<QUuid> seen;
    const auto add = [&](const QUuid &child) {
        if (!seen.contains(child))
            children.append(child);
        seen.insert(child);
    };
    if (m_access.isNode(id)) {
        for (const QUuid &child : node(id).children)
            add(shown(child));
    }
    const QList<QUuid> below = m_access.document->hierarchyChildIds(id) + m_members.value(id);
    for (const QUuid &child : below) {
        if (m_access.isNode(child) ||
            !model::standsForNode(m_access.document->item(child), m_access.tree))
            add(child);
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
        return ofNode(node(shown(id)));
    return ofItem(m_access.document->item(id));
}

QUuid SceneRecords::idByName(const QString &name) const
{
    for (const QUuid &id : m_ids) {
        const QString own = m_access.isNode(id) ? node(id).name : m_access.document->item(id).name;
        if (own == name)
            return id;
    }
    return m_access.document->instanceIdByName(name);
}

SceneRecord SceneRecords::ofNode(const model::LogicalInstance &node) const
{
    const QStringList own = node.ownItem.value(u"tags"_s).toStringList();
    const QSet<QString> tags = node.tags + QSet<QString>(own.cbegin(), own.cend());
    return {.id = node.id,
            .name = node.name,
            .type = node.isContainer() ? model::ItemTypes::Group : model::ItemTypes::Sdf,
            .parentId = parentOf(node.id),
            .definitionId = node.definitionId,
            .componentId = node.componentDefId,
            .params = node.params,
            .modifiers = node.modifiers.toVariantMap(),
            .translate = node.translate,
            .rotate = node.rotate,
            .scale = node.scale,
            .material = node.material,
            .materialId = node.materialId,
            .tags = tags,
            .children = childrenOf(node.id)};
}

SceneRecord SceneRecords::ofItem(const model::SceneItem &item) const
{
    SceneRecord record{.id = item.id,
                       .name = item.name,
                       .type = item.itemType,
                       .parentId = parentOf(item.id),
                       .translate = item.translate,
                       .rotate = item.rotate,
                       .scale = item.scale,
                       .material = item.material,
                       .materialId = item.materialId,
                       .tags = item.tags,
                       .children = childrenOf(item.id)};
    const bool isOfField = item.itemType == model::ItemTypes::Sdf;
    if (!isOfField) {
        record.typeData = item.typeData;
        return record;
    }
    const model::Instance instance(item);
    record.definitionId = instance.definitionId();
    record.params = instance.rawParams();
    record.modifiers = instance.modifiers().toVariantMap();
    return record;
}

/// Its place in the display tree comes first.
QUuid SceneRecords::parentOf(const QUuid &id) const
{
    if (!m_access.isNode(id))
        return m_access.document->item(id).parentId;
    const QUuid group = node(id).displayParent();
    const bool isInGroup = !group.isNull() && m_access.document->hasItem(group);
    return isInGroup ? group : m_access.tree->parentOf(id);
}

} // namespace corvane::zirn
