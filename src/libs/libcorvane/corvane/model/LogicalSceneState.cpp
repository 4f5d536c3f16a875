// A logical scene as a map, and back.
#include <corvane/model/LogicalScene.h>

#include <corvane/model/Instance.h>
#include <corvane/model/LogicalTree.h>
#include <corvane/model/WarningList.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// A map without wrappers leaves the choice to the definition.
LogicalInstance readNode(const QVariantMap &map)
{
    LogicalInstance node = LogicalInstance::fromVariantMap(map);
    if (!node.wrappers.isEmpty() || map.contains(u"wrapperOrder"_s))
        return node;
    const QStringList wrappers = initialWrappers(node.definitionId, node.componentDefId);
    for (const QString &wrapperId : wrappers)
        node.wrappers.append({wrapperId, {}});
    return node;
}

QList<LogicalInstance> readNodes(const QVariantList &maps)
{
    QList<LogicalInstance> nodes;
    nodes.reserve(maps.size());
    for (const QVariant &map : maps)
        nodes.append(readNode(map.toMap()));
    return nodes;
}

QList<QUuid> readIds(const QVariant &texts)
{
    QList<QUuid> ids;
    const QStringList list = texts.toStringList();
    for (const QString &text : list)
        ids.append(QUuid::fromString(text));
    return ids;
}

} // namespace

QVariantMap LogicalScene::toVariantMap() const
{
    QVariantList instances;
    instances.reserve(m_instances.size());
    for (const LogicalInstance &node : m_instances)
        instances.append(node.toVariantMap());
    QVariantList roots;
    for (const QUuid &id : m_roots)
        roots.append(id.toString(QUuid::WithoutBraces));
    QVariantMap components;
    const auto &definitions = m_componentRegistry->definitions();
    for (auto it = definitions.cbegin(); it != definitions.cend(); ++it)
        components.insert(components.cend(), it.key(), it->toVariantMap());
    return {{u"instances"_s, instances}, {u"roots"_s, roots}, {u"components"_s, components}};
}

void LogicalScene::fromVariantMap(const QVariantMap &map, QStringList *warnings)
{
    const Batch batch(*this);
    clear();
    WarningList found;
    LogicalTree tree(readNodes(map.value(u"instances"_s).toList()), found);
    if (const QVariant roots = map.value(u"roots"_s); roots.isValid())
        tree.placeRoots(readIds(roots));
    else
        tree.placeTopsAsRoots();
    tree.placeDetached();
    takeTree(tree);
    restoreComponents(map.value(u"components"_s).toMap());
    if (warnings)
        *warnings += found.lines();
}

void LogicalScene::setNodes(const QList<LogicalInstance> &nodes, const QList<QUuid> &roots)
{
    const Batch batch(*this);
    clear();
    WarningList none;
    LogicalTree tree(nodes, none);
    tree.placeRoots(roots);
    tree.placeDetached();
    takeTree(tree);
}

void LogicalScene::takeTree(const LogicalTree &tree)
{
    m_instances = tree.nodes();
    m_roots = tree.roots();
    m_parents = tree.parents();
    for (const LogicalInstance &node : std::as_const(m_instances)) {
        m_names.add(node.name);
        noteOriginal(node);
    }
    structureTouched();
    if (!selectedInstances().isEmpty())
        emit selectionChanged();
}

void LogicalScene::restoreComponents(const QVariantMap &components)
{
    for (auto it = components.cbegin(); it != components.cend(); ++it) {
        auto definition = component::ComponentDefinition::fromVariantMap(it->toMap());
        if (definition.id.isEmpty())
            definition.id = it.key();
        m_componentRegistry->restoreDefinition(definition);
    }
}

bool standsForNode(const SceneItem &item, const LogicalScene *tree)
{
    if (!tree || item.itemType != ItemTypes::Sdf)
        return false;
    return tree->contains(item.id) || (item.hasTag(ItemTags::Compiled) &&
                                       tree->contains(Instance(item).provenance().sourceItemId));
}

QList<LogicalInstance> structureNodesOf(const component::ComponentDefinition &definition)
{
    QList<LogicalInstance> nodes;
    QSet<QUuid> ids;
    const QVariantList maps = definition.structure.value(u"instances"_s).toList();
    for (const QVariant &map : maps) {
        nodes.append(LogicalInstance::fromVariantMap(map.toMap()));
        ids.insert(nodes.last().id);
    }
    for (LogicalInstance &node : nodes)
        node.children.removeIf([&ids](const QUuid &child) { return !ids.contains(child); });
    return nodes;
}

} // namespace corvane::model
