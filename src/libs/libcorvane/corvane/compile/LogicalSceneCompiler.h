#pragma once

#include <corvane/compile/ComponentExpansion.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>

#include <QHash>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QUuid>

#include <functional>
#include <memory>

namespace corvane::model {

class CompiledItems;
class LogicalExpressions;
struct CompileMemory;

/// The items that one logical node became: a core, and one per wrapper around it.
struct CompiledInstanceMapping
{
    QUuid logicalId{};
    QUuid coreId{}; ///< of a component instance: the core of its structure's root
    QMap<QString, QUuid> wrapperIds{}; ///< the wrapper's definition id to its item
    QUuid outerId{};                   ///< the first wrapper's item, else the core

    bool operator==(const CompiledInstanceMapping &) const = default;
};

/// Turns the user's tree into the expression that shaders and field evaluators read, and keeps it
/// so.
///
/// The source is a LogicalScene, the target a document: its items tagged "compiled", their
/// "children" parameters, and its roots are the compiled scene; items of other sorts, and roots
/// that were made without a tree, are left alone. The chain of a node is wrapper over wrapper over
/// core, so that a point goes through the first wrapper first. Groups have no field: their children
/// stand in their place. A component instance stands for the nodes of its structure.
///
/// From the moment that source and target are set, the target follows: a change of the tree
/// compiles all anew, with one sceneChanged(); a change of parameters, of a transform or of a
/// wrapper touches the items of that node alone, and is told by instanceUpdated(). In a batch of
/// the tree's there is one compile, at its end.
///
/// The ids of compiled items depend on the logical node and the wrapper alone. A selection, a cache
/// and a fingerprint of the document thus outlive a compile, and a file compiles to the same
/// document on every run.
///
/// Compiling never fails as a whole: what can't be compiled is logged and leaves a gap. Main
/// thread, through direct signals.
class LogicalSceneCompiler : public QObject
{
    Q_OBJECT

public:
    explicit LogicalSceneCompiler(QObject *parent = nullptr);
    ~LogicalSceneCompiler() override;

    LogicalScene *source() const { return m_source; }
    Corvane *target() const { return m_target; }
    /// Neither is owned. Setting does not compile.
    void setSource(LogicalScene *source);
    /// What was compiled into an earlier target stays there.
    void setTarget(Corvane *target);

    /// Leaves what components could not be expanded as they say to warnings(), and logs nothing.
    void keepWarnings() { m_keepsWarnings = true; }

    /// Compiles all. Nothing happens without source or target.
    void fullCompile();

    /// The node that is compiled alone, with what is below it; null for all. Counts from the next
    /// fullCompile().
    QUuid soloRootId() const { return m_soloRootId; }
    void setSoloRootId(const QUuid &id) { m_soloRootId = id; }

    // What the last compile gave

    const QMap<QUuid, CompiledInstanceMapping> &mappings() const { return m_mappings; }
    /// Every compiled item to the node that the user sees: of a part of a component, the component
    /// instance.
    const QMap<QUuid, QUuid> &compiledToSource() const { return m_compiledToSource; }
    const QHash<QUuid, LogicalInstance> &syntheticNodes() const { return m_expansion.nodes; }
    const QHash<QUuid, QUuid> &syntheticParents() const { return m_expansion.parents; }
    const QHash<QUuid, QUuid> &syntheticOwners() const { return m_expansion.owners; }
    const QHash<QUuid, QUuid> &componentStructureRoots() const
    {
        return m_expansion.structureRoots;
    }
    QList<QUuid> expandedComponentInstances() const { return m_expansion.expanded; }
    QStringList warnings() const { return m_warnings; }

    /// A node of the source, else one of an expanded component; none when there is neither. Valid
    /// until one of them changes.
    const LogicalInstance *nodeFor(const QUuid &id) const;
    bool nodeIsContainer(const QUuid &id) const;
    /// Each group is replaced in place by what stands below it, groups in it likewise.
    QList<QUuid> flattenContainers(const QList<QUuid> &ids) const;
    /// Whether the node or one above it, out of its component too, is hidden.
    bool hiddenInChain(const QUuid &id) const;
    bool inSoloScope(const QUuid &id) const;

    /// "__c_", the first 8 digits of the node's id, and "core" or the wrapper's definition id. A
    /// node that shares these digits with another has its whole id in its items' names.
    static QString instanceName(const QUuid &id, const QString &suffix);

    /// Asked at each compile whether to log its result; the setting "Corvane/Debug/TraceCompile".
    static void setTraceSource(const std::function<bool()> &source);

signals:
    /// A full compile is in the target, and its sceneChanged() is about to come: the time to fill
    /// in what expressions give.
    void compiled();

private:
    /// At once, or at the end of the batch that is open.
    void compileSoon();
    void onBatchEnded();
    void forgetResults();
    void expandComponents();
    void compileNodes(CompiledItems &items);
    void mapComponentInstances(CompiledItems &items);
    void mapReferences();
    void linkChildren(CompiledItems &items);
    void linkRoots(const QList<QUuid> &before);
    void enter(const CompiledInstanceMapping &mapping);
    void indexSources();
    QList<QUuid> outerIdsOf(const QList<QUuid> &nodes) const;
    QUuid parentOf(const QUuid &id) const;
    void trace() const;

    void onVarsetChanged();
    void onVariableRenamed(const QString &oldName, const QString &newName);
    void onItemRenamed(const QUuid &id, const QString &oldName, const QString &newName);
    void followRename(LogicalExpressions &expressions, const std::function<void()> &rename);
    void onInstanceParameterChanged(const QUuid &id);
    void onInstanceTransformChanged(const QUuid &id);
    void onInstanceNameChanged(const QUuid &id, const QString &name);
    void onInstanceTagsChanged(const QUuid &id);
    void onWrapperParameterChanged(const QUuid &id, const QString &wrapperId);
    void onLogicalSelectionChanged();
    void onMaterialUpdated(const QUuid &id);
    void updateCore(const LogicalInstance &node, const QUuid &coreId);
    void change(const QUuid &itemId, const std::function<void(Instance &)> &edit);

    QPointer<LogicalScene> m_source;
    QPointer<Corvane> m_target;
    QMap<QUuid, CompiledInstanceMapping> m_mappings;
    QMap<QUuid, QUuid> m_compiledToSource;
    QUuid m_soloRootId;
    ComponentExpansion m_expansion;
    QStringList m_warnings;
    bool m_keepsWarnings = false;
    /// While a compile runs: what is looked up many times, in constant time.
    struct Lookups
    {
        QHash<QUuid, const LogicalInstance *> nodes{};
        QHash<QUuid, QUuid> outerIds{};       ///< of a node
        QHash<QUuid, QUuid> sources{};        ///< of a compiled item
        QHash<QUuid, QUuid> displayParents{}; ///< of a node; empty where none stands in a group
        QList<QUuid> references{};
    };
    Lookups m_lookups;
    std::unique_ptr<CompileMemory> m_memory; ///< of what is in the target
    bool m_compileIsDue = false;
    bool m_isRenaming = false; ///< the changes that come in are of our own making
};

} // namespace corvane::model
