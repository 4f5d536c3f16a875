#pragma once

#include <corvane/model/Material.h>
#include <corvane/model/NodeModifiers.h>

#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>
#include <QVariantMap>
#include <QVector3D>

namespace corvane::model {

/// One entry of a node's wrapper stack: a transform or modifier around the node, and its own
/// values.
struct WrapperValues
{
    QString definitionId{};
    QVariantMap values{}; ///< only what was set; the rest are the definition's defaults

    bool operator==(const WrapperValues &) const = default;
};

/// A node of the user's tree.
///
/// A node names a definition, or a component, or neither: then it is a group, which has no field of
/// its own. A record without owner; where it stands is known to the LogicalScene alone, except for
/// the order of its children.
///
/// Two sorts of nodes come of documents that were written without a tree. A node with an item of
/// its own is that item: its core keeps the item's id and name and what else only items have. And
/// where an item is listed a second time, a reference holds the place: it has neither an item nor
/// children, and compiles to those of its original.
struct LogicalInstance
{
    QUuid id;
    QString definitionId{};
    QString componentDefId{}; ///< when set, this places a component and `definitionId` is empty
    QString name{};
    QVariantMap params{};            ///< plain values, ParameterValue, or {expr: text, fallback: v}
    QList<WrapperValues> wrappers{}; ///< outermost first
    QList<QUuid> children{};         ///< in order: the first is the base of an operator
    Material material{};
    QUuid materialId{};
    QSet<QString> tags{}; ///< InstanceTags
    NodeModifiers modifiers{};
    QVector3D translate{}; ///< connected to the wrapper "translate", which alone applies it
    QVector3D rotate{};    ///< degrees; connected to "rotate"
    QVector3D scale{1.0f, 1.0f, 1.0f}; ///< connected to "scale", which takes x
    /// By the keys of SceneItem's map, what the item has that no field above says; "itemType" is
    /// always among it. Empty for a node whose core the compiler makes. Not part of files.
    QVariantMap ownItem{};
    QUuid original{}; ///< of a reference: the node that stands in this place once more

    /// A node with a new random id.
    LogicalInstance()
        : LogicalInstance(QUuid::createUuid())
    {}
    explicit LogicalInstance(const QUuid &instanceId)
        : id(instanceId)
    {}

    /// A group: neither a definition nor a component.
    bool isContainer() const
    {
        return definitionId.isEmpty() && componentDefId.isEmpty() && !hasOwnItem() &&
               !isReference();
    }
    bool isComponentInstance() const { return !componentDefId.isEmpty(); }
    bool hasOwnItem() const { return !ownItem.isEmpty(); }
    bool isReference() const { return !original.isNull(); }
    /// The group or domain of the document that the node's own item stands in; null for none.
    QUuid displayParent() const;
    bool hasTag(const QString &tag) const { return tags.contains(tag); }

    /// None when the stack has no wrapper of that definition.
    const WrapperValues *wrapper(const QString &wrapperId) const;
    WrapperValues *wrapper(const QString &wrapperId);
    void setMaterialId(const QUuid &newMaterialId) { materialId = newMaterialId; }
    /// Makes the transform what the values of its wrapper say: "offset" of "translate", "angles" of
    /// "rotate", "factor" of "scale". False, and nothing done, where they say nothing of the sort.
    bool takeTransformOf(const QString &wrapperId);

    /// Keys "id", "type", "component", "name", "params", "wrappers" (definition id to values),
    /// "children" (ids), "tags", "material", "materialId", "blendSharpness", "materialMode",
    /// "densityScale", "shellThickness", "translate", "rotate", "scale", "ownItem", "original";
    /// what is at its default is left out.
    ///
    /// Two additions make fromVariantMap() give exactly this node again. "wrapperOrder" lists the
    /// stack where the map of wrappers does not say it: in an order of its own, or empty although
    /// the definition offers wrappers. And a transform at its default is written where the values
    /// of a wrapper would otherwise be taken for it.
    ///
    /// The map holds plain values only, so that it can go to YAML or JSON.
    QVariantMap toVariantMap() const;

    /// Reads such a map. A missing or unreadable "id" leaves it null. A transform that the map does
    /// not give is taken from the wrapper of its name: "offset" of "translate", "angles" of
    /// "rotate", "factor" of "scale", each a list of at least three numbers or a vector; a single
    /// number as "factor" counts for all axes. Wrappers that an old file gives as a list of
    /// {definitionId, values} are read too. Values that are no finite numbers leave the default.
    static LogicalInstance fromVariantMap(const QVariantMap &map);

    bool operator==(const LogicalInstance &) const = default;
};

/// The wrappers that a node has from the start, outermost first: the `convenience_wrappers` of its
/// definition; "translate", "rotate", "scale" for a component; none for a group or for a definition
/// that the registry lacks.
QStringList initialWrappers(const QString &definitionId, const QString &componentDefId);

/// The order in which a map of wrappers is read: those of `initial` in its order, the rest by id.
QStringList wrapperMapOrder(QStringList wrapperIds, const QStringList &initial);

} // namespace corvane::model
