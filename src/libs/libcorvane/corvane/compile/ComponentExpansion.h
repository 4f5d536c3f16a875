#pragma once

#include <corvane/compile/PromotionExpressions.h>
#include <corvane/component/ComponentRegistry.h>
#include <corvane/model/LogicalInstance.h>
#include <corvane/model/WarningList.h>

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QStringList>
#include <QUuid>

namespace corvane::model {

class Corvane;

/// The nodes that stand for component instances.
struct ComponentExpansion
{
    QHash<QUuid, LogicalInstance> nodes{}; ///< "synthetic": no node of the scene
    QHash<QUuid, QUuid> parents{};         ///< of a synthetic node; a structure's root stands below
                                           ///< its component instance
    QHash<QUuid, QUuid> structureRoots{};  ///< of a component instance
    QHash<QUuid, QUuid> owners{};          ///< of a synthetic node: the instance in the scene
    QList<QUuid> expanded{};               ///< component instances, outer ones before inner ones
    QList<QUuid> order{};                  ///< of the nodes, as they were made
};

/// Expands component instances, those in components too.
///
/// The id of a synthetic node is made of the instance's and its own in the definition: two
/// instances have different nodes, and one has the same nodes at every compile. A structure is read
/// as a tree, whatever its nodes refer to; of its nodes those count that its root leads to.
///
/// What a definition promotes takes the instance's value, else its default. An expression as the
/// instance's value is passed on to the target, where it is evaluated as any other.
class ComponentExpander
{
public:
    /// A component that contains itself goes no deeper than this.
    static constexpr int maxDepth = 32;
    /// An instance that would bring the scene above this is left out: a component that places
    /// another twice, and so on, doubles at each level.
    static constexpr qsizetype maxNodes = 65536;

    ComponentExpander(const component::ComponentRegistry &components, const Corvane &document);
    ~ComponentExpander();

    /// A component instance of the scene.
    void expand(const LogicalInstance &instance);

    const ComponentExpansion &expansion() const { return m_expansion; }
    /// What was left out, and expressions that failed.
    QStringList warnings() const { return m_warnings.lines(); }

private:
    struct Structure;
    using StructurePtr = QSharedPointer<const Structure>;

    StructurePtr structureOf(const QString &componentId);
    StructurePtr readStructure(const component::ComponentDefinition &definition);
    /// How many nodes an instance becomes; never more than one above the limit.
    qsizetype sizeOf(const QString &componentId, int depth);
    void expandInstance(const LogicalInstance &instance, int depth);
    QHash<QUuid, QUuid> addNodes(const Structure &structure, const QUuid &instanceId);
    void applyPromotions(const Structure &structure, const LogicalInstance &instance,
                         const QHash<QUuid, QUuid> &ids);
    void applyExpressions(const component::ComponentDefinition &definition,
                          const QVariantMap &values, const QHash<QUuid, QUuid> &ids);
    LogicalInstance *target(const component::ComponentPromotion &promotion,
                            const QHash<QUuid, QUuid> &ids);

    const component::ComponentRegistry &m_components;
    ComponentExpansion m_expansion;
    PromotionExpressions m_expressions;
    QHash<QString, StructurePtr> m_structures;
    QHash<std::pair<QString, int>, qsizetype> m_sizes;
    WarningList m_warnings;
};

} // namespace corvane::model
