#pragma once

#include <corvane/component/ComponentRegistry.h>
#include <corvane/model/LogicalInstance.h>
#include <corvane/model/NameCounter.h>

#include <QMap>
#include <QObject>

#include <functional>

namespace corvane::model {

class LogicalTree;
struct SceneItem;

/// What the user edits: a tree of nodes, and the components of the file.
///
/// The tree is sound at any time: every child exists, a node has one parent at most, and no node
/// stands below itself. A node that is neither a root nor a child is detached: it is kept and
/// saved, and draws nothing.
///
/// Every change is told by a signal after it happened. structureChanged() means that the compiled
/// field is another one; the signals of parameters, transforms and wrappers name the one node that
/// changed. Main thread.
class LogicalScene : public QObject
{
    Q_OBJECT

public:
    explicit LogicalScene(QObject *parent = nullptr);
    ~LogicalScene() override;

    /// While one is alive, structureChanged() waits; it comes once when the last one goes, if there
    /// was a reason. Then comes batchEnded(), for those who put off work of their own.
    class Batch
    {
    public:
        explicit Batch(LogicalScene &scene);
        ~Batch();
        Batch(const Batch &) = delete;
        Batch &operator=(const Batch &) = delete;

    private:
        LogicalScene &m_scene;
    };

    // The tree

    const QMap<QUuid, LogicalInstance> &instances() const { return m_instances; }
    const QList<QUuid> &roots() const { return m_roots; }
    bool contains(const QUuid &id) const { return m_instances.contains(id); }
    bool isInBatch() const { return m_batches > 0; }
    /// None for an unknown id. Valid until nodes are added or removed.
    const LogicalInstance *instance(const QUuid &id) const;
    /// For changes that nobody needs to hear of. Not for `id`, `name`, `children`, `original` and
    /// the definition ids, which the scene keeps books on.
    LogicalInstance *instance(const QUuid &id);
    /// Empty for an unknown id.
    QList<QUuid> children(const QUuid &id) const;
    /// Null for a root, a detached node and an unknown id.
    QUuid parentOf(const QUuid &id) const { return m_parents.value(id); }
    /// The place among the children of the parent or the roots; -1 for a detached node.
    qsizetype indexOf(const QUuid &id) const;
    bool isRoot(const QUuid &id) const { return parentOf(id).isNull() && m_roots.contains(id); }
    /// Whether the node is `ancestor` or stands below it.
    bool isWithin(const QUuid &id, const QUuid &ancestor) const;
    /// The same, where a reference counts as what it refers to.
    bool isReachable(const QUuid &id, const QUuid &from) const;
    /// The references of the tree, each with what it refers to.
    const QMap<QUuid, QUuid> &references() const { return m_references; }
    /// The node and all below it, parents before their children, children in order. Empty for an
    /// unknown id.
    QList<QUuid> subtree(const QUuid &id) const;
    /// All nodes in the order in which a user reads the tree, the detached ones last.
    QList<QUuid> nodesInOrder() const;
    bool isContainer(const QUuid &id) const;
    bool isComponentInstance(const QUuid &id) const;
    QString componentDefIdOf(const QUuid &id) const; ///< empty when the node places none
    bool isIsolated(const QUuid &id) const;          ///< the tag "isolated"

    component::ComponentRegistry *componentRegistry() const { return m_componentRegistry; }

    /// `base` and the lowest number from 1 on that makes a name no node has: "Box 1".
    QString generateUniqueName(const QString &base) const;
    bool hasName(const QString &name) const { return m_names.contains(name); }

    // Changes of the tree

    /// Adds a node of a definition, or of a component when the scene has one of that id, behind the
    /// parent's other children, or behind the roots when the parent is null or unknown. It gets a
    /// unique name, the default material and the wrappers of its definition. Returns its id; null,
    /// and logged, when the parent is a component instance.
    QUuid addInstance(const QString &definitionId, const QUuid &parentId = {});
    /// The same for a component; null for an unknown one. An index out of range is the end.
    QUuid addComponentInstance(const QString &componentId, const QUuid &parentId = {},
                               qsizetype index = -1);
    /// Adds a group: a node without definition.
    QUuid addContainer(const QString &baseName, const QUuid &parentId = {}, qsizetype index = -1);
    /// Removes the node and all below it: instanceRemoved() for each, children before their
    /// parents, then one structureChanged().
    void removeInstance(const QUuid &id);
    /// Puts a node back that LogicalInstance::toVariantMap() described, under its own id. Of its
    /// children those are taken that exist and are detached; a caller restores parents first and
    /// each child at its index. Null, and nothing done, for a map without id or one whose id is
    /// taken, and for a place inside a component instance.
    QUuid restoreInstance(const QVariantMap &map, const QUuid &parentId = {}, qsizetype index = -1);
    /// The same for a node that was detached: it is neither a root nor a child again.
    QUuid restoreDetached(const QVariantMap &map);
    /// Moves a node, at `index` of the list as it is before the move when the parent stays the
    /// same; negative is the end. A null parent is the top. False, and logged, for an unknown id or
    /// parent, a component instance as parent, or a place below the node itself.
    bool moveInstance(const QUuid &id, const QUuid &newParent, qsizetype index = -1);
    /// Takes a node with all below it from its place, and keeps it. False for an unknown id.
    bool detachInstance(const QUuid &id);
    /// Whether moveInstance() would do it; false with the reason.
    bool canMove(const QUuid &id, const QUuid &newParent, QString *reason = nullptr) const;
    void clear();

    // Changes of a node; an unknown id is ignored

    void setInstanceName(const QUuid &id, const QString &name);
    void setInstanceDefinition(const QUuid &id, const QString &definitionId);
    void setInstanceParameter(const QUuid &id, const QString &key, const QVariant &value);
    void removeInstanceParameter(const QUuid &id, const QString &key);
    /// Replaces all parameters.
    void setInstanceParameters(const QUuid &id, const QVariantMap &params);
    /// Adds the wrapper at the end of the stack, next to the node, when it has none of that id.
    void setWrapperParameter(const QUuid &id, const QString &wrapperId, const QString &key,
                             const QVariant &value);
    /// Replaces the stack.
    void setWrappers(const QUuid &id, const QList<WrapperValues> &wrappers);
    void setInstanceTransform(const QUuid &id, const QVector3D &translate, const QVector3D &rotate,
                              const QVector3D &scale);
    void setInstanceMaterial(const QUuid &id, const Material &material, const QUuid &materialId);
    /// visibilityChanged() for "hidden", selectionChanged() for "selected", instanceTagsChanged()
    /// for any.
    void setInstanceTags(const QUuid &id, const QSet<QString> &tags);
    void setInstanceTag(const QUuid &id, const QString &tag, bool on);
    /// Gives the node of that id all fields of `instance` but its children, with the signals of
    /// what differs. False for an unknown id.
    bool replaceInstance(const LogicalInstance &instance);

    // Selection: the "selected" tag

    QList<QUuid> selectedInstances() const;
    void setSelectedInstance(const QUuid &id);
    void addToSelection(const QUuid &id);
    void removeFromSelection(const QUuid &id);
    void clearSelection();

    // The whole scene

    /// {instances: list of LogicalInstance maps, roots: list of ids, components: map of id to
    /// ComponentDefinition map}
    QVariantMap toVariantMap() const;
    /// Replaces everything by such a map. A node with no wrappers gets those of its definition,
    /// with empty values, unless its map has an empty "wrapperOrder".
    ///
    /// What would not make a tree is left out, with a line each in `warnings`: nodes without id or
    /// with the id of an earlier one, children and roots that do not exist, all places of a node
    /// but the first, and what closes a cycle. At most a hundred lines, and one that counts the
    /// rest. Without the key "roots" all nodes that are no children are roots.
    void fromVariantMap(const QVariantMap &map, QStringList *warnings = nullptr);
    /// Replaces all nodes by these, which make a tree; those that are in no place are detached.
    void setNodes(const QList<LogicalInstance> &nodes, const QList<QUuid> &roots);

    /// The material that new nodes get, in place of the default one of the MaterialLibrary.
    static void setDefaultMaterialSource(const std::function<QUuid()> &source);

signals:
    void instanceAdded(const QUuid &id);
    void instanceRemoved(const QUuid &id);
    void instanceMoved(const QUuid &id);
    void instanceParameterChanged(const QUuid &id);
    void instanceTransformChanged(const QUuid &id);
    void instanceNameChanged(const QUuid &id, const QString &name);
    void instanceTagsChanged(const QUuid &id);
    void wrapperParameterChanged(const QUuid &id, const QString &wrapperId);
    void visibilityChanged(const QUuid &id);
    void structureChanged();
    void selectionChanged();
    void batchEnded();

private:
    QList<QUuid> &siblingsUnder(const QUuid &parentId);
    void insertUnder(const QUuid &id, const QUuid &parentId, qsizetype index);
    void takeFromSiblings(const QUuid &id);
    QUuid addNode(LogicalInstance node, const QUuid &parentId, qsizetype index);
    bool enterRestored(LogicalInstance &node);
    void forget(const QUuid &id);
    void structureTouched();
    void takeTree(const LogicalTree &tree);
    void noteOriginal(const LogicalInstance &node);
    bool setSelectedTag(const QUuid &id, bool on);
    bool clearSelectedTags();
    void restoreComponents(const QVariantMap &components);

    QMap<QUuid, LogicalInstance> m_instances;
    QList<QUuid> m_roots;
    QMap<QUuid, QUuid> m_parents;    ///< child to parent; roots have no entry
    QMap<QUuid, QUuid> m_references; ///< to their originals
    NameCounter m_names;
    component::ComponentRegistry *m_componentRegistry;
    int m_batches = 0;
    bool m_structureIsTouched = false;
};

/// Whether the item is one that a node of the tree has as its own, or was compiled to.
bool standsForNode(const SceneItem &item, const LogicalScene *tree);

/// The nodes of a component's structure, in its order. Children that are no nodes of it are left
/// out.
QList<LogicalInstance> structureNodesOf(const component::ComponentDefinition &definition);

} // namespace corvane::model
