#include <corvane/ops/SdfOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/TransformPart.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>
#include <corvane/registry/Registry.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

constexpr auto childrenParameter = "children"_L1;

QVariantMap parameterState(const OpContext &context, const QUuid &id, const QString &param)
{
    const model::LogicalInstance *node = context.node(id);
    const QVariantMap params = node ? node->params : context.document.instance(id).rawParams();
    QVariantMap state{{u"paramName"_s, param}};
    if (params.contains(param))
        state.insert(u"value"_s, params.value(param));
    if (node)
        state.insert(StateKeys::itemType, model::ItemTypes::Sdf);
    return state;
}

/// Whether the parameter of a wrapper is a part of the node's transform.
bool isConnected(const QString &wrapperId, const QString &param)
{
    return model::connectedParameter(wrapperId) == param;
}

QVariantMap wrapperState(const OpContext &context, const QUuid &id, const QString &wrapperId,
                         const QString &param)
{
    const model::LogicalInstance &node = *context.node(id);
    const model::WrapperValues *wrapper = node.wrapper(wrapperId);
    QVariantMap state{{u"paramName"_s, param},
                      {u"wrapperId"_s, wrapperId},
                      {u"existed"_s, wrapper != nullptr},
                      {StateKeys::itemType, model::ItemTypes::Sdf}};
    if (wrapper && wrapper->values.contains(param))
        state.insert(u"value"_s, wrapper->values.value(param));
    if (isConnected(wrapperId, param))
        state.insert(u"transform"_s, QVariantList{node.translate, node.rotate, node.scale});
    return state;
}

/// Whether the node's transform can be what the wrapper's parameter is to be. With an expression it
/// stays what it is until that has a value.
bool canFollow(const model::LogicalInstance &node, const QString &wrapperId, const QString &param,
               const QVariant &value)
{
    const auto parameter = model::ParameterValue::fromVariant(value);
    if (parameter.isExpression() && !parameter.fallback.isValid())
        return !parameter.expression.trimmed().isEmpty();
    model::LogicalInstance changed = node;
    changed.wrappers = {{wrapperId, {{param, value}}}};
    return changed.takeTransformOf(wrapperId);
}

/// The node's transform follows the parameter that says it. For any other it is told again, as the
/// compiled wrapper has what its values say until then.
void followWrapper(OpContext &context, const QUuid &id, const QString &wrapperId,
                   const QString &param)
{
    model::LogicalInstance node = *context.node(id);
    if (isConnected(wrapperId, param))
        node.takeTransformOf(wrapperId);
    context.tree->setInstanceTransform(id, node.translate, node.rotate, node.scale);
}

OpOutcome setWrapperParameter(OpContext &context, const OpCall &call, const QUuid &id)
{
    const QString wrapperId = call.text("wrapperId"_L1);
    const QString param = call.text("paramName"_L1);
    if (!context.node(id))
        return call.refuse(u"an item of the document has no wrappers:"_s, id);
    const bool isKnown = registry::Registry::instance().contains(wrapperId);
    if (!isKnown && !context.node(id)->wrapper(wrapperId))
        return call.refuse(u"unknown wrapper:"_s, wrapperId);
    const bool isTransform = isConnected(wrapperId, param);
    if (isTransform && !canFollow(*context.node(id), wrapperId, param, call.value("value"_L1)))
        return call.refuse(u"a transform takes finite numbers or an expression:"_s, param);
    OpChange change{.itemId = id,
                    .before = wrapperState(context, id, wrapperId, param),
                    .textArgs = {param},
                    .scope = idText(id) + u"/wrappers/"_s + wrapperId + u'/' + param};
    if (isTransform)
        change.scope = idText(id) + u"/transform"_s;
    const model::LogicalScene::Batch batch(*context.tree);
    context.tree->setWrapperParameter(id, wrapperId, param, call.value("value"_L1));
    if (!model::connectedParameter(wrapperId).isEmpty())
        followWrapper(context, id, wrapperId, param);
    change.after = wrapperState(context, id, wrapperId, param);
    return change;
}

void restoreWrapperParameter(OpContext &context, const QUuid &id, const QVariantMap &state)
{
    const QString wrapperId = state.value(u"wrapperId"_s).toString();
    const QString param = state.value(u"paramName"_s).toString();
    model::LogicalInstance node = *context.node(id);
    if (!state.value(u"existed"_s).toBool()) {
        node.wrappers.removeIf([&wrapperId](const model::WrapperValues &wrapper) {
            return wrapper.definitionId == wrapperId;
        });
    } else {
        if (!node.wrapper(wrapperId))
            node.wrappers.append({wrapperId, {}});
        QVariantMap &values = node.wrapper(wrapperId)->values;
        if (state.contains(u"value"_s))
            values.insert(param, state.value(u"value"_s));
        else
            values.remove(param);
    }
    const model::LogicalScene::Batch batch(*context.tree);
    context.tree->replaceInstance(node);
    // After the values, which need not be those of the transform: a file may say both.
    const QVariantList transform = state.value(u"transform"_s).toList();
    if (transform.size() == 3)
        context.tree->setInstanceTransform(id, transform.at(0).value<QVector3D>(),
                                           transform.at(1).value<QVector3D>(),
                                           transform.at(2).value<QVector3D>());
}

QVariantMap parametersState(const OpContext &context, const QUuid &id)
{
    const model::LogicalInstance *node = context.node(id);
    return {{u"parameters"_s, node ? node->params : context.document.instance(id).rawParams()}};
}

/// The parameters that a call gives, as an item stores them; references to children stay.
QVariantMap itemParameters(const model::Instance &item, const QVariantMap &given)
{
    model::Instance changed = item;
    const QVariantMap before = item.rawParams();
    changed.setRawParams({});
    changed.setParameters(given);
    QVariantMap params = changed.rawParams();
    const auto children = before.constFind(childrenParameter);
    if (children != before.cend() && !given.contains(childrenParameter))
        params.insert(childrenParameter, *children);
    return params;
}

QVariantMap definitionState(const OpContext &context, const QUuid &id)
{
    const model::LogicalInstance *node = context.node(id);
    if (!node)
        return {{u"definitionId"_s, context.document.instance(id).definitionId()}};
    return {{u"definitionId"_s, node->definitionId},
            {u"wrappers"_s, wrapperList(node->wrappers)},
            {StateKeys::itemType, model::ItemTypes::Sdf}};
}

double modifierOf(const OpContext &context, const QUuid &id, const model::NodeModifier &modifier)
{
    const model::LogicalInstance *node = context.node(id);
    return modifier.value(node ? node->modifiers : context.document.instance(id).modifiers())
        .toDouble();
}

} // namespace

OpOutcome applySdfSetParameter(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    const QString param = call.text("paramName"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    if (!call.text("wrapperId"_L1).isEmpty())
        return setWrapperParameter(context, call, id);
    if (context.node(id) && param == childrenParameter)
        return call.refuse(u"the children of a node are no parameter:"_s, id);
    OpChange change{.itemId = id,
                    .before = parameterState(context, id, param),
                    .textArgs = {param},
                    .scope = idText(id) + u"/params/"_s + param};
    if (context.node(id)) {
        context.tree->setInstanceParameter(id, param, call.value("value"_L1));
    } else {
        model::Instance item = context.document.instance(id);
        item.setParameter(param, call.value("value"_L1));
        context.document.updateItem(item);
    }
    change.after = parameterState(context, id, param);
    return change;
}

void restoreParameter(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const QString param = state.value(u"paramName"_s).toString();
    const auto value = state.constFind(u"value"_s);
    const bool hasValue = value != state.cend();
    if (!context.node(itemId)) {
        model::Instance item = context.document.instance(itemId);
        QVariantMap params = item.rawParams();
        if (hasValue)
            params.insert(param, *value);
        else
            params.remove(param);
        item.setRawParams(params);
        context.document.updateItem(item);
    } else if (!state.value(u"wrapperId"_s).toString().isEmpty()) {
        restoreWrapperParameter(context, itemId, state);
    } else if (hasValue) {
        context.tree->setInstanceParameter(itemId, param, *value);
    } else {
        context.tree->removeInstanceParameter(itemId, param);
    }
}

OpOutcome applySdfSetAllParameters(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    QVariantMap params = call.map("parameters"_L1);
    OpChange change{
        .itemId = id, .before = parametersState(context, id), .scope = idText(id) + u"/params"_s};
    if (context.node(id))
        params.remove(childrenParameter);
    else
        params = itemParameters(context.document.instance(id), params);
    change.after = {{u"parameters"_s, params}};
    restoreParameters(context, id, change.after);
    return change;
}

void restoreParameters(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const QVariantMap params = state.value(u"parameters"_s).toMap();
    if (context.node(itemId)) {
        context.tree->setInstanceParameters(itemId, params);
        return;
    }
    model::Instance item = context.document.instance(itemId);
    item.setRawParams(params);
    context.document.updateItem(item);
}

OpOutcome applySdfSetDefinition(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    const QString definitionId = call.text("definitionId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    if (!registry::Registry::instance().contains(definitionId))
        return call.refuse(u"unknown definition:"_s, definitionId);
    const model::LogicalInstance *node = context.node(id);
    if (node && node->isComponentInstance())
        return call.refuse(u"a component instance has no definition:"_s, id);
    OpChange change{
        .itemId = id, .before = definitionState(context, id), .textArgs = {definitionId}};
    QVariantMap wanted = change.before;
    wanted.insert(u"definitionId"_s, definitionId);
    if (node && node->isContainer() && node->wrappers.isEmpty()) {
        QList<model::WrapperValues> wrappers;
        const QStringList initial = model::initialWrappers(definitionId, {});
        for (const QString &wrapperId : initial)
            wrappers.append({wrapperId, {}});
        wanted.insert(u"wrappers"_s, wrapperList(wrappers));
    }
    restoreDefinition(context, id, wanted);
    change.after = definitionState(context, id);
    return change;
}

void restoreDefinition(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const QString definitionId = state.value(u"definitionId"_s).toString();
    if (!context.node(itemId)) {
        model::Instance item = context.document.instance(itemId);
        if (definitionId.isEmpty())
            item.typeData.remove(u"type"_s);
        else
            item.setDefinitionId(definitionId);
        context.document.updateItem(item);
        return;
    }
    model::LogicalInstance node = *context.node(itemId);
    node.definitionId = definitionId;
    node.wrappers = wrappersOf(state.value(u"wrappers"_s));
    context.tree->replaceInstance(node);
}

OpOutcome applySdfSetModifier(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    const QString name = call.text("modifier"_L1);
    const model::NodeModifier *modifier = model::findNodeModifier(name);
    if (!modifier)
        return call.refuse(u"unknown modifier:"_s, name);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    const auto state = [&] {
        return QVariantMap{{u"modifier"_s, name}, {u"value"_s, modifierOf(context, id, *modifier)}};
    };
    OpChange change{
        .itemId = id, .before = state(), .textArgs = {name}, .scope = idText(id) + u'/' + name};
    restoreModifier(
        context, id,
        {{u"modifier"_s, name},
         {u"value"_s, double(model::readFloat(call.value("value"_L1)).value_or(0.0f))}});
    change.after = state();
    return change;
}

void restoreModifier(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const model::NodeModifier *modifier =
        model::findNodeModifier(state.value(u"modifier"_s).toString());
    const double value = state.value(u"value"_s).toDouble();
    if (!modifier)
        return;
    if (const model::LogicalInstance *found = context.node(itemId)) {
        model::LogicalInstance node = *found;
        modifier->set(node.modifiers, value);
        context.tree->replaceInstance(node);
        return;
    }
    model::Instance item = context.document.instance(itemId);
    model::NodeModifiers modifiers = item.modifiers();
    modifier->set(modifiers, value);
    item.setModifier(*modifier, modifiers);
    context.document.updateItem(item);
}

} // namespace corvane::ops
