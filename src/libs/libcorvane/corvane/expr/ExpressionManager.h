#pragma once

#include <corvane/expr/ExprEvaluator.h>
#include <corvane/expr/ExprModel.h>
#include <corvane/expr/ExpressionFailures.h>
#include <corvane/expr/NameRewriter.h>
#include <corvane/model/Instance.h>
#include <corvane/model/Varset.h>

#include <QHash>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUuid>
#include <QVariant>

#include <memory>

namespace corvane::model {
class Corvane;
} // namespace corvane::model

namespace corvane::expr {

/// Keeps the derived numbers of a scene current: variables with an expression, and parameters with
/// one.
///
/// A result goes into the parameter's fallback, from where the parameter accessors give it; a
/// variable's goes into its entry's value. What fails to compile or to evaluate stays on the value
/// it had, and errors() says why. Follows the scene's signals; items that are added or removed
/// count from the next evaluateAll() on. Main thread; a background job takes cloneForWorker().
class ExpressionManager : public QObject
{
    Q_OBJECT

public:
    /// Compiles what the scene has; nothing is evaluated yet.
    explicit ExpressionManager(model::Corvane *scene, QObject *parent = nullptr);
    ~ExpressionManager() override;

    /// Makes all expressions current, and writes the results into the scene: what changed since the
    /// last time is compiled and evaluated, and what reads it. A copy for a worker evaluates all,
    /// over the values that it has.
    void evaluateAll();
    /// Compiles all expressions anew.
    void rebuildGraph();

    /// The values on which expressions stay that give none, by variable or nodeId(). Where there
    /// are any, the scene says more than its variables and expressions do: who takes an edit back
    /// has to bring these back as well.
    QVariantMap keptValues() const;
    /// Brings such values back, and evaluates what reads them. Expressions that give a value, and
    /// those that are gone, are passed over.
    void restoreKeptValues(const QVariantMap &values);
    /// evaluateAll(), if items came or went since.
    void evaluateNewItems();

    /// Of the last rebuild and the last evaluation, each with the variable or parameter that it
    /// concerns.
    QStringList errors() const;
    /// The same, a record each. Of a cycle there is one for its first member and one for each
    /// expression that reads it from outside, with no cycle then.
    QList<ExpressionFailure> failures() const;
    const CompileContext &context() const { return m_model.context; }
    const ExprGraph &graph() const { return m_model.graph; }
    /// The current value of a name as expressions see it, or of a parameter by its nodeId();
    /// invalid for an unknown name.
    QVariant value(const QString &name) const;
    /// Sets a name for the next evaluateAll() of a copy for a worker: the "time" of a frame, say.
    void setValue(const QString &name, const QVariant &value);
    /// Compiles against the names of the scene, for an editor that checks what is typed.
    CompiledExpression compile(const QString &text) const;
    /// The expressions that read a name.
    QList<ExpressionReference> referencesTo(const QString &name) const;

    /// Rewrites a variable's or an item's name in every expression of the scene.
    void propagateRename(const QString &oldName, const QString &newName);
    /// Whether a name is no plain identifier, and so stands in quotes in an expression.
    static bool needsQuoting(const QString &name);

    /// A copy of names, graph and values that follows no scene and may go to another thread.
    std::unique_ptr<ExpressionManager> cloneForWorker() const;

    /// The graph's node of a parameter: the uuid without braces, a dot, the name.
    static QString nodeId(const QUuid &instanceId, const QString &param);

signals:
    void varsetEntryEvaluated(const QString &name, const QVariant &value);
    void evaluationComplete();
    void errorsChanged();

private:
    using ChangedInstances = QMap<QUuid, model::Instance>;

    ExpressionManager();

    void onVarsetChanged();
    void onSceneSettingsChanged();
    void onInstanceUpdated(const QUuid &id);
    void rewriteAll(const QString &oldName, const QString &newName, RenamedKind kind);

    bool hasOtherVariables() const;
    bool takeItems();
    void takeValues();
    void takeVariables();
    void takeVariable(const QString &name, const model::VarsetEntry &entry);
    void takeParameters(const model::Instance &instance);
    void nameValuesReadBy(const ExprGraph::Node &reader);
    void setVariable(const QString &name, const QVariant &value);
    void evaluate(bool onlyDirty);
    bool evaluateOnce(bool onlyDirty);
    void evaluateNode(const QString &node, ChangedInstances &changed);
    void storeVariable(const QString &name, const QVariant &value);
    void storeParameter(const QString &node, const QVariant &value, ChangedInstances &changed);
    void nameParameterValue(const QString &node, const QVariant &value);
    bool writeBack(const ChangedInstances &changed);
    bool restoreOfFailed(const QVariantMap &values);
    void countEmission(const QString &name);

    QPointer<model::Corvane> m_scene;
    ExprModel m_model;
    ExprEvaluator m_evaluator;
    ExpressionFailures m_failures;
    QStringList m_toldErrors; ///< as of the last errorsChanged()
    QHash<QString, int> m_emissions;
    quint64 m_builtRevision = 0; ///< of the scene's items, when the graph was last made to fit them
    bool m_isBuiltAnew = false;  ///< nothing of the graph has been evaluated
    bool m_evaluating = false;
};

} // namespace corvane::expr
