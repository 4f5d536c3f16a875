#pragma once

#include <QUuid>
#include <QVariantMap>

namespace corvane::component {
class ComponentLibrary;
}
namespace corvane::model {
class Corvane;
class LogicalScene;
class MaterialLibrary;
struct LogicalInstance;
} // namespace corvane::model

namespace corvane::ops {

/// What ops work on.
struct OpContext
{
    model::Corvane &document;
    model::LogicalScene *tree = nullptr; ///< none for a scene without one
    component::ComponentLibrary &library;
    model::MaterialLibrary &materials;
    /// Components whose inside stands in the scene to be edited, by the id of the branch's root.
    QVariantMap &editSessions;

    /// The node of the tree; none when there is no tree, or no such node in it. References are no
    /// nodes to those who edit.
    const model::LogicalInstance *node(const QUuid &id) const;
    /// Whether the id is a node or an item.
    bool contains(const QUuid &id) const;
    /// The name of the node or the item.
    QString nameOf(const QUuid &id) const;

    /// `wanted` if no node and no item but `owner` has that name, else its base and a number.
    QString uniqueName(const QString &wanted, const QUuid &owner = {}) const;
};

} // namespace corvane::ops
