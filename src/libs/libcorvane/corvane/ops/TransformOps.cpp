// Where nodes and items stand, and how large they are.
//
// Nothing moves the field but wrappers. Of a node those of its stack take the node's transform, of
// an item that no tree stands behind the ItemWrappers; either way those that are lacking are made.
#include <corvane/model/Corvane.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/NodeCompilation.h>
#include <corvane/ops/DrivenTransform.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

using model::ItemWrappers;
using model::Transform;

constexpr auto &transformParts = DrivenTransform::parts;

/// Whether wrappers stand for what moves it: its own fields do nothing to the field.
bool isOfField(const OpContext &context, const QUuid &id)
{
    return !context.node(id) && context.document.item(id).itemType == model::ItemTypes::Sdf;
}

Transform ownTransform(const model::SceneItem &item)
{
    return {item.translate, item.rotate, item.scale};
}

Transform numbersOf(const OpContext &context, const QUuid &id)
{
    if (const model::LogicalInstance *node = context.node(id))
        return {node->translate, node->rotate, node->scale};
    return isOfField(context, id) ? ItemWrappers(context.document, id).transform()
                                  : ownTransform(context.document.item(id));
}

/// What the wrapper that applies a part is given, if that is an expression.
model::ParameterValue driverOf(const OpContext &context, const QUuid &id, const QString &wrapperId)
{
    const QString param = model::NodeCompilation::connectedParameter(wrapperId);
    if (const model::LogicalInstance *node = context.node(id)) {
        const model::WrapperValues *wrapper = node->wrapper(wrapperId);
        return model::ParameterValue::fromVariant(wrapper ? wrapper->values.value(param)
                                                          : QVariant());
    }
    if (!isOfField(context, id))
        return {};
    const QUuid wrapper = ItemWrappers(context.document, id).find(wrapperId);
    return context.document.instance(wrapper).parameterValue(param);
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
    return node ? !node->isContainer() : isOfField(context, id);
}

/// The value of a driven part until its expression is evaluated.
QVariant fallbackOf(const DrivenTransform &transform, std::size_t index)
{
    if (transform.found[index].isValid())
        return transform.found[index];
    const DrivenTransform::Part &part = transformParts[index];
    const QVector3D &value = transform.numbers.*part.field;
    return part.field == &Transform::scale ? QVariant(value.x()) : QVariant(value);
}

void setOwnTransform(OpContext &context, const QUuid &id, const Transform &transform)
{
    model::SceneItem item = context.document.item(id);
    item.translate = transform.translate;
    item.rotate = transform.rotate;
    item.scale = transform.scale;
    context.document.updateItem(item);
}

qsizetype transformRank(const QString &wrapperId)
{
    const auto it = std::find_if(
        transformParts.begin(), transformParts.end(),
        [&wrapperId](const DrivenTransform::Part &part) { return part.key == wrapperId; });
    return it - transformParts.begin();
}

/// A wrapper alone applies its part of a transform, and definitions like modifiers offer none. An
/// expression stands in the wrapper's values.
QList<model::WrapperValues> wrappersFor(const model::LogicalInstance &node,
                                        const DrivenTransform &transform)
{
    model::LogicalInstance changed = node;
    for (std::size_t index = 0; index < transformParts.size(); ++index) {
        const DrivenTransform::Part &part = transformParts[index];
        const QString &expression = transform.expressions[index];
        const QString param = model::NodeCompilation::connectedParameter(part.key);
        const bool doesNothing =
            expression.isEmpty() && transform.numbers.*part.field == Transform().*part.field;
        if (!node.wrapper(part.key) && !node.isContainer() && !doesNothing) {
            // Points are moved, then turned, then scaled: outside of what comes behind it.
            const auto behind = std::find_if(changed.wrappers.cbegin(), changed.wrappers.cend(),
                                             [&part](const model::WrapperValues &wrapper) {
                                                 return transformRank(wrapper.definitionId) >
                                                        transformRank(part.key);
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

/// Where everything is drawn, a wrapper would be drawn beside what it moves.
void nameRoots(model::Corvane &document)
{
    QList<QUuid> roots;
    const QList<model::SceneItem> items = document.itemsOfType(model::ItemTypes::Sdf);
    for (const model::SceneItem &item : items)
        roots.append(item.id);
    document.setRoots(roots);
}

/// The wrappers of an item of the field, which come with the numbers or for an expression.
bool setWrapperItems(OpContext &context, const QUuid &id, const DrivenTransform &transform)
{
    if (context.document.drawsAllItems() &&
        (transform.numbers != Transform() || transform.isDriven()))
        nameRoots(context.document);
    QStringList needed;
    for (std::size_t part = 0; part < transformParts.size(); ++part) {
        if (!transform.expressions[part].isEmpty())
            needed.append(transformParts[part].key);
    }
    if (!ItemWrappers::setTransform(context.document, id, transform.numbers, needed))
        return false;
    for (std::size_t index = 0; index < transformParts.size(); ++index) {
        if (transform.expressions[index].isEmpty())
            continue;
        const DrivenTransform::Part &part = transformParts[index];
        const QUuid wrapperId = ItemWrappers(context.document, id).find(part.key);
        model::Instance wrapper = context.document.instance(wrapperId);
        wrapper.setExpression(model::NodeCompilation::connectedParameter(part.key),
                              transform.expressions[index], fallbackOf(transform, index));
        context.document.updateItem(wrapper);
    }
    return true;
}

bool setTransform(OpContext &context, const QUuid &id, const DrivenTransform &transform)
{
    if (isOfField(context, id))
        return setWrapperItems(context, id, transform);
    if (context.node(id))
        setNodeTransform(context, id, transform);
    else
        setOwnTransform(context, id, transform.numbers);
    return true;
}

/// Takes away the wrappers that came with a transform.
void keepNodeWrappers(OpContext &context, const QUuid &id, const QStringList &wrapperIds)
{
    QList<model::WrapperValues> wrappers = context.node(id)->wrappers;
    const qsizetype removed = wrappers.removeIf([&](const model::WrapperValues &wrapper) {
        return transformRank(wrapper.definitionId) < qsizetype(transformParts.size()) &&
               !wrapperIds.contains(wrapper.definitionId);
    });
    if (removed > 0)
        context.tree->setWrappers(id, wrappers);
}

QVariantMap stateOf(const Transform &transform)
{
    QVariantMap state;
    for (const DrivenTransform::Part &part : transformParts) {
        for (int axis = 0; axis < 3; ++axis)
            state.insert(DrivenTransform::axisKey(part, axis), (transform.*part.field)[axis]);
    }
    return state;
}

Transform numbersIn(const QVariantMap &state)
{
    Transform transform;
    for (const DrivenTransform::Part &part : transformParts) {
        for (int axis = 0; axis < 3; ++axis)
            (transform.*part.field)[axis] =
                state.value(DrivenTransform::axisKey(part, axis)).toFloat();
    }
    return transform;
}

DrivenTransform transformIn(const QVariantMap &state)
{
    DrivenTransform transform{.numbers = numbersIn(state)};
    const QVariantMap expressions = state.value(u"expressions"_s).toMap();
    for (std::size_t part = 0; part < transformParts.size(); ++part) {
        const auto driver =
            model::ParameterValue::fromVariant(expressions.value(transformParts[part].key));
        transform.expressions[part] = driver.expression;
        transform.found[part] = driver.fallback;
    }
    return transform;
}

QVariantMap transformState(const OpContext &context, const QUuid &id)
{
    const DrivenTransform transform = transformOf(context, id);
    QVariantMap state = stateOf(transform.numbers);
    QVariantMap expressions;
    for (std::size_t part = 0; part < transformParts.size(); ++part) {
        if (!transform.expressions[part].isEmpty())
            expressions.insert(transformParts[part].key,
                               model::ParameterValue::fromExpression(transform.expressions[part],
                                                                     transform.found[part])
                                   .toVariantMap());
    }
    if (!expressions.isEmpty())
        state.insert(u"expressions"_s, expressions);
    if (const model::LogicalInstance *node = context.node(id)) {
        QStringList wrapperIds;
        for (const model::WrapperValues &wrapper : node->wrappers)
            wrapperIds.append(wrapper.definitionId);
        state.insert(u"wrappers"_s, wrapperIds);
    } else if (isOfField(context, id)) {
        state.insert(u"wrappers"_s, ItemWrappers(context.document, id).wrapperIds());
        state.insert(u"own"_s, stateOf(ownTransform(context.document.item(id))));
        state.insert(u"drawsAll"_s, context.document.drawsAllItems());
    }
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
    OpChange change{
        .itemId = id, .before = transformState(context, id), .scope = idText(id) + u"/transform"_s};
    if (!setTransform(context, id, after))
        return call.refuse(u"the id of a wrapper is taken:"_s, id);
    change.after = transformState(context, id);
    return change;
}

void restoreTransform(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    setTransform(context, itemId, transformIn(state));
    const QStringList wrapperIds = state.value(u"wrappers"_s).toStringList();
    if (context.node(itemId))
        keepNodeWrappers(context, itemId, wrapperIds);
    if (!isOfField(context, itemId))
        return;
    ItemWrappers::keepOnly(context.document, itemId, wrapperIds);
    setOwnTransform(context, itemId, numbersIn(state.value(u"own"_s).toMap()));
    if (state.value(u"drawsAll"_s).toBool())
        context.document.drawAllItems();
}

} // namespace corvane::ops
