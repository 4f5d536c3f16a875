#pragma once

#include <corvane/ops/BatchMarker.h>
#include <corvane/ops/CorvaneOp.h>
#include <corvane/ops/OpChange.h>

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSharedPointer>
#include <QUuid>

#include <memory>

class QUndoStack;

namespace corvane::component {
class ComponentLibrary;
}
namespace corvane::expr {
class ExpressionManager;
}
namespace corvane::model {
class Corvane;
class LogicalScene;
class MaterialLibrary;
} // namespace corvane::model

namespace corvane::ops {

struct OpContext;
struct OpEntry;

/// The one door through which a scene is edited, with undo.
///
/// An op is applied at once: to the tree when that has a node of the op's id, otherwise to the
/// document. What it changed goes to the undo stack as two snapshots, and undoing is exact: the
/// scene is then what it was before, ids, names and places included. An op that is refused logs why
/// and changes nothing: neither the scene, nor the selection, nor the undo stack.
///
/// Main thread.
class CorvaneOpExecutor : public QObject
{
    Q_OBJECT

public:
    explicit CorvaneOpExecutor(const QSharedPointer<model::Corvane> &scene = {},
                               QObject *parent = nullptr);
    ~CorvaneOpExecutor() override;

    QSharedPointer<model::Corvane> scene() const { return m_scene; }
    /// Forgets all undo steps, batches and edit sessions, as they belong to another scene.
    void setScene(const QSharedPointer<model::Corvane> &scene);
    model::LogicalScene *logicalScene() const;
    /// The tree; null for a scene that has none, where only the document can be edited. Forgets the
    /// same as setScene(). Not owned.
    void setLogicalScene(model::LogicalScene *logicalScene);
    /// Where "component.publish" puts components; the process-wide library unless set.
    void setComponentLibrary(component::ComponentLibrary *library);
    /// What the ops of materials work on; the process-wide library unless set.
    void setMaterialLibrary(model::MaterialLibrary *library);
    /// Who evaluates the scene's expressions, if anyone does. Not owned. What an expression without
    /// a result stays on is then part of what undo brings back.
    void setExpressionManager(expr::ExpressionManager *expressions);
    QUndoStack *undoStack() const { return m_undoStack; }
    /// Forgets all undo steps, batches and edit sessions; the scene stays.
    void clearHistory();

    /// Does it; false, and logged, when the kind is unknown, an argument is missing or can't be
    /// read, or the scene refuses. An op that finds everything as it would have it is done and
    /// leaves no undo step.
    bool apply(const CorvaneOp &op);
    /// What the last op that was applied added: a node, an item, a material, the component instance
    /// of a nested branch, the root of an unnested one. Null when it added none.
    QUuid lastCreatedId() const { return m_lastCreatedId; }

    // Drags: many ops, one undo step

    /// From here on ops are applied, and nothing goes to the undo stack until endCoalescing(). The
    /// step that it pushes has this text, and goes back to the state before the first op.
    void beginCoalescing(const QString &label);
    /// Pushes the step; none when all is as it was. A drag of several items is one step, too.
    void endCoalescing();
    /// Takes the drag back, and pushes nothing.
    void cancelCoalescing();
    bool isCoalescing() const { return m_isCoalescing; }

    // Batches: many ops made as one, told from outside by their id

    /// Until the matching endBatch() all ops become one undo step of that text. Batches nest; the
    /// outermost one counts. Returns the id.
    QString beginBatch(const QString &label);
    /// False when no batch is open.
    bool endBatch();
    /// Those that are on the undo stack, done or undone, in the order in which they were made.
    QList<BatchMarker> batches() const { return m_batches; }
    /// With the stack above the start of the batch, takes back as many steps as the batch has, or
    /// as many of it as are still done. False when there is no such batch, or it is undone.
    bool undoBatch(const QString &batchId);

    // For CorvaneUndoCommand

    void undoItemAdd(const QVariantMap &after);
    void redoItemAdd(const QVariantMap &after);
    void undoItemRemove(const QVariantMap &before);
    void redoItemRemove(const QVariantMap &before);
    void restoreModifyState(const OpEntry &entry, const QUuid &itemId, const QVariantMap &state);
    /// To be called before one of these. The tree's structureChanged() then waits until the stack
    /// has done all that it is about to do: a macro of many steps is compiled once.
    void beginRestoring();
    /// The values on which failing expressions stay after this step; the last ones count.
    void restoreKeptValues(const QVariantMap &values);

signals:
    /// After an op was applied, a drag's too.
    void applied(const QString &kind, const QUuid &itemId);

private:
    struct Restoring;
    struct Pending
    {
        const OpEntry *entry = nullptr;
        QVariantMap args;
        OpChange change;
    };

    template<class Function>
    void withContext(const Function &function);
    void pushOrCoalesce(const OpEntry &entry, const QVariantMap &args, const OpChange &change,
                        const QString &text);
    void push(const OpEntry &entry, const QVariantMap &args, const OpChange &change,
              const QString &text);
    void coalesce(const OpEntry &entry, const QVariantMap &args, const OpChange &change);
    void beginPush();
    /// Of the expressions as they are once all is evaluated.
    QVariantMap keptValues();
    void finishRestoring();
    QList<Pending> takePending();

    QSharedPointer<model::Corvane> m_scene;
    QUndoStack *m_undoStack;
    QPointer<model::LogicalScene> m_logicalScene;
    QPointer<component::ComponentLibrary> m_componentLibrary;
    QPointer<model::MaterialLibrary> m_materialLibrary;
    QPointer<expr::ExpressionManager> m_expressions;
    QVariantMap m_editSessions; ///< components being edited, by the id of the branch's root
    QUuid m_lastCreatedId;
    std::unique_ptr<Restoring> m_restoring; ///< while the undo stack is at work

    bool m_isCoalescing = false;
    QString m_coalesceLabel;
    QList<Pending> m_pending;
    QHash<QString, qsizetype> m_pendingScopes; ///< to the last one of that scope
    bool m_pendingIsDisjoint = true;

    int m_batchDepth = 0;
    bool m_batchHasMacro = false;
    BatchMarker m_openBatch;
    QList<BatchMarker> m_batches;
};

} // namespace corvane::ops
