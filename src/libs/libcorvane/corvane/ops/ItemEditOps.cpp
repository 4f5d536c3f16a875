// Changes of what any node or item has: name, material, tags, type data, proxy.
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentEdit.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/ExpressionSnapshot.h>
#include <corvane/ops/ItemOps.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/NodePlaces.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

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

/// The item and what stands below it, parents first; the nodes come last.
QList<QUuid> proxyScope(const OpContext &context, const QUuid &id)
{
    if (context.node(id))
        return context.tree->subtree(id);
    QList<QUuid> items{id};
    QSet<QUuid> seen{id};
    for (qsizetype i = 0; i < items.size(); ++i) {
        const QList<QUuid> below = context.document.hierarchyChildIds(items.at(i));
        for (const QUuid &item : below) {
            if (!seen.contains(item) && !context.node(item))
                items.append(item);
            seen.insert(item);
        }
    }
    const QList<QUuid> nodes = nodesInGroups(context, items);
    for (const QUuid &node : nodes)
        items += context.tree->subtree(node);
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

/// Whether expressions read the parameters of a node by its own name: no other node has it, and no
/// item of the document that did not come from the tree. (A node's own item has its name.)
bool isReadByName(const OpContext &context, const QUuid &id, const QString &name)
{
    const QUuid holder = context.document.instanceIdByName(name);
    if (name.isEmpty() || (!holder.isNull() && holder != id))
        return false;
    const auto &nodes = context.tree->instances();
    return std::none_of(nodes.cbegin(), nodes.cend(), [&](const model::LogicalInstance &node) {
        return node.id != id && node.name == name;
    });
}

/// With all that names it.
void rename(OpContext &context, const QUuid &id, const QString &name)
{
    const QString oldName = context.nameOf(id);
    if (context.node(id)) {
        // Before the name is gone: what it means to the expressions, if it means this node.
        const bool isRead = isReadByName(context, id, oldName);
        setName(context, id, name);
        if (isRead && oldName != name)
            renameInExpressions(context, oldName, name, expr::RenamedKind::Instance);
        return;
    }
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
    if (context.node(id) || !context.document.hasItem(id))
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
    const QList<QUuid> below = on ? proxyScope(context, id).mid(1) : QList<QUuid>();
    for (const QUuid &item : below) {
        if (context.node(item)) // the document clears its own
            setProxied(context, item, false);
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
