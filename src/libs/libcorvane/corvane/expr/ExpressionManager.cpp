#include <corvane/expr/ExpressionManager.h>

#include <corvane/expr/BuiltinVariables.h>
#include <corvane/expr/ExprCompiler.h>
#include <corvane/expr/NameScanner.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/PlainValue.h>

#include <QLoggingCategory>
#include <QScopedValueRollback>
#include <QVector2D>
#include <QVector4D>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::expr {

Q_LOGGING_CATEGORY(lcExpr, "ondrel.expr", QtWarningMsg)

namespace {

constexpr int emissionsPerLogLine = 60;

/// How often expressions are compiled anew because values came out with other types than had been
/// supposed. A chain of parameters settles link by link; one that has no values yet is that long
/// only if somebody means to keep us busy.
constexpr int maxCompilations = 8;

bool isFinite(const QVariant &value)
{
    const QVariant plain = model::plainForFile(value);
    if (plain.typeId() == QMetaType::QVariantList) {
        const QVariantList list = plain.toList();
        return std::all_of(list.cbegin(), list.cend(), isFinite);
    }
    return plain.typeId() != QMetaType::Double || std::isfinite(plain.toDouble());
}

/// The fields of an item that parameters of the same name drive.
void driveTransform(model::Instance &instance, const QString &param, const QVariant &value)
{
    const auto field = drivenField(param);
    if (field && value.typeId() == QMetaType::QVector3D)
        instance.*field = value.value<QVector3D>();
}

} // namespace

ExpressionManager::ExpressionManager() = default;

ExpressionManager::ExpressionManager(model::Corvane *scene, QObject *parent)
    : QObject(parent)
    , m_scene(scene)
{
    using model::Corvane;
    connect(scene, &Corvane::varsetChanged, this, &ExpressionManager::onVarsetChanged);
    connect(scene, &Corvane::instanceUpdated, this, &ExpressionManager::onInstanceUpdated);
    connect(scene, &Corvane::sceneSettingsChanged, this,
            &ExpressionManager::onSceneSettingsChanged);
    connect(scene, &Corvane::instanceRenamed, this,
            [this](const QUuid &, const QString &oldName, const QString &newName) {
                rewriteAll(oldName, newName, RenamedKind::Instance);
            });
    connect(scene, &Corvane::variableRenamed, this,
            [this](const QString &oldName, const QString &newName) {
                rewriteAll(oldName, newName, RenamedKind::Variable);
            });
    rebuildGraph();
}

ExpressionManager::~ExpressionManager() = default;

void ExpressionManager::rebuildGraph()
{
    if (!m_scene)
        return;
    m_model = ExprModelBuilder(*m_scene).build();
    m_builtRevision = m_scene->itemsRevision();
    m_isBuiltAnew = true;
}

void ExpressionManager::evaluateAll()
{
    if (m_evaluating)
        return;
    if (m_scene && (hasOtherVariables() || !takeItems()))
        rebuildGraph();
    if (m_scene && !m_isBuiltAnew)
        takeVariables();
    evaluate(m_scene && !m_isBuiltAnew);
}

/// Whether variables came or went since the expressions were compiled.
bool ExpressionManager::hasOtherVariables() const
{
    const QStringList varsets = m_scene->namedVarsets().keys();
    return m_model.context.varsetNames != QSet<QString>(varsets.cbegin(), varsets.cend()) ||
           m_model.variables != variableShapes(*m_scene);
}

/// False when items came or went so that expressions have to be compiled anew.
bool ExpressionManager::takeItems()
{
    if (m_builtRevision == m_scene->itemsRevision())
        return true;
    m_builtRevision = m_scene->itemsRevision();
    QList<QUuid> changed;
    if (ExprModelBuilder(*m_scene).updateItems(m_model, changed) == ExprModelBuilder::Change::Names)
        return false;
    for (const QUuid &id : std::as_const(changed))
        takeParameters(m_scene->instance(id));
    m_failures.removeErrorsBeside(m_model);
    return true;
}

QStringList ExpressionManager::errors() const
{
    return m_failures.texts(m_model, m_scene);
}

QList<ExpressionFailure> ExpressionManager::failures() const
{
    return m_failures.records(m_model, m_scene);
}

void ExpressionManager::evaluateNewItems()
{
    if (m_scene && m_builtRevision != m_scene->itemsRevision())
        evaluateAll();
}

QVariantMap ExpressionManager::keptValues() const
{
    QVariantMap kept;
    const QStringList failed = m_scene ? m_failures.nodes(m_model) : QStringList();
    for (const QString &node : failed)
        kept.insert(node, storedValue(*m_scene, node));
    return kept;
}

void ExpressionManager::restoreKeptValues(const QVariantMap &values)
{
    // A variable that has no value again lets those fail that read it, and each of these has a
    // value to be brought back as well.
    for (qsizetype round = 0; round < values.size() && restoreOfFailed(values); ++round) {
        rebuildGraph();
        evaluateAll();
    }
}

/// Whether any value was another one.
bool ExpressionManager::restoreOfFailed(const QVariantMap &values)
{
    ChangedInstances changed;
    bool isAnyRestored = false;
    const QStringList failed = m_scene ? m_failures.nodes(m_model) : QStringList();
    for (const QString &node : failed) {
        const auto kept = values.constFind(node);
        if (kept == values.cend() || storedValue(*m_scene, node) == *kept)
            continue;
        isAnyRestored = true;
        if (m_scene->hasVariable(node))
            m_scene->storeEvaluatedVariable(node, *kept);
        else
            storeParameter(node, *kept, changed);
    }
    const QScopedValueRollback guard(m_evaluating, true);
    writeBack(changed);
    return isAnyRestored;
}

QVariant ExpressionManager::value(const QString &name) const
{
    const QVariant named = m_evaluator.values().value(name);
    if (named.isValid())
        return named;
    if (const ExprGraph::Node *node = m_model.graph.node(name))
        return node->value;
    QUuid id;
    QString param;
    return splitParameterNode(name, id, param) ? m_model.parameter(id, param) : QVariant();
}

void ExpressionManager::setValue(const QString &name, const QVariant &value)
{
    m_model.graph.updateLeaf(name, value);
    m_evaluator.setVariable(name, value);
}

CompiledExpression ExpressionManager::compile(const QString &text) const
{
    return ExprCompiler(m_model.context).compile(text);
}

QList<ExpressionReference> ExpressionManager::referencesTo(const QString &name) const
{
    QList<ExpressionReference> references;
    const ExprGraph::Node *read = m_model.graph.node(name);
    const QStringList dependents = read ? read->dependents : QStringList();
    for (const QString &dependent : dependents) {
        const ExprGraph::Node *node = m_model.graph.node(dependent);
        ExpressionReference reference{{}, dependent, node->compiled.source};
        splitParameterNode(dependent, reference.instanceId, reference.paramName);
        if (node->isExpression)
            references.append(reference);
    }
    return references;
}

void ExpressionManager::propagateRename(const QString &oldName, const QString &newName)
{
    rewriteAll(oldName, newName, RenamedKind::Any);
}

bool ExpressionManager::needsQuoting(const QString &name)
{
    return !isPlainIdentifier(name);
}

std::unique_ptr<ExpressionManager> ExpressionManager::cloneForWorker() const
{
    std::unique_ptr<ExpressionManager> clone(new ExpressionManager);
    clone->m_model = m_model;
    clone->m_model.graph.detachPrograms();
    clone->m_evaluator = m_evaluator;
    return clone;
}

QString ExpressionManager::nodeId(const QUuid &instanceId, const QString &param)
{
    return parameterNode(instanceId, param);
}

void ExpressionManager::onVarsetChanged()
{
    evaluateAll();
}

/// Of the settings expressions read the clock alone.
void ExpressionManager::onSceneSettingsChanged()
{
    const bool isClockSame = value(u"time"_s) == QVariant(m_scene->animationTime());
    if (!isClockSame || m_builtRevision != m_scene->itemsRevision())
        evaluateAll();
}

void ExpressionManager::onInstanceUpdated(const QUuid &id)
{
    if (m_evaluating || !m_scene->hasItem(id))
        return;
    const model::Instance instance = m_scene->instance(id);
    if (instance.itemType != model::ItemTypes::Sdf)
        return;
    // When other items changed without a word, the next full evaluation still has to compile all
    // anew.
    if (m_scene->itemsRevision() == m_builtRevision + 1)
        ++m_builtRevision;
    using Change = ExprModelBuilder::Change;
    const Change change = ExprModelBuilder(*m_scene).updateInstance(m_model, instance);
    if (change == Change::None)
        return;
    if (change == Change::Names)
        rebuildGraph();
    else
        takeParameters(instance);
    evaluate(!m_isBuiltAnew);
}

void ExpressionManager::rewriteAll(const QString &oldName, const QString &newName, RenamedKind kind)
{
    if (!m_scene || oldName.isEmpty() || oldName == newName)
        return;
    {
        const QScopedValueRollback guard(m_evaluating, true);
        const auto rewritten = [&](const QString &text) {
            return rewriteName(text, oldName, newName, kind, m_model.context);
        };
        model::VarsetEntries variables;
        const auto shapes = variableShapes(*m_scene);
        for (auto it = shapes.cbegin(); it != shapes.cend(); ++it) {
            model::VarsetEntry entry = m_scene->variableEntry(it.key());
            entry.expression = rewritten(entry.expression);
            variables.insert(it.key(), entry);
        }
        m_scene->setVariableEntries(variables);
        const auto items = m_scene->items();
        for (const model::SceneItem &item : items) {
            if (item.itemType != model::ItemTypes::Sdf)
                continue;
            model::Instance instance(item);
            const QVariantMap params = instance.rawParams();
            for (auto it = params.cbegin(); it != params.cend(); ++it) {
                const auto parameter = model::ParameterValue::fromVariant(*it);
                if (parameter.isExpression())
                    instance.setExpression(it.key(), rewritten(parameter.expression),
                                           parameter.fallback);
            }
            if (instance.rawParams() != params)
                m_scene->updateItem(instance);
        }
    }
    rebuildGraph();
    evaluateAll();
}

void ExpressionManager::takeValues()
{
    bindMathConstants(m_evaluator.values());
    takeVariables();
    const auto items = m_scene->items();
    for (const model::SceneItem &item : items) {
        if (item.itemType == model::ItemTypes::Sdf)
            takeParameters(model::Instance(item));
    }
}

void ExpressionManager::takeVariables()
{
    bindBuiltinCpuValues(m_evaluator.values(), *m_scene);
    for (const BuiltinVariable &builtin : builtinVariables()) {
        if (builtin.cpuValue)
            m_model.graph.updateLeaf(builtin.name, m_evaluator.values().value(builtin.name));
    }
    for (auto it = m_model.variables.cbegin(); it != m_model.variables.cend(); ++it)
        takeVariable(it.key(), m_scene->variableEntry(it.key()));
}

/// A value that a derived variable has from elsewhere is not the last word.
void ExpressionManager::takeVariable(const QString &name, const model::VarsetEntry &entry)
{
    if (!m_model.varsetExpressions.contains(name))
        m_model.graph.updateLeaf(name, entry.value);
    else if (!m_model.graph.isDirty(name) && m_model.graph.node(name)->value != entry.value)
        m_model.graph.overwriteResult(name, entry.value);
    setVariable(name, entry.value);
}

void ExpressionManager::setVariable(const QString &name, const QVariant &value)
{
    m_evaluator.setVariable(name, value);
    if (name.contains(u'.'))
        return;
    const QString alias = u"default."_s + name;
    m_evaluator.setVariable(alias, value);
    m_model.graph.updateLeaf(alias, value);
}

void ExpressionManager::takeParameters(const model::Instance &instance)
{
    const QVariantMap params = instance.rawParams();
    for (auto it = params.cbegin(); it != params.cend(); ++it) {
        const QString node = parameterNode(instance.id, it.key());
        const QVariant value = model::ParameterValue::fromVariant(*it).value();
        const ExprGraph::Node *known = m_model.graph.node(node);
        if (known && !known->isExpression)
            m_model.graph.updateLeaf(node, value);
        nameParameterValue(node, value);
        if (known)
            nameValuesReadBy(*known);
    }
}

/// Values that nothing read before have no name yet.
void ExpressionManager::nameValuesReadBy(const ExprGraph::Node &reader)
{
    for (const QString &name : reader.dependencies) {
        const QString read = m_model.graph.targetOf(name);
        if (read != name)
            nameParameterValue(read, m_model.graph.node(read)->value);
    }
}

void ExpressionManager::nameParameterValue(const QString &node, const QVariant &value)
{
    const ExprGraph::Node *known = m_model.graph.node(node);
    const QStringList dependents = known ? known->dependents : QStringList();
    for (const QString &dependent : dependents) {
        if (!m_model.graph.node(dependent)->isExpression)
            m_evaluator.setVariable(dependent, value);
    }
}

void ExpressionManager::evaluate(bool onlyDirty)
{
    const QScopedValueRollback guard(m_evaluating, true);
    bool isSettled = evaluateOnce(onlyDirty);
    for (int i = 0; i < maxCompilations && !isSettled; ++i) {
        rebuildGraph();
        isSettled = evaluateOnce(false);
    }
    emit evaluationComplete();
    if (const QStringList now = errors(); now != m_toldErrors) {
        m_toldErrors = now;
        emit errorsChanged();
    }
}

/// Whether all values have the types for which the expressions that read them are compiled.
bool ExpressionManager::evaluateOnce(bool onlyDirty)
{
    if (!onlyDirty) {
        m_failures.clear();
        if (m_scene)
            takeValues();
        m_isBuiltAnew = false;
    }
    ChangedInstances changed;
    const bool isAnyDue = !onlyDirty || m_model.graph.hasDirty();
    const QStringList order = isAnyDue ? m_model.graph.topologicalOrder() : QStringList();
    for (const QString &node : order) {
        if (!onlyDirty || m_model.graph.isDirty(node))
            evaluateNode(node, changed);
    }
    return writeBack(changed);
}

void ExpressionManager::evaluateNode(const QString &node, ChangedInstances &changed)
{
    const bool isVariable = m_model.varsetExpressions.contains(node);
    QString error;
    const QVariant value = m_evaluator.evaluate(m_model.graph.node(node)->compiled, error);
    if (error.isEmpty() && !isVariable && !isFinite(value))
        error = u"the value is not finite"_s;
    if (!error.isEmpty()) {
        m_failures.setError(node, error);
        return;
    }
    m_failures.removeError(node);
    m_model.graph.setResult(node, value);
    if (isVariable)
        storeVariable(node, value);
    else
        storeParameter(node, value, changed);
}

void ExpressionManager::storeVariable(const QString &name, const QVariant &value)
{
    setVariable(name, value);
    // Infinity may pass from one expression to another, but no file could hold it.
    const bool canBeStored = isFinite(value);
    m_failures.setUnstored(name, !canBeStored);
    if (canBeStored && m_scene)
        m_scene->storeEvaluatedVariable(name, value);
    countEmission(name);
    emit varsetEntryEvaluated(name, value);
}

void ExpressionManager::storeParameter(const QString &node, const QVariant &value,
                                       ChangedInstances &changed)
{
    nameParameterValue(node, value);
    QUuid id;
    QString param;
    if (!m_scene || !splitParameterNode(node, id, param) || !m_scene->hasItem(id))
        return;
    const auto known = changed.constFind(id);
    model::Instance instance = known == changed.cend() ? m_scene->instance(id) : *known;
    const model::Instance before = instance;
    model::ParameterValue parameter = instance.parameterValue(param);
    if (model::plainForFile(parameter.fallback) != model::plainForFile(value)) {
        parameter.fallback = value;
        instance.setParameter(param, QVariant::fromValue(parameter));
    }
    driveTransform(instance, param, value);
    if (instance != before)
        changed.insert(id, instance);
}

bool ExpressionManager::writeBack(const ChangedInstances &changed)
{
    if (!m_scene)
        return true;
    const bool wasInStep = m_builtRevision == m_scene->itemsRevision();
    bool isSettled = true;
    for (const model::Instance &instance : changed) {
        m_scene->updateItem(instance);
        isSettled = !ExprModelBuilder(*m_scene).takeResults(m_model, instance) && isSettled;
    }
    if (wasInStep)
        m_builtRevision = m_scene->itemsRevision();
    return isSettled;
}

void ExpressionManager::countEmission(const QString &name)
{
    const int count = ++m_emissions[name];
    if (count == 1 || count % emissionsPerLogLine == 0)
        qCDebug(lcExpr) << "[ExprMgr] varsetEntryEvaluated" << name << "emit#" << count;
}

} // namespace corvane::expr
