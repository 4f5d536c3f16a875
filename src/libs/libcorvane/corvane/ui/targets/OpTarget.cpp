#include <corvane/ui/targets/OpTarget.h>

#include <corvane/expr/BuiltinVariables.h>
#include <corvane/expr/NameScanner.h>
#include <corvane/model/ParameterValue.h>

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

QString say(const char *text)
{
    return QCoreApplication::translate("corvane::ui::OpTarget", text);
}

bool isBuiltin(const QString &name)
{
    const auto &builtins = expr::builtinVariables();
    return std::any_of(builtins.cbegin(), builtins.cend(),
                       [&name](const auto &builtin) { return builtin.name == name; });
}

} // namespace

// Said while the name is typed: an edit that is refused later could only say that it was.
QString whyNoVariableName(const model::Corvane &document, const QString &name)
{
    if (name.isEmpty())
        return say(QT_TRANSLATE_NOOP("corvane::ui::OpTarget", "A variable needs a name."));
    if (!expr::isPlainIdentifier(name))
        return say(QT_TRANSLATE_NOOP("corvane::ui::OpTarget",
                                     "A name begins with a letter, and has letters, digits and _ "
                                     "only; words of the language are no names."));
    if (isBuiltin(name))
        return say(QT_TRANSLATE_NOOP("corvane::ui::OpTarget",
                                     "%1 has a meaning of its own in expressions."))
            .arg(name);
    if (document.hasVariable(name))
        return say(QT_TRANSLATE_NOOP("corvane::ui::OpTarget", "There is a variable %1 already."))
            .arg(name);
    return {};
}

OpTarget::OpTarget(lifecycle::SceneSession *session, QObject *parent)
    : FieldTarget(parent)
    , m_session(session)
{}

OpTarget::~OpTarget()
{
    cancelDrag();
}

void OpTarget::followValues()
{
    connect(m_session, &lifecycle::SceneSession::expressionsChanged, this,
            &OpTarget::followExpressions);
    followExpressions(m_session->expressions());
}

void OpTarget::followExpressions(expr::ExpressionManager *expressions)
{
    if (!expressions)
        return;
    connect(expressions, &expr::ExpressionManager::evaluationComplete, this, &OpTarget::changed);
    connect(expressions, &expr::ExpressionManager::errorsChanged, this, &OpTarget::changed);
}

QString OpTarget::failureOf(const QUuid &instanceId, const QString &name) const
{
    const expr::ExpressionManager *const expressions =
        m_session ? m_session->expressions() : nullptr;
    const auto failures = expressions ? expressions->failures() : QList<expr::ExpressionFailure>();
    for (const expr::ExpressionFailure &failure : failures) {
        if (failure.instanceId != instanceId || failure.name != name)
            continue;
        if (!failure.message.isEmpty())
            return failure.message;
        return failure.cycle.isEmpty()
                   ? tr("It reads a circle of expressions.")
                   : tr("Each reads the next: %1.").arg(failure.cycle.join(u" → "_s));
    }
    return {};
}

bool OpTarget::apply(const QList<ops::CorvaneOp> &ops, const QString &label)
{
    if (!m_session || ops.isEmpty())
        return false;
    ops::CorvaneOpExecutor &executor = *m_session->executor();
    if (ops.size() == 1 || executor.isCoalescing())
        return std::all_of(ops.cbegin(), ops.cend(),
                           [&executor](const auto &op) { return executor.apply(op); });
    const int before = m_session->undoStack()->index();
    executor.beginBatch(label);
    const bool isDone = std::all_of(ops.cbegin(), ops.cend(),
                                    [&executor](const auto &op) { return executor.apply(op); });
    executor.endBatch();
    if (!isDone && m_session->undoStack()->index() > before)
        m_session->undoStack()->undo();
    return isDone;
}

void OpTarget::beginDrag(const QString &label)
{
    if (!m_session || m_session->executor()->isCoalescing())
        return;
    m_isDragging = true;
    m_session->executor()->beginCoalescing(label);
}

void OpTarget::endDrag()
{
    if (std::exchange(m_isDragging, false) && m_session)
        m_session->executor()->endCoalescing();
}

void OpTarget::cancelDrag()
{
    if (std::exchange(m_isDragging, false) && m_session)
        m_session->executor()->cancelCoalescing();
}

QVariantMap OpTarget::variableEntry() const
{
    return {};
}

QString OpTarget::makeVariable(const QString &name)
{
    if (!m_session || !canBeBound())
        return FieldTarget::makeVariable(name);
    if (const QString why = whyNoVariableName(*m_session->document(), name); !why.isEmpty())
        return why;
    const QVariant value = state().value;
    QVariantMap entry = variableEntry();
    entry.insert(u"value"_s, value);
    const auto bound = model::ParameterValue::fromExpression(name, value);
    ops::CorvaneOpExecutor &executor = *m_session->executor();
    const int before = m_session->undoStack()->index();
    executor.beginBatch(tr("Make variable \"%1\"").arg(name));
    const bool isDone = executor.apply({ops::OpKind::VarsetSetVariable,
                                        {{u"name"_s, name}, {u"entry"_s, entry}}}) &&
                        write(QVariant::fromValue(bound));
    executor.endBatch();
    if (isDone)
        return {};
    if (m_session->undoStack()->index() > before)
        m_session->undoStack()->undo();
    return tr("The scene refuses this variable.");
}

} // namespace corvane::ui
