#include <corvane/ops/CorvaneOpExecutor.h>

#include <corvane/component/ComponentLibrary.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/ops/CorvaneOpDescriber.h>
#include <corvane/ops/CorvaneUndoCommand.h>
#include <corvane/ops/DefinitionOps.h>
#include <corvane/ops/Logging.h>
#include <corvane/ops/MaterialOps.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpCatalogue.h>
#include <corvane/ops/OpContext.h>
#include <corvane/ops/SceneSnapshot.h>
#include <corvane/ops/VarsetOps.h>

#include <QUndoStack>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

/// How snapshots of a domain are put back and taken out.
struct DomainEntry
{
    const QString &domain;
    void (*insert)(OpContext &, const QVariantMap &);
    void (*remove)(OpContext &, const QVariantMap &);
};

const DomainEntry &domainOf(const QVariantMap &snapshot)
{
    static const QString items;
    static const DomainEntry domains[] = {
        {OpDomain::material, &insertMaterialSnapshot, &removeMaterialSnapshot},
        {OpDomain::varset, &insertVarsetSnapshot, &removeVarsetSnapshot},
        {OpDomain::definition, &insertDefinitionSnapshot, &removeDefinitionSnapshot},
        {items, &insertSnapshot, &removeSnapshot}, // what has no domain is a node or an item
    };
    const QString domain = snapshot.value(StateKeys::opDomain).toString();
    return *std::find_if(std::begin(domains), std::end(domains) - 1,
                         [&domain](const DomainEntry &entry) { return entry.domain == domain; });
}

bool overlap(const QString &a, const QString &b)
{
    return a.isEmpty() || b.isEmpty() || a == b || a.startsWith(b + u'/') || b.startsWith(a + u'/');
}

bool changesNothing(const OpChange &change)
{
    return change.category == OpCategory::Modified && change.before == change.after;
}

} // namespace

/// What waits until the undo stack is done.
struct CorvaneOpExecutor::Restoring
{
    explicit Restoring(model::LogicalScene *tree)
    {
        if (tree)
            oneCompile.emplace(*tree);
    }

    std::optional<model::LogicalScene::Batch> oneCompile{};
    QVariantMap keptValues{};
};

CorvaneOpExecutor::CorvaneOpExecutor(const QSharedPointer<model::Corvane> &scene, QObject *parent)
    : QObject(parent)
    , m_scene(scene)
    , m_undoStack(new QUndoStack(this))
{
    // The stack says nothing before it begins; this comes once for a macro, and first of all for
    // us, so that whoever else hears it finds the scene compiled.
    connect(m_undoStack, &QUndoStack::indexChanged, this, &CorvaneOpExecutor::finishRestoring);
}

CorvaneOpExecutor::~CorvaneOpExecutor() = default;

void CorvaneOpExecutor::setScene(const QSharedPointer<model::Corvane> &scene)
{
    if (m_scene == scene)
        return;
    clearHistory();
    m_scene = scene;
}

model::LogicalScene *CorvaneOpExecutor::logicalScene() const
{
    return m_logicalScene;
}

void CorvaneOpExecutor::setLogicalScene(model::LogicalScene *logicalScene)
{
    if (m_logicalScene == logicalScene)
        return;
    clearHistory();
    m_logicalScene = logicalScene;
}

void CorvaneOpExecutor::setComponentLibrary(component::ComponentLibrary *library)
{
    m_componentLibrary = library;
}

void CorvaneOpExecutor::setMaterialLibrary(model::MaterialLibrary *library)
{
    m_materialLibrary = library;
}

void CorvaneOpExecutor::setExpressionManager(expr::ExpressionManager *expressions)
{
    m_expressions = expressions;
}

QVariantMap CorvaneOpExecutor::keptValues()
{
    if (!m_expressions)
        return {};
    m_expressions->evaluateNewItems();
    return m_expressions->keptValues();
}

void CorvaneOpExecutor::beginRestoring()
{
    if (!m_restoring)
        m_restoring = std::make_unique<Restoring>(m_logicalScene);
}

void CorvaneOpExecutor::restoreKeptValues(const QVariantMap &values)
{
    if (m_restoring)
        m_restoring->keptValues = values;
}

void CorvaneOpExecutor::finishRestoring()
{
    if (!m_restoring)
        return;
    const QVariantMap kept = m_restoring->keptValues;
    m_restoring.reset();
    if (!m_expressions)
        return;
    m_expressions->evaluateNewItems();
    m_expressions->restoreKeptValues(kept);
}

void CorvaneOpExecutor::clearHistory()
{
    m_undoStack->clear();
    m_pending.clear();
    m_pendingScopes.clear();
    m_isCoalescing = false;
    m_batches.clear();
    m_batchDepth = 0;
    m_batchHasMacro = false;
    m_editSessions.clear();
}

template<class Function>
void CorvaneOpExecutor::withContext(const Function &function)
{
    if (!m_scene)
        return;
    OpContext context{.document = *m_scene,
                      .tree = m_logicalScene,
                      .library = m_componentLibrary ? *m_componentLibrary
                                                    : component::ComponentLibrary::instance(),
                      .materials = m_materialLibrary ? *m_materialLibrary
                                                     : model::MaterialLibrary::instance(),
                      .editSessions = m_editSessions};
    function(context);
}

bool CorvaneOpExecutor::apply(const CorvaneOp &op)
{
    const OpEntry *entry = findOp(op.kind);
    if (!entry) {
        qCWarning(lcOps).noquote() << "CorvaneOpExecutor::apply: unknown op kind:" << op.kind;
        return false;
    }
    if (!m_scene) {
        qCWarning(lcOps).noquote() << "CorvaneOpExecutor::apply: no scene for" << op.kind;
        return false;
    }
    const QString flaw = checkArguments(*entry, op.args);
    if (!flaw.isEmpty()) {
        qCWarning(lcOps).noquote() << op.kind + u": "_s + flaw;
        return false;
    }
    const QVariantMap kept = keptValues();
    OpOutcome outcome;
    withContext(
        [&](OpContext &context) { outcome = entry->apply(context, OpCall(entry->kind, op.args)); });
    if (!outcome)
        return false;
    outcome->keptBefore = kept;
    outcome->keptAfter = keptValues();
    m_lastCreatedId = outcome->createdId;
    const QString text = entry->undoText.isEmpty() ? CorvaneOpDescriber::describe(*entry, op.args)
                                                   : fillText(entry->undoText, outcome->textArgs);
    pushOrCoalesce(*entry, op.args, *outcome, text);
    emit applied(op.kind, outcome->itemId);
    return true;
}

void CorvaneOpExecutor::pushOrCoalesce(const OpEntry &entry, const QVariantMap &args,
                                       const OpChange &change, const QString &text)
{
    if (m_isCoalescing)
        coalesce(entry, args, change);
    else
        push(entry, args, change, text);
}

void CorvaneOpExecutor::push(const OpEntry &entry, const QVariantMap &args, const OpChange &change,
                             const QString &text)
{
    if (changesNothing(change))
        return;
    beginPush();
    m_undoStack->push(new CorvaneUndoCommand(this, entry, args, change, text));
}

void CorvaneOpExecutor::beginPush()
{
    if (m_batchDepth > 0 && m_batchHasMacro)
        return;
    // What was undone is gone with the next push, and with it the batches that it held.
    const int index = m_undoStack->index();
    m_batches.removeIf([index](const BatchMarker &batch) { return batch.endIndex > index; });
    if (m_batchDepth == 0)
        return;
    m_undoStack->beginMacro(m_openBatch.label);
    m_batchHasMacro = true;
}

void CorvaneOpExecutor::coalesce(const OpEntry &entry, const QVariantMap &args,
                                 const OpChange &change)
{
    const auto known = m_pendingScopes.constFind(change.scope);
    const bool isKnown = known != m_pendingScopes.cend() && m_pending.at(*known).entry == &entry;
    if (isKnown && m_pendingIsDisjoint) {
        m_pending[*known].change.after = change.after;
        return;
    }
    // Of changes that overlap, none may be left out: the order of the steps matters.
    m_pendingIsDisjoint =
        m_pendingIsDisjoint &&
        std::none_of(m_pending.cbegin(), m_pending.cend(), [&change](const Pending &pending) {
            return overlap(pending.change.scope, change.scope);
        });
    m_pendingScopes.insert(change.scope, m_pending.size());
    m_pending.append({&entry, args, change});
}

void CorvaneOpExecutor::beginCoalescing(const QString &label)
{
    endCoalescing();
    m_isCoalescing = true;
    m_coalesceLabel = label;
}

QList<CorvaneOpExecutor::Pending> CorvaneOpExecutor::takePending()
{
    m_isCoalescing = false;
    m_pendingIsDisjoint = true;
    m_pendingScopes.clear();
    return std::exchange(m_pending, {});
}

void CorvaneOpExecutor::endCoalescing()
{
    QList<Pending> pending = takePending();
    // A change that led back to where it began may only be left out where no other builds on it.
    if (std::all_of(pending.cbegin(), pending.cend(),
                    [](const Pending &step) { return changesNothing(step.change); }))
        return;
    // Only the ends of the drag are ever seen again.
    const QVariantMap keptBefore = pending.first().change.keptBefore;
    const QVariantMap keptAfter = keptValues();
    for (Pending &step : pending) {
        step.change.keptBefore = keptBefore;
        step.change.keptAfter = keptAfter;
    }
    const bool isMacro = pending.size() > 1;
    if (isMacro) {
        beginPush();
        m_undoStack->beginMacro(m_coalesceLabel);
    }
    for (const Pending &step : std::as_const(pending))
        push(*step.entry, step.args, step.change, m_coalesceLabel);
    if (isMacro)
        m_undoStack->endMacro();
}

void CorvaneOpExecutor::cancelCoalescing()
{
    const QList<Pending> pending = takePending();
    for (auto step = pending.crbegin(); step != pending.crend(); ++step)
        CorvaneUndoCommand(this, *step->entry, step->args, step->change, {}).undo();
    finishRestoring(); // the stack has no part in this
}

QString CorvaneOpExecutor::beginBatch(const QString &label)
{
    if (m_batchDepth++ > 0)
        return m_openBatch.batchId;
    m_batchHasMacro = false;
    const int index = m_undoStack->index();
    m_openBatch = {.batchId = QUuid::createUuid().toString(QUuid::WithoutBraces),
                   .label = label,
                   .startIndex = index,
                   .endIndex = index};
    return m_openBatch.batchId;
}

bool CorvaneOpExecutor::endBatch()
{
    if (m_batchDepth == 0)
        return false;
    if (--m_batchDepth > 0)
        return true;
    if (m_batchHasMacro)
        m_undoStack->endMacro();
    m_batchHasMacro = false;
    m_openBatch.endIndex = m_undoStack->index();
    m_batches.append(m_openBatch);
    return true;
}

bool CorvaneOpExecutor::undoBatch(const QString &batchId)
{
    const auto batch =
        std::find_if(m_batches.cbegin(), m_batches.cend(),
                     [&batchId](const BatchMarker &marker) { return marker.batchId == batchId; });
    if (batch == m_batches.cend())
        return false;
    const int steps = std::min(m_undoStack->index(), batch->endIndex) - batch->startIndex;
    for (int step = 0; step < steps; ++step)
        m_undoStack->undo();
    return steps > 0;
}

void CorvaneOpExecutor::undoItemAdd(const QVariantMap &after)
{
    withContext([&after](OpContext &context) { domainOf(after).remove(context, after); });
}

void CorvaneOpExecutor::redoItemAdd(const QVariantMap &after)
{
    withContext([&after](OpContext &context) { domainOf(after).insert(context, after); });
}

void CorvaneOpExecutor::undoItemRemove(const QVariantMap &before)
{
    withContext([&before](OpContext &context) { domainOf(before).insert(context, before); });
}

void CorvaneOpExecutor::redoItemRemove(const QVariantMap &before)
{
    withContext([&before](OpContext &context) { domainOf(before).remove(context, before); });
}

void CorvaneOpExecutor::restoreModifyState(const OpEntry &entry, const QUuid &itemId,
                                           const QVariantMap &state)
{
    withContext([&](OpContext &context) {
        // Of items only: components take care of their parts, and the rest has no id.
        const bool isItem = entry.kind.startsWith("item."_L1) || entry.kind.startsWith("sdf."_L1);
        if (isItem && !context.contains(itemId)) {
            qCWarning(lcOps).noquote() << entry.kind + u": item not found:"_s << idText(itemId);
            return;
        }
        entry.restore(context, itemId, state);
    });
}

} // namespace corvane::ops
