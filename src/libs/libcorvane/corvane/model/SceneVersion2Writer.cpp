#include <corvane/model/SceneVersion2Writer.h>

#include <corvane/model/LogicalScene.h>
#include <corvane/model/NodeKeys.h>
#include <corvane/model/SceneKeys.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

using MaterialAliases = QHash<QUuid, QUuid>;

/// A node as it stands under its key: other nodes are named by keys, and the name is left to the
/// key where that is the name. A node without a name is called as its key from then on.
QVariantMap nodeMap(const LogicalInstance &node, const NodeKeys &keys,
                    const MaterialAliases &aliases)
{
    QVariantMap map = node.toVariantMap();
    map.remove(u"id"_s);
    map.remove(u"ownItem"_s); // the compiler makes the items of such a file
    if (node.isReference())
        map.insert(u"original"_s, keys.keyOf(node.original));
    if (node.name == keys.keyOf(node.id))
        map.remove(u"name"_s);
    QVariantList children;
    for (const QUuid &child : node.children) {
        if (const QString key = keys.keyOf(child); !key.isEmpty())
            children.append(key);
    }
    if (const auto alias = aliases.constFind(node.materialId); alias != aliases.cend())
        map.insert(u"materialId"_s, alias->toString(QUuid::WithoutBraces));
    map.remove(u"children"_s);
    if (!children.isEmpty())
        map.insert(u"children"_s, children);
    return map;
}

QVariantMap nodesMap(const QList<const LogicalInstance *> &nodes, const NodeKeys &keys,
                     const MaterialAliases &aliases)
{
    QVariantMap map;
    for (const LogicalInstance *node : nodes)
        map.insert(keys.keyOf(node->id), nodeMap(*node, keys, aliases));
    return map;
}

QVariantMap promotionMap(const component::ComponentPromotion &promotion, const QString &item)
{
    QVariantMap map = promotion.toVariantMap();
    map.insert(u"target"_s, QVariantMap{{u"item"_s, item}, {u"param"_s, promotion.targetParam}});
    return map;
}

void insertUnlessEmpty(QVariantMap &map, const QString &key, const QString &text)
{
    if (!text.isEmpty())
        map.insert(key, text);
}

QVariantMap componentMap(const component::ComponentDefinition &definition,
                         const MaterialAliases &aliases)
{
    const QList<LogicalInstance> structure = structureNodesOf(definition);
    QList<const LogicalInstance *> nodes;
    for (const LogicalInstance &node : structure)
        nodes.append(&node);
    const NodeKeys keys(nodes, definition.id);
    QVariantList interface;
    for (const component::ComponentPromotion &promotion : definition.promotions) {
        if (const QString item = keys.keyOf(promotion.targetNode); !item.isEmpty())
            interface.append(promotionMap(promotion, item));
    }
    QVariantMap map{{u"instances"_s, nodesMap(nodes, keys, aliases)},
                    {u"root"_s, keys.keyOf(definition.structureRootId())}};
    insertUnlessEmpty(map, u"name"_s, definition.name);
    insertUnlessEmpty(map, u"category"_s, definition.category);
    insertUnlessEmpty(map, u"description"_s, definition.description);
    if (!interface.isEmpty())
        map.insert(u"interface"_s, interface);
    return map;
}

} // namespace

SceneVersion2Writer::SceneVersion2Writer(const LogicalScene &scene,
                                         std::optional<QSet<QUuid>> filter)
    : m_scene(scene)
{
    const QList<QUuid> ids = scene.nodesInOrder();
    m_nodes.reserve(ids.size());
    for (const QUuid &id : ids) {
        if (!filter || filter->contains(id))
            m_nodes.append(scene.instance(id));
    }
    collectComponents();
}

DocumentBlock::Used SceneVersion2Writer::used() const
{
    DocumentBlock::Used used;
    const auto add = [&used](const LogicalInstance &node) {
        used.materialIds.insert(node.materialId);
        used.definitionIds.insert(node.definitionId);
        for (const WrapperValues &wrapper : node.wrappers)
            used.definitionIds.insert(wrapper.definitionId);
    };
    for (const LogicalInstance *node : m_nodes)
        add(*node);
    for (const component::ComponentDefinition &definition : m_components) {
        const QList<LogicalInstance> nodes = structureNodesOf(definition);
        for (const LogicalInstance &node : nodes)
            add(node);
    }
    return used;
}

QVariantMap SceneVersion2Writer::write(const QVariantMap &documentBlock) const
{
    const NodeKeys keys(m_nodes, {});
    QVariantMap block = documentBlock;
    block.insert(u"version"_s, 2);
    block.insert(u"instances"_s, nodesMap(m_nodes, keys, m_materialAliases));
    block.insert(u"roots"_s, rootsList(keys));
    if (!m_components.isEmpty())
        block.insert(u"components"_s, componentsMap());
    return {{u"formatVersion"_s, 2}, {u"corvane"_s, block}};
}

/// A node whose parent is not written takes the parent's place at the top.
QVariantList SceneVersion2Writer::rootsList(const NodeKeys &keys) const
{
    const QSet<QUuid> sceneRoots(m_scene.roots().cbegin(), m_scene.roots().cend());
    QVariantList roots;
    for (const LogicalInstance *node : m_nodes) {
        const QUuid parent = m_scene.parentOf(node->id);
        const bool isRoot =
            parent.isNull() ? sceneRoots.contains(node->id) : keys.keyOf(parent).isEmpty();
        if (isRoot)
            roots.append(keys.keyOf(node->id));
    }
    return roots;
}

QVariantMap SceneVersion2Writer::componentsMap() const
{
    QVariantMap map;
    for (const component::ComponentDefinition &definition : m_components) {
        QVariantMap entry = componentMap(definition, m_materialAliases);
        QString key = definition.id;
        if (!SceneKeys::isSafeForNode(key) && QUuid::fromString(key).isNull()) {
            key = SceneKeys::idOf(u"component "_s + key).toString(QUuid::WithoutBraces);
            entry.insert(u"id"_s, definition.id);
        }
        map.insert(key, entry);
    }
    return map;
}

/// Those that the nodes place, and those that these place in turn.
void SceneVersion2Writer::collectComponents()
{
    QStringList open;
    for (const LogicalInstance *node : std::as_const(m_nodes)) {
        if (node->isComponentInstance())
            open.append(node->componentDefId);
    }
    while (!open.isEmpty()) {
        const QString id = open.takeLast();
        const component::ComponentDefinition *found = m_scene.componentRegistry()->find(id);
        if (!found || m_components.contains(id))
            continue;
        m_components.insert(id, *found);
        open += found->referencedComponentIds();
    }
}

} // namespace corvane::model
