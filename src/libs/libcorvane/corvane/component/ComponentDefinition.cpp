#include <corvane/component/ComponentDefinition.h>

#include <corvane/registry/Registry.h>

#include <QSet>

using namespace Qt::StringLiterals;

namespace corvane::component {

namespace {

QUuid idOf(const QVariantMap &node)
{
    return QUuid::fromString(node.value(u"id"_s).toString());
}

void writeText(QVariantMap &map, const QString &key, const QString &text)
{
    if (!text.isEmpty())
        map.insert(key, text);
}

/// The nodes as a list, where they are given as a map of id to node.
QVariantList nodeList(const QVariant &stored)
{
    if (stored.typeId() != QMetaType::QVariantMap)
        return stored.toList();
    QVariantList nodes;
    const QVariantMap byId = stored.toMap();
    for (auto it = byId.cbegin(); it != byId.cend(); ++it) {
        QVariantMap node = it->toMap();
        if (idOf(node).isNull())
            node.insert(u"id"_s, it.key());
        nodes.append(node);
    }
    return nodes;
}

QVariantMap readStructure(const QVariantMap &map)
{
    QVariantMap structure = map.value(u"structure"_s).toMap();
    if (structure.isEmpty()) {
        for (const QString &key : {u"instances"_s, u"root"_s}) {
            if (map.contains(key))
                structure.insert(key, map.value(key));
        }
    }
    if (structure.contains(u"instances"_s))
        structure.insert(u"instances"_s, nodeList(structure.value(u"instances"_s)));
    return structure;
}

ComponentPromotion::Binding readBinding(const QVariant &stored)
{
    const QString word = stored.toString();
    return word == "expression"_L1 || word == "1"_L1 ? ComponentPromotion::Expression
                                                     : ComponentPromotion::Passthrough;
}

} // namespace

QVariantMap ComponentPromotion::toVariantMap() const
{
    const QVariantMap target{{u"node"_s, targetNode.toString(QUuid::WithoutBraces)},
                             {u"param"_s, targetParam}};
    QVariantMap map{{u"alias"_s, alias},
                    {u"target"_s, target},
                    {u"binding"_s, binding == Expression ? u"expression"_s : u"passthrough"_s}};
    writeText(map, u"displayName"_s, displayName);
    if (binding == Expression)
        map.insert(u"expression"_s, expression);
    return map;
}

ComponentPromotion ComponentPromotion::fromVariantMap(const QVariantMap &map)
{
    const QVariantMap target = map.value(u"target"_s).toMap();
    ComponentPromotion promotion;
    promotion.alias = map.value(u"alias"_s).toString();
    promotion.displayName = map.value(u"displayName"_s).toString();
    promotion.targetNode = QUuid::fromString(target.value(u"node"_s).toString());
    promotion.targetParam = target.value(u"param"_s).toString();
    promotion.binding = readBinding(map.value(u"binding"_s));
    if (promotion.binding == Expression)
        promotion.expression = map.value(u"expression"_s).toString();
    return promotion;
}

QUuid ComponentDefinition::structureRootId() const
{
    return QUuid::fromString(structure.value(u"root"_s).toString());
}

QVariantMap ComponentDefinition::structureNode(const QUuid &nodeId) const
{
    const QVariantList nodes = structure.value(u"instances"_s).toList();
    for (const QVariant &node : nodes) {
        const QVariantMap map = node.toMap();
        if (idOf(map) == nodeId)
            return map;
    }
    return {};
}

QHash<QUuid, QVariantMap> ComponentDefinition::structureNodes() const
{
    QHash<QUuid, QVariantMap> byId;
    const QVariantList nodes = structure.value(u"instances"_s).toList();
    for (const QVariant &node : nodes) {
        const QVariantMap map = node.toMap();
        byId.insert(idOf(map), map);
    }
    return byId;
}

bool ComponentDefinition::isValid() const
{
    return !id.isEmpty() && !structureRootId().isNull() &&
           !structure.value(u"instances"_s).toList().isEmpty();
}

QStringList ComponentDefinition::referencedComponentIds() const
{
    QStringList ids;
    QSet<QString> seen;
    const QVariantList nodes = structure.value(u"instances"_s).toList();
    for (const QVariant &node : nodes) {
        const QString componentId = node.toMap().value(u"component"_s).toString();
        if (componentId.isEmpty() || seen.contains(componentId))
            continue;
        seen.insert(componentId);
        ids.append(componentId);
    }
    return ids;
}

QVariant ComponentDefinition::promotionDefault(const ComponentPromotion &promotion) const
{
    return promotionDefault(promotion, structureNode(promotion.targetNode));
}

QVariant ComponentDefinition::promotionDefault(const ComponentPromotion &promotion,
                                               const QVariantMap &node)
{
    if (promotion.binding != ComponentPromotion::Passthrough || node.isEmpty())
        return {};
    const QVariantMap params = node.value(u"params"_s).toMap();
    if (const QVariant own = params.value(promotion.targetParam); own.isValid())
        return own;
    const auto definition =
        registry::Registry::instance().getDefinition(node.value(u"type"_s).toString());
    const auto *parameter = definition ? definition->parameter(promotion.targetParam) : nullptr;
    return parameter ? parameter->defaultValue : QVariant();
}

QVariantMap ComponentDefinition::toVariantMap() const
{
    QVariantList interface;
    for (const ComponentPromotion &promotion : promotions)
        interface.append(promotion.toVariantMap());
    QVariantMap map{{u"id"_s, id}, {u"structure"_s, structure}};
    writeText(map, u"name"_s, name);
    writeText(map, u"category"_s, category);
    writeText(map, u"description"_s, description);
    if (!interface.isEmpty())
        map.insert(u"interface"_s, interface);
    return map;
}

ComponentDefinition ComponentDefinition::fromVariantMap(const QVariantMap &map)
{
    ComponentDefinition definition;
    definition.id = map.value(u"id"_s).toString();
    definition.name = map.value(u"name"_s).toString();
    definition.category = map.value(u"category"_s).toString();
    definition.description = map.value(u"description"_s).toString();
    const QVariantList interface = map.value(u"interface"_s).toList();
    for (const QVariant &promotion : interface)
        definition.promotions.append(ComponentPromotion::fromVariantMap(promotion.toMap()));
    definition.structure = readStructure(map);
    return definition;
}

} // namespace corvane::component
