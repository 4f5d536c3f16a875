#include <corvane/compile/ComponentExpansion.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/LogicalTree.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// A group has no field of its own, but a component is one operand wherever it is placed.
constexpr auto rootOfGroup = "union"_L1;

QString text(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

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

} // namespace

/// A definition, read once for all its instances.
struct ComponentExpander::Structure
{
    component::ComponentDefinition definition{};
    QUuid root{};
    QList<LogicalInstance> nodes{}; ///< the root first, parents before their children
    QList<QVariant> defaults{};     ///< of the definition's promotions
};

ComponentExpander::ComponentExpander(const component::ComponentRegistry &components,
                                     const Corvane &document)
    : m_components(components)
    , m_expressions(document)
{}

ComponentExpander::~ComponentExpander() = default;

void ComponentExpander::expand(const LogicalInstance &instance)
{
    const qsizetype size = sizeOf(instance.componentDefId, 0);
    if (m_expansion.nodes.size() + size > maxNodes) {
        m_warnings.add(
            u"LogicalSceneCompiler: component instance %1 left out: components would "
            "expand to more than %2 nodes"_s.arg(text(instance.id), QString::number(maxNodes)));
        return;
    }
    expandInstance(instance, 0);
}

ComponentExpander::StructurePtr ComponentExpander::structureOf(const QString &componentId)
{
    const auto known = m_structures.constFind(componentId);
    if (known != m_structures.cend())
        return *known;
    const component::ComponentDefinition *definition = m_components.find(componentId);
    const StructurePtr structure = definition ? readStructure(*definition) : nullptr;
    m_structures.insert(componentId, structure);
    return structure;
}

ComponentExpander::StructurePtr
ComponentExpander::readStructure(const component::ComponentDefinition &definition)
{
    QList<LogicalInstance> nodes;
    const QVariantList maps = definition.structure.value(u"instances"_s).toList();
    nodes.reserve(maps.size());
    for (const QVariant &map : maps)
        nodes.append(readNode(map.toMap()));

    WarningList ignored; // whoever reads a definition from a file tells what is wrong with it
    LogicalTree tree(nodes, ignored);
    Structure structure{definition, definition.structureRootId(), {}, {}};
    if (tree.nodes().contains(structure.root)) {
        tree.placeRoots({structure.root});
        QList<QUuid> open{structure.root};
        for (qsizetype next = 0; next < open.size(); ++next) {
            structure.nodes.append(*tree.nodes().constFind(open.at(next)));
            open += structure.nodes.last().children;
        }
        LogicalInstance &root = structure.nodes.first();
        if (root.isContainer())
            root.definitionId = rootOfGroup;
    }
    const auto byId = definition.structureNodes();
    for (const auto &promotion : definition.promotions)
        structure.defaults.append(component::ComponentDefinition::promotionDefault(
            promotion, byId.value(promotion.targetNode)));
    return StructurePtr::create(structure);
}

qsizetype ComponentExpander::sizeOf(const QString &componentId, int depth)
{
    const StructurePtr structure = structureOf(componentId);
    if (!structure || depth >= maxDepth)
        return 0;
    const std::pair key(componentId, depth);
    const auto known = m_sizes.constFind(key);
    if (known != m_sizes.cend())
        return *known;
    qsizetype size = structure->nodes.size();
    for (const LogicalInstance &node : structure->nodes) {
        if (size > maxNodes)
            break;
        if (node.isComponentInstance())
            size += sizeOf(node.componentDefId, depth + 1);
    }
    size = std::min(size, maxNodes + 1);
    m_sizes.insert(key, size);
    return size;
}

void ComponentExpander::expandInstance(const LogicalInstance &instance, int depth)
{
    if (depth >= maxDepth) {
        m_warnings.add(u"LogicalSceneCompiler: component expansion depth cap hit at %1 \u2014 "
                       "cyclic or degenerate definition?"_s.arg(text(instance.id)));
        return;
    }
    const StructurePtr structure = structureOf(instance.componentDefId);
    if (!structure) {
        m_warnings.add(
            u"LogicalSceneCompiler: unknown component definition %1 referenced by %2"_s.arg(
                instance.componentDefId, text(instance.id)));
        return;
    }
    m_expansion.expanded.append(instance.id);
    if (structure->nodes.isEmpty()) {
        m_warnings.add(
            u"LogicalSceneCompiler: definition %1 has no resolvable structure root"_s.arg(
                instance.componentDefId));
        return;
    }
    const QHash<QUuid, QUuid> ids = addNodes(*structure, instance.id);
    applyPromotions(*structure, instance, ids);
    for (const LogicalInstance &node : structure->nodes) {
        if (node.isComponentInstance())
            expandInstance(LogicalInstance(m_expansion.nodes.value(ids.value(node.id))), depth + 1);
    }
}

QHash<QUuid, QUuid> ComponentExpander::addNodes(const Structure &structure, const QUuid &instanceId)
{
    QHash<QUuid, QUuid> ids;
    ids.reserve(structure.nodes.size());
    for (const LogicalInstance &node : structure.nodes)
        ids.insert(node.id, QUuid::createUuidV5(instanceId, text(node.id)));
    // All levels of nesting belong to the instance that the user sees.
    const QUuid owner = m_expansion.owners.value(instanceId, instanceId);
    for (LogicalInstance node : structure.nodes) {
        node.id = ids.value(node.id);
        for (QUuid &child : node.children) {
            child = ids.value(child);
            m_expansion.parents.insert(child, node.id);
        }
        m_expansion.owners.insert(node.id, owner);
        m_expansion.nodes.insert(node.id, node);
        m_expansion.order.append(node.id);
    }
    const QUuid root = ids.value(structure.root);
    m_expansion.parents.insert(root, instanceId);
    m_expansion.structureRoots.insert(instanceId, root);
    return ids;
}

void ComponentExpander::applyPromotions(const Structure &structure, const LogicalInstance &instance,
                                        const QHash<QUuid, QUuid> &ids)
{
    QVariantMap values;
    const auto &promotions = structure.definition.promotions;
    for (qsizetype i = 0; i < promotions.size(); ++i) {
        const component::ComponentPromotion &promotion = promotions.at(i);
        const QVariant byDefault = structure.defaults.at(i);
        QVariant given = instance.params.value(promotion.alias);
        auto parameter = ParameterValue::fromVariant(given);
        if (parameter.isExpression()) {
            // Until it is evaluated it stands for the default.
            if (!parameter.fallback.isValid())
                parameter.fallback = ParameterValue::fromVariant(byDefault).value();
            given = promotion.binding == component::ComponentPromotion::Passthrough
                        ? QVariant::fromValue(parameter)
                        : parameter.fallback;
        } else {
            given = parameter.literal;
        }
        if (!given.isValid())
            given = byDefault;
        if (!given.isValid())
            continue;
        const QVariant value = ParameterValue::fromVariant(given).value();
        if (value.isValid())
            values.insert(promotion.alias, value);
        if (LogicalInstance *node = target(promotion, ids))
            node->params.insert(promotion.targetParam, given);
    }
    applyExpressions(structure.definition, values, ids);
}

void ComponentExpander::applyExpressions(const component::ComponentDefinition &definition,
                                         const QVariantMap &values, const QHash<QUuid, QUuid> &ids)
{
    for (const component::ComponentPromotion &promotion : definition.promotions) {
        LogicalInstance *node = target(promotion, ids);
        if (!node || promotion.binding != component::ComponentPromotion::Expression ||
            promotion.expression.isEmpty())
            continue;
        QString error;
        const QVariant value = m_expressions.evaluate(promotion.expression, values, error);
        if (error.isEmpty())
            node->params.insert(promotion.targetParam, value);
        else
            m_warnings.add(u"Component %1 promotion %2 : expression %3 \u2014 captured value left "
                           "in place"_s.arg(definition.id, promotion.alias, error));
    }
}

LogicalInstance *ComponentExpander::target(const component::ComponentPromotion &promotion,
                                           const QHash<QUuid, QUuid> &ids)
{
    const auto id = ids.constFind(promotion.targetNode);
    if (id == ids.cend() || promotion.targetParam.isEmpty())
        return nullptr;
    return &*m_expansion.nodes.find(*id);
}

} // namespace corvane::model
