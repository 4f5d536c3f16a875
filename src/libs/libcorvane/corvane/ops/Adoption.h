#pragma once

#include <QList>
#include <QUuid>
#include <QVariantMap>

#include <optional>

namespace corvane::ops {

struct OpContext;

// Items of a document's field become nodes of the tree, so that both can stand in one expression

/// What takes an item's expression into the tree, and what takes it out again: two states for
/// restoreAdoption(). The nodes have the ids of the items.
struct Adoption
{
    QVariantMap before{};
    QVariantMap after{};
};

/// Plans it for an item and all that its expression is made of, with the item as a child of a node
/// or, for a null id, at the top. Changes nothing. None, with the reason, where a tree can't hold
/// it: parts are used elsewhere as well, stand in groups, or have data that nodes do not.
std::optional<Adoption> planAdoption(const OpContext &context, const QUuid &itemId,
                                     const QUuid &parentId, qsizetype index, QString &reason);
bool isAdoption(const QVariantMap &state);
void restoreAdoption(OpContext &context, const QVariantMap &state);

/// The item at the top of the expression that an item is part of; null where there are several.
QUuid topOfExpression(const OpContext &context, const QUuid &itemId);

} // namespace corvane::ops
