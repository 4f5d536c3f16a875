#pragma once

#include <QList>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {
class Corvane;
class LogicalScene;
struct LogicalInstance;
struct SceneItem;
struct WrapperValues;
} // namespace corvane::model

namespace corvane::ops {

struct OpContext;

// Nodes of the tree, and items of the document, as plain maps from which they come back exactly

/// Where a node stands: its parent, null at the top, and its index there, -1 when it is detached.
struct Placement
{
    QUuid parentId{};
    qsizetype index = -1;
};

Placement placementOf(const model::LogicalScene &scene, const QUuid &id);
/// LogicalInstance::toVariantMap() with the place, of one node alone.
QVariantMap nodeSnapshot(const model::LogicalInstance &node, const Placement &placement);
/// Puts the node back at its place. False when the id is taken or the place can't be had.
bool restoreNode(model::LogicalScene &scene, const QVariantMap &snapshot);

/// Of the node alone, at its place.
QVariantMap nodeSnapshot(const model::LogicalScene &scene, const QUuid &id);
/// Appends the snapshots of the node and all below it, parents before their children, in order.
void appendBranchSnapshot(const model::LogicalScene &scene, const QUuid &id, QVariantList &list);
/// Puts such a list back, with one structureChanged(). False, and logged, for each node that can't
/// be put back; the others are.
bool restoreBranch(model::LogicalScene &scene, const QVariantList &snapshot);

QVariantMap itemSnapshot(const model::SceneItem &item);
model::SceneItem itemOf(const QVariantMap &snapshot);

/// A node with all below it, the references to it and the document's items of the same ids; or an
/// item with the items and the nodes that stand below it in the display tree.
QVariantMap snapshotOf(const OpContext &context, const QUuid &id);
/// Puts back, or takes out, what a snapshot of snapshotOf() describes. Places are exchanged first,
/// or back at the end, as its StateKeys::exchanged says.
void insertSnapshot(OpContext &context, const QVariantMap &snapshot);
void removeSnapshot(OpContext &context, const QVariantMap &snapshot);
/// Puts single nodes back at their places, which were noted when all of them were there.
void restorePlaces(model::LogicalScene &scene, QVariantList snapshots);

/// A stack of wrappers by value, and back.
QVariantList wrapperList(const QList<model::WrapperValues> &wrappers);
QList<model::WrapperValues> wrappersOf(const QVariant &list);

/// Ids as texts without braces, and back.
QVariantList idList(const QList<QUuid> &ids);
QList<QUuid> idsOf(const QVariant &list);
QString idText(const QUuid &id);

} // namespace corvane::ops
