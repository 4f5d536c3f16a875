#include <corvane/item/StructureRows.h>

#include <corvane/compile/ComponentExpansion.h>
#include <corvane/model/LogicalTree.h>
#include <corvane/model/WarningList.h>

namespace corvane::item {

using model::ComponentExpander;
using model::LogicalInstance;

void StructureRows::setScene(model::LogicalScene *scene)
{
    m_scene = scene;
    forget();
}

void StructureRows::forget()
{
    m_structures.clear();
    m_refs.clear();
}

QList<QUuid> StructureRows::childrenOf(const QUuid &id)
{
    if (!m_scene)
        return {};
    const QString placed = m_scene->componentDefIdOf(id);
    if (!placed.isEmpty())
        return rootRow(placed, {.ownerId = id, .parentId = id}, id);
    const auto known = m_refs.constFind(id);
    if (known == m_refs.cend())
        return {};
    const SyntheticNodeRef ref = *known;
    const LogicalInstance node = structureOf(ref.componentId).nodes.value(ref.nodeId);
    SyntheticNodeRef below = ref;
    below.parentId = id;
    if (node.isComponentInstance()) {
        ++below.depth;
        return rootRow(node.componentDefId, below, id);
    }
    QList<QUuid> rows;
    for (const QUuid &child : node.children) {
        below.nodeId = child;
        const QUuid row = addRow(below);
        if (!row.isNull())
            rows.append(row);
    }
    return rows;
}

QList<QUuid> StructureRows::rootRow(const QString &componentId, const SyntheticNodeRef &below,
                                    const QUuid &instanceId)
{
    const QUuid root = structureOf(componentId).root;
    if (root.isNull() || below.depth >= ComponentExpander::maxDepth)
        return {};
    SyntheticNodeRef ref = below;
    ref.instanceId = instanceId;
    ref.componentId = componentId;
    ref.nodeId = root;
    const QUuid row = addRow(ref);
    return row.isNull() ? QList<QUuid>() : QList<QUuid>{row};
}

/// Null when there are too many.
QUuid StructureRows::addRow(const SyntheticNodeRef &ref)
{
    const QUuid id = QUuid::createUuidV5(ref.instanceId, ref.nodeId.toString(QUuid::WithoutBraces));
    if (!m_refs.contains(id) && m_refs.size() >= ComponentExpander::maxNodes)
        return {};
    m_refs.insert(id, ref);
    return id;
}

std::optional<LogicalInstance> StructureRows::node(const QUuid &id)
{
    const auto ref = m_refs.constFind(id);
    if (ref == m_refs.cend())
        return {};
    LogicalInstance node = structureOf(ref->componentId).nodes.value(ref->nodeId);
    node.id = id;
    return node;
}

const StructureRows::Structure &StructureRows::structureOf(const QString &componentId)
{
    const auto known = m_structures.constFind(componentId);
    if (known != m_structures.cend())
        return *known;
    Structure structure;
    const component::ComponentDefinition *definition =
        m_scene ? m_scene->componentRegistry()->find(componentId) : nullptr;
    if (definition) {
        model::WarningList ignored; // whoever reads a definition tells what is wrong with it
        model::LogicalTree tree(model::structureNodesOf(*definition), ignored);
        structure.root = definition->structureRootId();
        if (tree.nodes().contains(structure.root))
            tree.placeRoots({structure.root});
        else
            structure.root = {};
        structure.nodes = tree.nodes();
    }
    return *m_structures.insert(componentId, structure);
}

} // namespace corvane::item
