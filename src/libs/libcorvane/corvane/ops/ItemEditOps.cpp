// Changes of what any node or item has: name, transform, material, tags, type data, proxy.
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentEdit.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/ExpressionSnapshot.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

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

bool setTransform(OpContext &context, const QUuid &id, const Transform &transform)
{
    if (isOfField(context, id))
        return ItemWrappers::setTransform(context.document, id, transform);
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

QVariantMap materialState(const OpContext &context, const QUuid &id)
{
    const model::LogicalInstance *node = context.node(id);
    const model::SceneItem item = node ? model::SceneItem(QUuid()) : context.document.item(id);
    return {{u"material"_s, (node ? node->material : item.material).toVariantMap()},
            {u"materialId"_s, idText(node ? node->materialId : item.materialId)}};
}

/// The values of a surface that stand among the arguments themselves.
QVariantMap looseMaterial(const OpCall &call)
{
    QVariantMap material = call.map("material"_L1);
    for (const auto key : {"albedo"_L1, "metallic"_L1, "roughness"_L1, "emission"_L1}) {
        if (call.has(key))
            material.insert(key, call.value(key));
    }
    return material;
}

QSet<QString> tagsOf(const OpContext &context, const QUuid &id)
{
    const model::LogicalInstance *node = context.node(id);
    return node ? node->tags : context.document.item(id).tags;
}

void setTags(OpContext &context, const QUuid &id, const QSet<QString> &tags)
{
    if (context.node(id)) {
        context.tree->setInstanceTags(id, tags);
    } else if (context.document.item(id).tags != tags) {
        model::SceneItem item = context.document.item(id);
        item.tags = tags;
        context.document.updateItem(item);
    }
}

QVariantMap tagsState(const QSet<QString> &tags, const QStringList &touched)
{
    QVariantMap state;
    for (const QString &tag : touched)
        state.insert(tag, tags.contains(tag));
    return {{u"tags"_s, state}};
}

/// The item and what stands below it, parents first.
QList<QUuid> proxyScope(const OpContext &context, const QUuid &id)
{
    if (context.node(id))
        return context.tree->subtree(id);
    QList<QUuid> items{id};
    QSet<QUuid> seen{id};
    for (qsizetype i = 0; i < items.size(); ++i) {
        const QList<QUuid> below = context.document.hierarchyChildIds(items.at(i));
        for (const QUuid &item : below) {
            if (!seen.contains(item))
                items.append(item);
            seen.insert(item);
        }
    }
    return items;
}

QVariantMap proxyState(const OpContext &context, const QUuid &id)
{
    QList<QUuid> proxies = proxyScope(context, id);
    proxies.removeIf([&context](const QUuid &item) {
        return !tagsOf(context, item).contains(model::ItemTags::Proxied);
    });
    return {{u"proxied"_s, idList(proxies)}};
}

void setProxied(OpContext &context, const QUuid &id, bool on)
{
    if (context.node(id))
        context.tree->setInstanceTag(id, model::ItemTags::Proxied, on);
    else
        context.document.setProxied(id, on);
}

QString typeDataKey(const QString &key)
{
    return key == "parameters"_L1 ? u"params"_s : key;
}

void setName(OpContext &context, const QUuid &id, const QString &name)
{
    if (context.node(id)) {
        context.tree->setInstanceName(id, name);
        return;
    }
    model::SceneItem item = context.document.item(id);
    item.name = name;
    context.document.updateItem(item);
}

/// With all that names it.
void rename(OpContext &context, const QUuid &id, const QString &name)
{
    if (context.node(id)) {
        setName(context, id, name);
        return;
    }
    const QString oldName = context.nameOf(id);
    model::DocumentEdit edit(context.document);
    edit.rename(id, name);
    edit.commit(nullptr, {});
    if (!oldName.isEmpty() && oldName != name)
        renameInExpressions(context, oldName, name, expr::RenamedKind::Instance);
}

/// The "children" parameters that name an item, by owner.
QVariantMap referencesTo(const OpContext &context, const QUuid &id)
{
    QVariantMap references;
    const auto items = context.document.items();
    for (const model::SceneItem &item : items) {
        const model::Instance owner(item);
        const QStringList children = owner.childReferences();
        const bool refers =
            std::any_of(children.cbegin(), children.cend(), [&](const QString &reference) {
                return context.document.resolveReference(reference) == id;
            });
        if (refers)
            references.insert(idText(item.id), owner.rawParams().value(u"children"_s));
    }
    return references;
}

void restoreReferences(OpContext &context, const QVariantMap &references)
{
    for (auto it = references.cbegin(); it != references.cend(); ++it) {
        model::Instance owner = context.document.instance(QUuid::fromString(it.key()));
        QVariantMap params = owner.rawParams();
        params.insert(u"children"_s, *it);
        owner.setRawParams(params);
        if (context.document.hasItem(owner.id) && owner != context.document.instance(owner.id))
            context.document.updateItem(owner);
    }
}

QVariantMap nameState(const OpContext &context, const QUuid &id)
{
    QVariantMap state{{u"name"_s, context.nameOf(id)}};
    if (context.node(id))
        return state;
    const QVariantMap references = referencesTo(context, id);
    if (!references.isEmpty())
        state.insert(u"references"_s, references);
    return state;
}

} // namespace

OpOutcome applyItemRename(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    const QString name = context.uniqueName(call.text("newName"_L1), id);
    OpChange change{.itemId = id, .before = nameState(context, id), .textArgs = {name}};
    QVariantMap expressionsBefore = captureExpressions(context);
    rename(context, id, name);
    change.after = nameState(context, id);
    QVariantMap expressionsAfter = captureExpressions(context);
    keepDifferences(expressionsBefore, expressionsAfter);
    if (expressionsBefore != expressionsAfter) {
        change.before.insert(u"expressions"_s, expressionsBefore);
        change.after.insert(u"expressions"_s, expressionsAfter);
    }
    return change;
}

void restoreName(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    renameWithoutRewriting(context,
                           [&] { setName(context, itemId, state.value(u"name"_s).toString()); });
    restoreReferences(context, state.value(u"references"_s).toMap());
    restoreExpressions(context, state.value(u"expressions"_s).toMap());
}

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
}

OpOutcome applyItemSetMaterial(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    const QVariantMap inlineMaterial = looseMaterial(call);
    const bool hasId = call.args().contains(u"materialId"_s);
    if (inlineMaterial.isEmpty() && !hasId)
        return call.refuse(u"missing material or materialId"_s);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    OpChange change{
        .itemId = id, .before = materialState(context, id), .scope = idText(id) + u"/material"_s};
    QVariantMap material = change.before.value(u"material"_s).toMap();
    material.insert(inlineMaterial);
    // A catalogue's material would win over the values that were asked for.
    restoreMaterial(context, id,
                    {{u"material"_s, material},
                     {u"materialId"_s, hasId ? idText(call.id("materialId"_L1)) : QString()}});
    change.after = materialState(context, id);
    return change;
}

void restoreMaterial(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const auto material = model::Material::fromVariantMap(state.value(u"material"_s).toMap());
    const QUuid materialId = OpCall::toId(state.value(u"materialId"_s));
    if (context.node(itemId)) {
        context.tree->setInstanceMaterial(itemId, material, materialId);
        return;
    }
    model::SceneItem item = context.document.item(itemId);
    item.material = material;
    item.materialId = materialId;
    context.document.updateItem(item);
}

OpOutcome applyItemSetTags(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    const QStringList add = call.words("add"_L1);
    const QStringList remove = call.words("remove"_L1);
    if (add.isEmpty() && remove.isEmpty())
        return call.refuse(u"missing add or remove"_s);
    if (add.contains(QString()))
        return call.refuse(u"a tag is empty"_s);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    const QSet<QString> before = tagsOf(context, id);
    QSet<QString> after = before - QSet<QString>(remove.cbegin(), remove.cend());
    after.unite(QSet<QString>(add.cbegin(), add.cend()));
    setTags(context, id, after);
    return OpChange{.itemId = id,
                    .before = tagsState(before, add + remove),
                    .after = tagsState(after, add + remove)};
}

void restoreTags(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    QSet<QString> tags = tagsOf(context, itemId);
    const QVariantMap touched = state.value(u"tags"_s).toMap();
    for (auto it = touched.cbegin(); it != touched.cend(); ++it) {
        if (it->toBool())
            tags.insert(it.key());
        else
            tags.remove(it.key());
    }
    setTags(context, itemId, tags);
}

OpOutcome applyItemSetTypeData(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    const QString key = typeDataKey(call.text("key"_L1));
    if (!context.document.hasItem(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    if (model::kCommonKeys().contains(key))
        return call.refuse(u"no key of the type data:"_s, key);
    const auto state = [&context, &id, &key] {
        const QVariantMap typeData = context.document.item(id).typeData;
        QVariantMap map{{u"key"_s, key}};
        if (typeData.contains(key))
            map.insert(u"value"_s, typeData.value(key));
        return map;
    };
    OpChange change{
        .itemId = id, .before = state(), .textArgs = {key}, .scope = idText(id) + u'/' + key};
    QVariantMap wanted{{u"key"_s, key}};
    if (call.has("value"_L1))
        wanted.insert(u"value"_s, call.value("value"_L1));
    restoreTypeData(context, id, wanted);
    change.after = state();
    return change;
}

void restoreTypeData(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    model::SceneItem item = context.document.item(itemId);
    const QString key = state.value(u"key"_s).toString();
    if (state.contains(u"value"_s))
        item.typeData.insert(key, state.value(u"value"_s));
    else
        item.typeData.remove(key);
    context.document.updateItem(item);
}

OpOutcome applyItemSetProxy(OpContext &context, const OpCall &call)
{
    const QUuid id = call.id("itemId"_L1);
    if (!context.contains(id))
        return call.refuse(u"item not found:"_s, call.text("itemId"_L1));
    OpChange change{.itemId = id, .before = proxyState(context, id)};
    const bool on = call.flag("proxied"_L1);
    setProxied(context, id, on);
    if (on && context.node(id)) {
        const QList<QUuid> nodes = context.tree->subtree(id).mid(1);
        for (const QUuid &node : nodes)
            setProxied(context, node, false);
    }
    change.after = proxyState(context, id);
    return change;
}

void restoreProxy(OpContext &context, const QUuid &itemId, const QVariantMap &state)
{
    const QList<QUuid> listed = idsOf(state.value(u"proxied"_s));
    const QSet<QUuid> proxies(listed.cbegin(), listed.cend());
    // Parents first: setting one in the document clears those below, which a file may have nested.
    const QList<QUuid> scope = proxyScope(context, itemId);
    for (const QUuid &id : scope)
        setProxied(context, id, proxies.contains(id));
}

} // namespace corvane::ops
