#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariantMap>

namespace corvane::component {

/// One parameter that a component shows to the outside.
struct ComponentPromotion
{
    enum Binding {
        Passthrough = 0, ///< the value goes to the target as it is
        Expression = 1,  ///< the target gets what `expression` makes of the component's values
    };

    QString alias{}; ///< the parameter's name on the component
    QString displayName{};
    QUuid targetNode{};    ///< a node of the structure
    QString targetParam{}; ///< the parameter of that node
    Binding binding = Passthrough;
    QString expression{};

    /// Keys "alias", "displayName" (unless empty), "target" {node, param}, "binding"
    /// ("passthrough", "expression"), "expression" (for that binding).
    QVariantMap toVariantMap() const;
    /// "binding" may also be the number.
    static ComponentPromotion fromVariantMap(const QVariantMap &map);

    bool operator==(const ComponentPromotion &) const = default;
};

/// A subtree of logical nodes that scenes place as one node, with a small interface.
struct ComponentDefinition
{
    QString id{};
    QString name{};
    QString category{};
    QString description{};
    QList<ComponentPromotion> promotions{}; ///< key "interface"
    QVariantMap structure{}; ///< {instances: list of LogicalInstance maps, root: id of one of them}

    /// Null when the structure names no root.
    QUuid structureRootId() const;
    /// The map of a node; empty when there is none. Walks the list: for many look-ups use
    /// structureNodes().
    QVariantMap structureNode(const QUuid &nodeId) const;
    QHash<QUuid, QVariantMap> structureNodes() const;
    /// Has an id, a root that is not null and at least one node.
    bool isValid() const;
    /// The components that nodes of the structure place, each once, in the order of the nodes.
    QStringList referencedComponentIds() const;
    /// What a promotion that passes through has when the component gets no value for it: the
    /// target's own value, else the default of its definition. Invalid otherwise.
    QVariant promotionDefault(const ComponentPromotion &promotion) const;
    /// The same, for a target node that the caller has looked up.
    static QVariant promotionDefault(const ComponentPromotion &promotion, const QVariantMap &node);

    /// Keys "id", "name", "category", "description" (each unless empty), "interface", "structure".
    QVariantMap toVariantMap() const;
    /// "instances" and "root" may also stand beside the other keys instead of in a "structure", and
    /// "instances" may be a map of id to node.
    static ComponentDefinition fromVariantMap(const QVariantMap &map);

    bool operator==(const ComponentDefinition &) const = default;
};

} // namespace corvane::component
