#include <corvane/ops/SceneSnapshot.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/ItemWrappers.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/OpChange.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/Operands.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

/// The items of the document that share an id with one of these nodes.
QVariantList documentItemsOf(const OpContext &context, const QList<QUuid> &ids)
{
    QVariantList items;
    for (const QUuid &id : ids) {
        if (context.document.hasItem(id))
            items.append(itemSnapshot(context.document.item(id)));
    }
    return items;
}

/// Items below one in the display tree, parents first; a cycle in a broken file ends the walk.
QList<QUuid> itemsBelow(const OpContext &context, const QUuid &id)
{
    QList<QUuid> found;
    QSet<QUuid> seen{id};
    QList<QUuid> open = context.document.hierarchyChildIds(id);
    while (!open.isEmpty()) {
        const QUuid item = open.takeFirst();
        if (seen.contains(item) || context.node(item))
            continue;
        seen.insert(item);
        found.append(item);
        open += context.document.hierarchyChildIds(item);
    }
    return found;
}

/// The wrappers of each come right behind it.
QList<QUuid> withWrappers(const OpContext &context, const QList<QUuid> &ids)
{
    QList<QUuid> all;
    for (const QUuid &id : ids)
        all += QList<QUuid>{id} + model::ItemWrappers(context.document, id).ids();
    return all;
}

/// Operators that stay when these items go.
QList<QUuid> usersOf(const OpContext &context, const QList<QUuid> &ids)
{
    const QSet<QUuid> gone(ids.cbegin(), ids.cend());
    QList<QUuid> users;
    const auto items = context.document.items();
    for (const model::SceneItem &item : items) {
        if (item.itemType != model::ItemTypes::Sdf || gone.contains(item.id))
            continue;
        const QList<QUuid> operands = context.document.childInstanceIds(item.id);
        if (std::any_of(operands.cbegin(), operands.cend(),
                        [&gone](const QUuid &id) { return gone.contains(id); }))
            users.append(item.id);
    }
    return users;
}

QVariantMap documentSnapshot(const OpContext &context, const QUuid &id)
{
    const QList<QUuid> ids = withWrappers(context, QList<QUuid>{id} + itemsBelow(context, id));
    QVariantMap snapshot = itemSnapshot(context.document.item(id));
    snapshot.insert(StateKeys::itemType, context.document.item(id).itemType);
    const QVariantList below = documentItemsOf(context, ids.mid(1));
    if (!below.isEmpty())
        snapshot.insert(StateKeys::documentItems, below);
    const QVariantMap operands = operandsOf(context.document, usersOf(context, ids));
    if (!operands.isEmpty())
        snapshot.insert(StateKeys::operands, operands);
    return snapshot;
}

/// The roots of the picture, when one of the items is among them.
void addRoots(const OpContext &context, QVariantMap &snapshot)
{
    const QList<QUuid> roots = context.document.roots();
    bool isRoot = roots.contains(QUuid::fromString(snapshot.value(u"id"_s).toString()));
    const QVariantList items = snapshot.value(StateKeys::documentItems).toList();
    for (const QVariant &item : items)
        isRoot =
            isRoot || roots.contains(QUuid::fromString(item.toMap().value(u"id"_s).toString()));
    if (isRoot)
        snapshot.insert(StateKeys::roots, idList(roots));
}

QList<QUuid> documentIdsOf(const QVariantMap &snapshot)
{
    QList<QUuid> ids;
    if (snapshot.value(StateKeys::itemType) != model::ItemTypes::Sdf ||
        !snapshot.contains(StateKeys::index))
        ids.append(QUuid::fromString(snapshot.value(u"id"_s).toString()));
    const QVariantList items = snapshot.value(StateKeys::documentItems).toList();
    for (const QVariant &item : items)
        ids.append(QUuid::fromString(item.toMap().value(u"id"_s).toString()));
    return ids;
}

/// Whether a snapshot is that of a node of the tree: an item of type "sdf" has no place there.
bool isOfTree(const QVariantMap &snapshot)
{
    return snapshot.value(StateKeys::itemType) == model::ItemTypes::Sdf &&
           snapshot.contains(StateKeys::index);
}

} // namespace

Placement placementOf(const model::LogicalScene &scene, const QUuid &id)
{
    return {scene.parentOf(id), scene.indexOf(id)};
}

QVariantMap nodeSnapshot(const model::LogicalInstance &node, const Placement &placement)
{
    QVariantMap map = node.toVariantMap();
    // The map leaves out what is nearly the default, and keeps what no file can hold out of
    // parameters: a snapshot has to give the very same node.
    map.insert(u"material"_s, node.material.toVariantMap());
    map.insert(StateKeys::parentId, idText(placement.parentId));
    map.insert(StateKeys::index, placement.index);
    return map;
}

bool restoreNode(model::LogicalScene &scene, const QVariantMap &snapshot)
{
    const QUuid parentId = QUuid::fromString(snapshot.value(StateKeys::parentId).toString());
    const qsizetype index = snapshot.value(StateKeys::index).toLongLong();
    const bool hasPlace = parentId.isNull() || scene.contains(parentId);
    const bool isDetached = parentId.isNull() && index < 0;
    const auto restored = [&] {
        return isDetached ? scene.restoreDetached(snapshot)
                          : scene.restoreInstance(snapshot, parentId, index);
    };
    if (hasPlace && !restored().isNull())
        return true;
    qCWarning(lcOps).noquote() << "restoreInstance: failed:" << snapshot.value(u"id"_s).toString();
    return false;
}

void appendBranchSnapshot(const model::LogicalScene &scene, const QUuid &id, QVariantList &list)
{
    const QList<QUuid> nodes = scene.subtree(id);
    QHash<QUuid, Placement> places;
    if (!nodes.isEmpty())
        places.insert(id, placementOf(scene, id));
    for (const QUuid &nodeId : nodes) {
        const model::LogicalInstance &node = *scene.instance(nodeId);
        // By counting: asking each child for its index would look through its siblings every time.
        for (qsizetype i = 0; i < node.children.size(); ++i)
            places.insert(node.children.at(i), {nodeId, i});
        list.append(nodeSnapshot(node, places.take(nodeId)));
    }
}

bool restoreBranch(model::LogicalScene &scene, const QVariantList &snapshot)
{
    const model::LogicalScene::Batch batch(scene);
    bool isWhole = true;
    for (const QVariant &node : snapshot)
        isWhole = restoreNode(scene, node.toMap()) && isWhole;
    return isWhole;
}

QVariantMap itemSnapshot(const model::SceneItem &item)
{
    QVariantMap map = item.toVariantMap();
    map.insert(u"material"_s, item.material.toVariantMap());
    return map;
}

model::SceneItem itemOf(const QVariantMap &snapshot)
{
    QVariantMap map = snapshot;
    map.removeIf([](QVariantMap::iterator it) {
        return it.key() == StateKeys::itemType || it.key() == StateKeys::documentItems ||
               it.key() == StateKeys::roots || it.key() == StateKeys::operands ||
               it.key() == StateKeys::drewAll;
    });
    return model::SceneItem::fromVariantMap(map);
}

QVariantMap snapshotOf(const OpContext &context, const QUuid &id)
{
    QVariantMap snapshot;
    if (context.node(id)) {
        QVariantList branch;
        appendBranchSnapshot(*context.tree, id, branch);
        snapshot = branch.takeFirst().toMap();
        snapshot.insert(StateKeys::itemType, model::ItemTypes::Sdf);
        if (!branch.isEmpty())
            snapshot.insert(StateKeys::children, branch);
        const QVariantList items = documentItemsOf(context, context.tree->subtree(id));
        if (!items.isEmpty())
            snapshot.insert(StateKeys::documentItems, items);
    } else {
        snapshot = documentSnapshot(context, id);
    }
    addRoots(context, snapshot);
    return snapshot;
}

void addToSnapshot(const OpContext &context, QVariantMap &snapshot, const QList<QUuid> &ids)
{
    QList<QUuid> lacking = withWrappers(context, ids);
    const QList<QUuid> present = documentIdsOf(snapshot);
    const QSet<QUuid> known(present.cbegin(), present.cend());
    lacking.removeIf([&known](const QUuid &id) { return known.contains(id); });
    snapshot.insert(StateKeys::documentItems, snapshot.value(StateKeys::documentItems).toList() +
                                                  documentItemsOf(context, lacking));
}

void insertSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    if (!isOfTree(snapshot))
        context.document.addItem(itemOf(snapshot));
    const QVariantList items = snapshot.value(StateKeys::documentItems).toList();
    for (const QVariant &item : items)
        context.document.addItem(itemOf(item.toMap()));
    restoreOperands(context.document, snapshot.value(StateKeys::operands).toMap());
    if (snapshot.contains(StateKeys::roots))
        context.document.setRoots(idsOf(snapshot.value(StateKeys::roots)));
    if (isOfTree(snapshot) && context.tree) {
        restoreBranch(*context.tree,
                      QVariantList{snapshot} + snapshot.value(StateKeys::children).toList());
    }
}

void removeSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    if (isOfTree(snapshot) && context.tree)
        context.tree->removeInstance(QUuid::fromString(snapshot.value(u"id"_s).toString()));
    const QList<QUuid> items = documentIdsOf(snapshot);
    const QVariantMap operands = snapshot.value(StateKeys::operands).toMap();
    for (auto user = operands.keyBegin(); user != operands.keyEnd(); ++user) {
        for (const QUuid &id : items)
            removeOperand(context.document, QUuid::fromString(*user), id);
    }
    for (auto id = items.crbegin(); id != items.crend(); ++id)
        context.document.removeItem(*id);
    if (snapshot.contains(StateKeys::drewAll))
        context.document.drawAllItems();
}

QVariantList idList(const QList<QUuid> &ids)
{
    QVariantList texts;
    texts.reserve(ids.size());
    for (const QUuid &id : ids)
        texts.append(idText(id));
    return texts;
}

QList<QUuid> idsOf(const QVariant &list)
{
    QList<QUuid> ids;
    const QStringList texts = list.toStringList();
    ids.reserve(texts.size());
    for (const QString &text : texts)
        ids.append(QUuid::fromString(text));
    return ids;
}

QString idText(const QUuid &id)
{
    return id.isNull() ? QString() : id.toString(QUuid::WithoutBraces);
}

} // namespace corvane::ops
