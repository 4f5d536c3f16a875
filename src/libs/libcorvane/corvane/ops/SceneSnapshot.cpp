#include <corvane/ops/SceneSnapshot.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/NodePlaces.h>
#include <corvane/ops/OpChange.h>
#include <corvane/ops/OpContext.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

QVariantList documentItemsOf(const OpContext &context, const QList<QUuid> &ids)
{
    QVariantList items;
    for (const QUuid &id : ids) {
        const model::LogicalInstance *node = context.node(id);
        // A node's own item comes and goes with the node.
        if (context.document.hasItem(id) && !(node && node->hasOwnItem()))
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

/// Branches, and the references to them, that go with something else: what stands somewhere by
/// itself, and what stands below that.
void addBranches(const OpContext &context, const QList<QUuid> &tops, QVariantMap &snapshot)
{
    QVariantList others;
    QVariantList children = snapshot.value(StateKeys::children).toList();
    for (const QUuid &top : tops) {
        QVariantList branch;
        appendBranchSnapshot(*context.tree, top, branch);
        others.append(branch.takeFirst());
        children += branch;
    }
    const QList<QUuid> references = referencesInto(*context.tree, tops);
    for (const QUuid &id : references)
        others.append(nodeSnapshot(*context.tree, id));
    if (!others.isEmpty())
        snapshot.insert(StateKeys::others, others);
    if (!children.isEmpty())
        snapshot.insert(StateKeys::children, children);
}

QVariantMap documentSnapshot(const OpContext &context, const QUuid &id)
{
    const QList<QUuid> below = itemsBelow(context, id);
    QVariantMap snapshot = itemSnapshot(context.document.item(id));
    snapshot.insert(StateKeys::itemType, context.document.item(id).itemType);
    const QVariantList items = documentItemsOf(context, below);
    if (!items.isEmpty())
        snapshot.insert(StateKeys::documentItems, items);
    const QList<QUuid> nodes = nodesInGroups(context, QList<QUuid>{id} + below);
    if (!nodes.isEmpty())
        addBranches(context, nodes, snapshot);
    return snapshot;
}

QVariantMap treeSnapshot(const OpContext &context, const QUuid &id)
{
    QVariantList branch;
    appendBranchSnapshot(*context.tree, id, branch);
    QVariantMap snapshot = branch.takeFirst().toMap();
    snapshot.insert(StateKeys::itemType, model::ItemTypes::Sdf);
    if (!branch.isEmpty())
        snapshot.insert(StateKeys::children, branch);
    QVariantList references;
    const QList<QUuid> ids = referencesInto(*context.tree, {id});
    for (const QUuid &reference : ids)
        references.append(nodeSnapshot(*context.tree, reference));
    if (!references.isEmpty())
        snapshot.insert(StateKeys::others, references);
    const QVariantList items = documentItemsOf(context, context.tree->subtree(id));
    if (!items.isEmpty())
        snapshot.insert(StateKeys::documentItems, items);
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

QVariantMap nodeSnapshot(const model::LogicalScene &scene, const QUuid &id)
{
    return nodeSnapshot(*scene.instance(id), placementOf(scene, id));
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
               it.key() == StateKeys::roots || it.key() == StateKeys::children ||
               it.key() == StateKeys::others || it.key() == StateKeys::exchanged;
    });
    return model::SceneItem::fromVariantMap(map);
}

QVariantMap snapshotOf(const OpContext &context, const QUuid &id)
{
    QVariantMap snapshot =
        context.node(id) ? treeSnapshot(context, id) : documentSnapshot(context, id);
    addRoots(context, snapshot);
    return snapshot;
}

/// By the index: each then finds those in front of it there.
void restorePlaces(model::LogicalScene &scene, QVariantList snapshots)
{
    const auto index = [](const QVariant &snapshot) {
        return snapshot.toMap().value(StateKeys::index).toLongLong();
    };
    std::stable_sort(
        snapshots.begin(), snapshots.end(),
        [&index](const QVariant &a, const QVariant &b) { return index(a) < index(b); });
    restoreBranch(scene, snapshots);
}

void insertSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    if (!isOfTree(snapshot))
        context.document.addItem(itemOf(snapshot));
    const QVariantList items = snapshot.value(StateKeys::documentItems).toList();
    for (const QVariant &item : items)
        context.document.addItem(itemOf(item.toMap()));
    if (snapshot.contains(StateKeys::roots))
        context.document.setRoots(idsOf(snapshot.value(StateKeys::roots)));
    if (!context.tree)
        return;
    const model::LogicalScene::Batch batch(*context.tree);
    QVariantList tops = snapshot.value(StateKeys::others).toList();
    if (isOfTree(snapshot))
        tops.append(snapshot);
    restorePlaces(*context.tree, tops);
    restoreBranch(*context.tree, snapshot.value(StateKeys::children).toList());
    exchangePlacesBack(*context.tree, snapshot.value(StateKeys::exchanged).toList());
}

void removeSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    if (context.tree) {
        const model::LogicalScene::Batch batch(*context.tree);
        exchangePlaces(*context.tree, snapshot.value(StateKeys::exchanged).toList());
        const auto remove = [&context](const QVariantMap &node) {
            context.tree->removeInstance(QUuid::fromString(node.value(u"id"_s).toString()));
        };
        const QVariantList others = snapshot.value(StateKeys::others).toList();
        for (const QVariant &other : others)
            remove(other.toMap());
        if (isOfTree(snapshot))
            remove(snapshot);
    }
    const QList<QUuid> items = documentIdsOf(snapshot);
    for (auto id = items.crbegin(); id != items.crend(); ++id)
        context.document.removeItem(*id);
}

QVariantList wrapperList(const QList<model::WrapperValues> &wrappers)
{
    QVariantList list;
    for (const model::WrapperValues &wrapper : wrappers)
        list.append(
            QVariantMap{{u"definitionId"_s, wrapper.definitionId}, {u"values"_s, wrapper.values}});
    return list;
}

QList<model::WrapperValues> wrappersOf(const QVariant &list)
{
    QList<model::WrapperValues> wrappers;
    const QVariantList entries = list.toList();
    for (const QVariant &entry : entries) {
        const QVariantMap map = entry.toMap();
        wrappers.append({map.value(u"definitionId"_s).toString(), map.value(u"values"_s).toMap()});
    }
    return wrappers;
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
