// Where nodes and items stand, and how large they are.
//
// Nothing moves the field but wrappers: those of a node's stack take the node's transform, and
// those that are lacking are made. Items of the document that have no field stand where their own
// numbers say.
#include <corvane/compile/CompiledItems.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/NodeCompilation.h>
#include <corvane/ops/DrivenTransform.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using model::TransformPart;
using model::transformParts;

namespace {

Transform numbersOf(const OpContext &context, const QUuid &id)
{
    if (const model::LogicalInstance *node = context.node(id))
        return {node->translate, node->rotate, node->scale};
    const model::SceneItem item = context.document.item(id);
    return {item.translate, item.rotate, item.scale};
}

/// What the wrapper that applies a part is given, if that is an expression.
model::ParameterValue driverOf(const OpContext &context, const QUuid &id, const QString &wrapperId)
{
    const model::LogicalInstance *node = context.node(id);
    const model::WrapperValues *wrapper = node ? node->wrapper(wrapperId) : nullptr;
    const QString param = model::connectedParameter(wrapperId);
    return model::ParameterValue::fromVariant(wrapper ? wrapper->values.value(param) : QVariant());
}

DrivenTransform transformOf(const OpContext &context, const QUuid &id)
{
    DrivenTransform transform{.numbers = numbersOf(context, id)};
    for (std::size_t part = 0; part < transformParts.size(); ++part) {
        const model::ParameterValue driver = driverOf(context, id, transformParts[part].key);
        transform.expressions[part] = driver.expression;
        transform.found[part] = driver.fallback;
    }
    return transform;
}

/// Groups, meshes and cameras stand where their numbers say.
bool canBeDriven(const OpContext &context, const QUuid &id)
{
    const model::LogicalInstance *node = context.node(id);
    return node && !node->isContainer();
}

/// The items that a node's wrappers compile to have ids of their own, which an item may have that
/// was left over of an earlier compile.
bool isWrapperTaken(const OpContext &context, const QUuid &id)
{
    return std::any_of(transformParts.begin(), transformParts.end(), [&](const auto &part) {
        return context.node(model::CompiledItems::itemId(id, part.key));
    });
}

/// The value of a driven part until its expression is evaluated.
QVariant fallbackOf(const DrivenTransform &transform, std::size_t index)
{
    if (transform.found[index].isValid())
        return transform.found[index];
    const QVector3D &value = transform.numbers.*model::transformField<Transform>(index);
    return transformParts[index].isUniform ? QVariant(value.x()) : QVariant(value);
}

void setOwnTransform(OpContext &context, const QUuid &id, const Transform &transform)
{
    model::SceneItem item = context.document.item(id);
    item.translate = transform.translate;
    item.rotate = transform.rotate;
    item.scale = transform.scale;
    context.document.updateItem(item);
}

/// A wrapper alone applies its part of a transform, and definitions like modifiers offer none. An
/// expression stands in the wrapper's values.
QList<model::WrapperValues> wrappersFor(const model::LogicalInstance &node,
                                        const DrivenTransform &transform)
{
    model::LogicalInstance changed = node;
    for (std::size_t index = 0; index < transformParts.size(); ++index) {
        const TransformPart &part = transformParts[index];
        const QString &expression = transform.expressions[index];
        const QString param = part.parameter;
        const bool doesNothing =
            expression.isEmpty() &&
            transform.numbers.*model::transformField<Transform>(index) == part.none;
        if (!node.wrapper(part.key) && !node.isContainer() && !doesNothing) {
            // Points are moved, then turned, then scaled: outside of what comes behind it.
            const auto behind =
                std::find_if(changed.wrappers.cbegin(), changed.wrappers.cend(),
                             [index](const model::WrapperValues &wrapper) {
                                 return model::transformPartOf(wrapper.definitionId) > index;
                             });
            changed.wrappers.insert(behind, {part.key, {}});
        }
        const QString before = model::NodeCompilation::connectedExpression(changed, part.key);
        if (before == expression)
            continue;
        QVariantMap &values = changed.wrapper(part.key)->values;
        values.remove(param);
        if (!expression.isEmpty())
            values.insert(param, model::parameterForFile(
                                     QVariant::fromValue(model::ParameterValue::fromExpression(
                                         expression, fallbackOf(transform, index)))));
    }
    return changed.wrappers;
}

void setNodeTransform(OpContext &context, const QUuid &id, const DrivenTransform &transform)
{
    const model::LogicalScene::Batch batch(*context.tree);
    const model::LogicalInstance &node = *context.node(id);
    const QList<model::WrapperValues> wrappers = wrappersFor(node, transform);
    if (wrappers != node.wrappers)
        context.tree->setWrappers(id, wrappers);
    const Transform &numbers = transform.numbers;
    context.tree->setInstanceTransform(id, numbers.translate, numbers.rotate, numbers.scale);
}

void setTransform(OpContext &context, const QUuid &id, const DrivenTransform &transform)
{
    if (context.node(id))
        setNodeTransform(context, id, transform);
    else
        setOwnTransform(context, id, transform.numbers);
}

QVariantMap stateOf(const Transform &transform)
{
    QVariantMap state;
    for (std::size_t part = 0; part < transformParts.size(); ++part) {
        for (int axis = 0; axis < 3; ++axis)
            state.insert(DrivenTransform::axisKey(transformParts[part], axis),
                         (transform.*model::transformField<Transform>(part))[axis]);
    }
    return state;
}

Transform numbersIn(const QVariantMap &state)
{
    Transform transform;
    for (std::size_t part = 0; part < transformParts.size(); ++part) {
        for (int axis = 0; axis < 3; ++axis)
            (transform.*model::transformField<Transform>(part))[axis] =
                state.value(DrivenTransform::axisKey(transformParts[part], axis)).toFloat();
    }
    return transform;
}

/// Of a node with its whole stack: wrappers come with a transform, and expressions stand in them.
QVariantMap transformState(const OpContext &context, const QUuid &id)
{
    QVariantMap state = stateOf(numbersOf(context, id));
    if (const model::LogicalInstance *node = context.node(id))
        state.insert(u"wrappers"_s, wrapperList(node->wrappers));
    return state;
}

} // namespace

OpOutcome applyItemSetTransform(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    DrivenTransform after = transformOf(context, id);
    int given = 0;
    const QString flaw = after.take(call.args(), given);
    if (!flaw.isEmpty())
        return call.refuse(flaw);
    if (given == 0)
        return call.refuse(u"missing translate, rotate or scale"_s);
    if (after.isDriven() && !canBeDriven(context, id))
        return call.refuse(u"an expression can place an SDF item alone:"_s, id);
    const bool isNode = context.node(id);
    if (!isNode && context.document.item(id).itemType == model::ItemTypes::Sdf)
        return call.refuse(u"no node stands for this item, and nothing else moves it:"_s, id);
    if (isNode && isWrapperTaken(context, id))
        return call.refuse(u"the id of a wrapper is taken:"_s, id);
    OpChange change{
        .itemId = id, .before = transformState(context, id), .scope = idText(id) + u"/transform"_s};
    setTransform(context, id, after);
    change.after = transformState(context, id);
    return change;
}

void restoreTransform(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const Transform numbers = numbersIn(state);
    if (!context.node(itemId)) {
        setOwnTransform(context, itemId, numbers);
        return;
    }
    model::LogicalInstance node = *context.node(itemId);
    node.wrappers = wrappersOf(state.value(u"wrappers"_s));
    node.translate = numbers.translate;
    node.rotate = numbers.rotate;
    node.scale = numbers.scale;
    const model::LogicalScene::Batch batch(*context.tree);
    context.tree->replaceInstance(node);
}

} // namespace corvane::ops
