#pragma once

#include <QList>
#include <QUuid>
#include <QVariantList>

namespace corvane::model {
class LogicalScene;
}

namespace corvane::ops {

struct OpContext;

// Where nodes stand whose items are listed in several places

/// Whether a node that is an item by itself lists others, and one more. Other nodes take any.
bool takesChildren(const OpContext &context, const QUuid &nodeId);
bool hasRoom(const OpContext &context, const QUuid &nodeId);

/// The nodes that stand in a group or domain of the document, less those below another of them.
QList<QUuid> nodesInGroups(const OpContext &context, const QList<QUuid> &groups);

/// The references to these nodes from outside of their branches.
QList<QUuid> referencesInto(const model::LogicalScene &tree, const QList<QUuid> &tops);

/// Before branches go: what stands inside of them and is used outside as well changes places with
/// a reference out there. Returns the pairs for exchangePlaces(), in order.
QVariantList keepSharedParts(model::LogicalScene &tree, const QList<QUuid> &tops);
void exchangePlaces(model::LogicalScene &tree, const QVariantList &pairs);
/// In the other order.
void exchangePlacesBack(model::LogicalScene &tree, const QVariantList &pairs);

} // namespace corvane::ops
