// Where nodes and items stand, and how large they are.
//
// Nothing moves the field but wrappers. Of a node those of its stack take the node's transform, of
// an item that no tree stands behind the ItemWrappers; either way those that are lacking are made.
#include <corvane/model/Corvane.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

#include <array>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

using model::ItemWrappers;
using model::Transform;

/// The parts of a transform: their argument, the letter of their state keys, and the field.
struct TransformPart
{
    QLatin1StringView key;
    char16_t letter;
    QVector3D Transform::*field;
};

constexpr std::array<TransformPart, 3> transformParts{{
    {"translate"_L1, u't', &Transform::translate},
    {"rotate"_L1, u'r', &Transform::rotate},
    {"scale"_L1, u's', &Transform::scale},
}};

QString axisKey(const TransformPart &part, int axis)
{
    return QString(QChar(part.letter)) + QChar(u"xyz"[axis]);
}

/// Whether wrappers stand for what moves it: its own fields do nothing to the field.
bool isOfField(const OpContext &context, const QUuid &id)
{
    return !context.node(id) && context.document.item(id).itemType == model::ItemTypes::Sdf;
}

Transform ownTransform(const model::SceneItem &item)
{
    return {item.translate, item.rotate, item.scale};
}

Transform transformOf(const OpContext &context, const QUuid &id)
{
    if (const model::LogicalInstance *node = context.node(id))
        return {node->translate, node->rotate, node->scale};
    return isOfField(context, id) ? ItemWrappers(context.document, id).transform()
                                  : ownTransform(context.document.item(id));
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
    const auto it =
        std::find_if(transformParts.begin(), transformParts.end(),
                     [&wrapperId](const TransformPart &part) { return part.key == wrapperId; });
    return it - transformParts.begin();
}

/// A wrapper alone applies its part of a transform, and definitions like modifiers offer none.
QList<model::WrapperValues> wrappersFor(const model::LogicalInstance &node,
                                        const Transform &transform)
{
    QList<model::WrapperValues> wrappers = node.wrappers;
    for (const TransformPart &part : transformParts) {
        const bool doesNothing = transform.*part.field == Transform().*part.field;
        if (doesNothing || node.isContainer() || node.wrapper(part.key))
            continue;
        // Points are moved, then turned, then scaled: outside of what comes behind it.
        const auto behind = std::find_if(
            wrappers.cbegin(), wrappers.cend(), [&part](const model::WrapperValues &wrapper) {
                return transformRank(wrapper.definitionId) > transformRank(part.key);
            });
        wrappers.insert(behind, {part.key, {}});
    }
    return wrappers;
}

void setNodeTransform(OpContext &context, const QUuid &id, const Transform &transform)
{
    const model::LogicalScene::Batch batch(*context.tree);
    const model::LogicalInstance &node = *context.node(id);
    const QList<model::WrapperValues> wrappers = wrappersFor(node, transform);
    if (wrappers.size() != node.wrappers.size())
        context.tree->setWrappers(id, wrappers);
    context.tree->setInstanceTransform(id, transform.translate, transform.rotate, transform.scale);
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

bool setTransform(OpContext &context, const QUuid &id, const Transform &transform)
{
    if (isOfField(context, id)) {
        if (context.document.drawsAllItems() && transform != Transform())
            nameRoots(context.document);
        return ItemWrappers::setTransform(context.document, id, transform);
    }
    if (context.node(id))
        setNodeTransform(context, id, transform);
    else
        setOwnTransform(context, id, transform);
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
    for (const TransformPart &part : transformParts) {
        for (int axis = 0; axis < 3; ++axis)
            state.insert(axisKey(part, axis), (transform.*part.field)[axis]);
    }
    return state;
}

Transform transformIn(const QVariantMap &state)
{
    Transform transform;
    for (const TransformPart &part : transformParts) {
        for (int axis = 0; axis < 3; ++axis)
            (transform.*part.field)[axis] = state.value(axisKey(part, axis)).toFloat();
    }
    return transform;
}

QVariantMap transformState(const OpContext &context, const QUuid &id)
{
    QVariantMap state = stateOf(transformOf(context, id));
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

/// The axes that the call gives, over those that are; the number of given ones, -1 when one can't
/// be read.
int readTransform(const OpCall &call, Transform &transform)
{
    int given = 0;
    for (const TransformPart &part : transformParts) {
        const auto triple = readAxes(call.value(part.key));
        if (!triple)
            return -1;
        for (int axis = 0; axis < 3; ++axis) {
            const auto single = readAxes(call.args().value(axisKey(part, axis)));
            if (!single)
                return -1;
            const auto value = single->at(0) ? single->at(0) : triple->at(std::size_t(axis));
            if (!value)
                continue;
            (transform.*part.field)[axis] = *value;
            ++given;
        }
    }
    return given;
}

} // namespace

OpOutcome applyItemSetTransform(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    Transform after = transformOf(context, id);
    const int given = readTransform(call, after);
    if (given < 0)
        return call.refuse(u"translate, rotate and scale are three finite numbers each"_s);
    if (given == 0)
        return call.refuse(u"missing translate, rotate or scale"_s);
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
    setOwnTransform(context, itemId, transformIn(state.value(u"own"_s).toMap()));
    if (state.value(u"drawsAll"_s).toBool())
        context.document.drawAllItems();
}

} // namespace corvane::ops
