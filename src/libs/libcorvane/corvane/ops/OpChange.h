#pragma once

#include <corvane/ops/CorvaneOp.h>

#include <QStringList>
#include <QUuid>

#include <optional>

namespace corvane::ops {

/// The private keys of the snapshots, beside the keys of the state itself.
namespace StateKeys {
inline const QString itemType = QStringLiteral("_itemType"); ///< "sdf" for a node of the tree
inline const QString opDomain = QStringLiteral("_opDomain"); ///< of what is no item
inline const QString parentId = QStringLiteral("_parentId");
inline const QString index = QStringLiteral("_index"); ///< among the siblings
/// Snapshots of what stood below a removed node, parents before their children.
inline const QString children = QStringLiteral("_children");
/// Snapshots of the document's items that went along with a node.
inline const QString documentItems = QStringLiteral("_documentItems");
inline const QString roots = QStringLiteral("_roots"); ///< the document's, where they changed
/// Snapshots of nodes elsewhere that go along: references, and what stands in a removed group.
inline const QString others = QStringLiteral("_others");
/// The pairs of nodes that change places first; see keepSharedParts().
inline const QString exchanged = QStringLiteral("_exchanged");
} // namespace StateKeys

/// The words of StateKeys::opDomain.
namespace OpDomain {
inline const QString material = QStringLiteral("material");
inline const QString varset = QStringLiteral("varset");
inline const QString definition = QStringLiteral("definition");
inline const QString settings = QStringLiteral("settings");
} // namespace OpDomain

/// What an op did to the scene: enough to take it back, and to do it again.
struct OpChange
{
    OpCategory category = OpCategory::Modified;
    QUuid itemId{};
    QUuid createdId{};    ///< what the caller may want to go on with; null when nothing was added
    QVariantMap before{}; ///< empty for what was added
    QVariantMap after{};  ///< empty for what was removed
    /// ExpressionManager::keptValues() before and after, which no snapshot of what changed holds.
    QVariantMap keptBefore{};
    QVariantMap keptAfter{};
    QStringList textArgs{}; ///< for the holes of the undo text
    /// Which part of the scene changed, from the whole to the part, by slashes:
    /// "<id>/params/radius". Two changes are independent when neither's scope holds the other's.
    /// Empty: all of it.
    QString scope{};
};

using OpOutcome = std::optional<OpChange>;

} // namespace corvane::ops
