#pragma once

#include <corvane/model/LogicalScene.h>

#include <QHash>
#include <QPointer>

namespace corvane::item {

/// A row that shows a node of a component's structure below an instance of the component.
struct SyntheticNodeRef
{
    QUuid instanceId{}; ///< the component instance: a node of the scene, or such a row itself
    QUuid ownerId{};    ///< the node of the scene that all of it belongs to
    QUuid parentId{};   ///< the row above
    QString componentId{};
    QUuid nodeId{}; ///< in the definition
    int depth = 0;  ///< of components in components
};

/// The insides of component instances, as rows. Their ids are those that the compiler gives to the
/// same nodes.
///
/// Rows are made when they are asked for: a component that contains others twice, and these others
/// again, has more of them than anybody looks at. As in the compiler, a structure is read as a
/// tree, and components nest and rows count up to a limit.
class StructureRows
{
public:
    /// Not owned. Forgets all rows.
    void setScene(model::LogicalScene *scene);
    /// For when a definition or the tree has changed.
    void forget();

    /// What stands below a component instance of the scene or below a row. A structure has one row
    /// at the top, its root.
    QList<QUuid> childrenOf(const QUuid &id);
    bool contains(const QUuid &id) const { return m_refs.contains(id); }
    SyntheticNodeRef ref(const QUuid &id) const { return m_refs.value(id); }
    /// The node of the definition, under the row's id; none for an unknown row. Its children are
    /// those of the definition.
    std::optional<model::LogicalInstance> node(const QUuid &id);

private:
    struct Structure
    {
        QUuid root{};
        QMap<QUuid, model::LogicalInstance> nodes{};
    };

    const Structure &structureOf(const QString &componentId);
    QList<QUuid> rootRow(const QString &componentId, const SyntheticNodeRef &below,
                         const QUuid &instanceId);
    QUuid addRow(const SyntheticNodeRef &ref);

    QPointer<model::LogicalScene> m_scene;
    QHash<QString, Structure> m_structures;
    QHash<QUuid, SyntheticNodeRef> m_refs;
};

} // namespace corvane::item
