#include <corvane/ops/ComponentMaterializer.h>

#include <corvane/compile/PromotionExpressions.h>
#include <corvane/component/ComponentDefinition.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/OpContext.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using component::ComponentDefinition;
using component::ComponentPromotion;
using model::LogicalInstance;

namespace {

/// A node of a structure at its place in the tree that the structure is read as.
struct StructurePlace
{
    QUuid id{};
    QUuid parentId{};
    qsizetype index = -1;
};

using StructureNodes = QHash<QUuid, LogicalInstance>;

StructureNodes nodesOf(const ComponentDefinition &definition)
{
    StructureNodes nodes;
    const QList<LogicalInstance> all = model::structureNodesOf(definition);
    for (const LogicalInstance &node : all) {
        if (!nodes.contains(node.id))
            nodes.insert(node.id, node);
    }
    return nodes;
}

/// From the root down, parents before their children. A node stands where it is met first, so that
/// a broken structure is read as a tree, too.
QList<StructurePlace> walk(const StructureNodes &nodes, const QUuid &root)
{
    QList<StructurePlace> places{{root, {}, -1}};
    QSet<QUuid> met{root};
    for (qsizetype i = 0; i < places.size(); ++i) {
        const QUuid parentId = places.at(i).id;
        qsizetype index = 0;
        for (const QUuid &child : nodes.value(parentId).children) {
            if (met.contains(child) || !nodes.contains(child))
                continue;
            met.insert(child);
            places.append({child, parentId, index++});
        }
    }
    return places;
}

/// What the expressions of promotions may read: the instance's values, else the defaults.
QVariantMap promotedValues(const ComponentDefinition &definition, const StructureNodes &nodes,
                           const LogicalInstance &instance)
{
    QVariantMap values;
    for (const ComponentPromotion &promotion : definition.promotions) {
        const QVariant given = instance.params.value(promotion.alias);
        QVariant value = model::ParameterValue::fromVariant(given).value();
        if (!value.isValid()) {
            const auto target = nodes.constFind(promotion.targetNode);
            if (target != nodes.cend())
                value = ComponentDefinition::promotionDefault(promotion, target->toVariantMap());
        }
        if (value.isValid())
            values.insert(promotion.alias, value);
    }
    return values;
}

void passValuesOn(const ComponentDefinition &definition, StructureNodes &nodes,
                  const LogicalInstance &instance)
{
    for (const ComponentPromotion &promotion : definition.promotions) {
        const auto target = nodes.find(promotion.targetNode);
        const auto given = instance.params.constFind(promotion.alias);
        // An expression goes along as one, and is evaluated at its new place.
        if (target != nodes.end() && given != instance.params.cend())
            target->params.insert(promotion.targetParam, *given);
    }
}

void evaluatePromotions(const OpContext &context, const ComponentDefinition &definition,
                        StructureNodes &nodes, const LogicalInstance &instance)
{
    const QVariantMap values = promotedValues(definition, nodes, instance);
    model::PromotionExpressions expressions(context.document);
    for (const ComponentPromotion &promotion : definition.promotions) {
        const auto target = nodes.find(promotion.targetNode);
        if (target == nodes.end() || promotion.binding != ComponentPromotion::Expression ||
            promotion.expression.isEmpty())
            continue;
        QString error;
        const QVariant value = expressions.evaluate(promotion.expression, values, error);
        if (error.isEmpty()) {
            target->params.insert(promotion.targetParam, value);
            continue;
        }
        qCWarning(lcOps).noquote() << "Component" << definition.id << "promotion"
                                   << promotion.alias + u": expression"_s << error;
    }
}

/// A node that carries what a root can't take on in addition to its own.
LogicalInstance holderOf(const LogicalInstance &instance)
{
    LogicalInstance holder;
    holder.definitionId = u"union"_s;
    holder.name = instance.name;
    holder.wrappers = instance.wrappers;
    holder.translate = instance.translate;
    holder.rotate = instance.rotate;
    holder.scale = instance.scale;
    return holder;
}

QString baseName(const LogicalInstance &node)
{
    if (!node.name.isEmpty())
        return node.name;
    return node.definitionId.isEmpty() ? u"Group"_s : node.definitionId;
}

QUuid addNode(OpContext &context, LogicalInstance node, const Placement &place)
{
    node.id = QUuid::createUuid();
    node.name = context.uniqueName(baseName(node));
    node.children.clear();
    return restoreNode(*context.tree, nodeSnapshot(node, place)) ? node.id : QUuid();
}

} // namespace

bool hasStructureRoot(const ComponentDefinition &definition)
{
    const QUuid root = definition.structureRootId();
    return !root.isNull() && !definition.structureNode(root).isEmpty();
}

std::optional<MaterializedBranch> materializeDefinitionBranch(OpContext &context,
                                                              const ComponentDefinition &definition,
                                                              const Placement &place,
                                                              const LogicalInstance *instance)
{
    StructureNodes nodes = nodesOf(definition);
    const QUuid root = definition.structureRootId();
    if (!nodes.contains(root))
        return std::nullopt;
    const model::LogicalScene::Batch batch(*context.tree);
    MaterializedBranch branch;
    Placement rootPlace = place;
    if (instance) {
        passValuesOn(definition, nodes, *instance);
        evaluatePromotions(context, definition, nodes, *instance);
        if (!mergeWrappers(*instance, nodes[root])) {
            branch.rootId = addNode(context, holderOf(*instance), place);
            rootPlace = {branch.rootId, 0};
        }
    }
    QHash<QUuid, QUuid> added;
    const QList<StructurePlace> places = walk(nodes, root);
    for (const StructurePlace &node : places) {
        const Placement at =
            node.id == root ? rootPlace : Placement{added.value(node.parentId), node.index};
        const QUuid id = addNode(context, nodes.value(node.id), at);
        added.insert(node.id, id);
        branch.ids.insert(id, node.id);
        branch.givenNames.insert(id, context.nameOf(id));
        branch.structureNames.insert(id, nodes.value(node.id).name);
    }
    if (branch.rootId.isNull())
        branch.rootId = added.value(root);
    return branch;
}

} // namespace corvane::ops
