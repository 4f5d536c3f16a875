#include <eval/internal/Interpreter.h>

#include <eval/internal/BuiltinFunctions.h>

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

bool sameParameters(const AstNode &a, const AstNode &b)
{
    const auto sameType = [](const FunctionParam &x, const FunctionParam &y) {
        return x.type == y.type && x.structName == y.structName && x.isArray == y.isArray;
    };
    return std::equal(a.params.begin(), a.params.end(), b.params.begin(), b.params.end(), sameType);
}

bool matchesExactly(const FunctionParam &param, const Value &argument)
{
    if (param.isArray || argument.type == Type::Array)
        return param.isArray && argument.type == Type::Array && argument.elementType == param.type;
    return param.type == argument.type &&
           (param.type != Type::Struct || param.structName == argument.structName);
}

} // namespace

FunctionTable makeFunctionTable(const QList<AstPtr> &functions)
{
    FunctionTable table;
    for (const AstPtr &function : functions) {
        QList<const AstNode *> &overloads = table[function->name];
        const auto same = std::ranges::find_if(
            overloads, [&](const AstNode *other) { return sameParameters(*other, *function); });
        if (same != overloads.end())
            *same = function.data();
        else
            overloads.append(function.data());
    }
    return table;
}

Interpreter::Interpreter(Environment *environment, const StructRegistry &structs,
                         bool reportRuntimeFaults)
    : m_environment(environment)
    , m_structs(structs)
    , m_reportRuntimeFaults(reportRuntimeFaults)
{}

void Interpreter::recordError(const SourceSpan &span, const QString &message,
                              DiagnosticCategory category)
{
    if (!m_cancelled && m_diagnostics.size() < diagnosticLimit)
        m_diagnostics.append({category, message, span, {}});
}

bool Interpreter::isCancelled(const AstNode &node)
{
    if (m_cancelled)
        return true;
    if (!m_cancelFlag || !m_cancelFlag->load(std::memory_order_relaxed))
        return false;
    m_diagnostics = {{DiagnosticCategory::Runtime, u"evaluation cancelled"_s, node.span, {}}};
    m_cancelled = true;
    return true;
}

bool Interpreter::enterLevel(const AstNode &node)
{
    if (m_cancelled)
        return false;
    if (m_nesting < nestingLimit)
        return true;
    // Once a run: below the limit every sibling would say the same again.
    if (!m_nestingReported)
        recordError(node.span, u"nesting limit (%1) exceeded"_s.arg(nestingLimit));
    m_nestingReported = true;
    return false;
}

QList<Value> Interpreter::evalArguments(const AstNode &node)
{
    QList<Value> arguments;
    arguments.reserve(node.arguments.size());
    for (const AstPtr &argument : node.arguments)
        arguments.append(evaluate(*argument));
    return arguments;
}

Value Interpreter::evalFunctionCall(const AstNode &node)
{
    const QList<Value> arguments = evalArguments(node);
    const Type firstType = arguments.isEmpty() ? Type::Void : arguments.first().type;
    if (const Builtin *const builtin = builtinOf(node, firstType))
        return applyBuiltin(*builtin, arguments);
    const AstNode *function = pickOverload(node, arguments);
    return function ? callUserFunction(node, *function, arguments) : Value::zero(Type::Float);
}

const AstNode *Interpreter::pickOverload(const AstNode &node, const QList<Value> &arguments)
{
    const auto overloads = m_functions.constFind(node.name);
    if (overloads == m_functions.constEnd()) {
        recordError(node.span, u"interpreter has no implementation for '%1'"_s.arg(node.name),
                    DiagnosticCategory::Internal);
        return nullptr;
    }
    const AstNode *firstOfArity = nullptr;
    for (const AstNode *function : *overloads) {
        if (function->params.size() != arguments.size())
            continue;
        if (std::equal(arguments.begin(), arguments.end(), function->params.begin(),
                       [](const Value &argument, const FunctionParam &param) {
                           return matchesExactly(param, argument);
                       }))
            return function;
        if (!firstOfArity)
            firstOfArity = function;
    }
    if (!firstOfArity)
        recordError(node.span, u"no overload of '%1' matches at runtime"_s.arg(node.name),
                    DiagnosticCategory::Internal);
    return firstOfArity;
}

bool Interpreter::enterCall(const AstNode &node)
{
    if (isCancelled(node))
        return false;
    if (m_callDepth < callDepthLimit)
        return true;
    recordError(node.span, u"recursion depth limit (%1) exceeded calling '%2'"_s.arg(
                               QString::number(callDepthLimit), node.name));
    return false;
}

Value Interpreter::callUserFunction(const AstNode &node, const AstNode &function,
                                    const QList<Value> &arguments)
{
    if (!enterCall(node))
        return Value::zero(Type::Float);
    Environment fresh;
    const qsizetype liveBefore = m_liveVariables;
    bindParameters(function, arguments, fresh);
    Value result = defaultValue(function.type, function.structName, m_structs);
    {
        Environment *const caller = std::exchange(m_environment, &fresh);
        const AstNode *const callerFunction = std::exchange(m_function, &function);
        ++m_callDepth;
        execStmt(*function.body, result);
        --m_callDepth;
        m_environment = caller;
        m_function = callerFunction;
    }
    m_liveVariables = liveBefore;
    copyBack(node, function, fresh);
    return result;
}

void Interpreter::bindParameters(const AstNode &function, const QList<Value> &arguments,
                                 Environment &environment)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const FunctionParam &param = function.params[i];
        environment.insert(param.name, param.isArray ? arguments[i]
                                                     : retagged(arguments[i], param.type,
                                                                param.structName, m_structs));
    }
    m_liveVariables += arguments.size();
}

void Interpreter::copyBack(const AstNode &call, const AstNode &function, const Environment &callee)
{
    for (qsizetype i = 0; i < function.params.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const AstNode &argument = *call.arguments[i];
        if ((param.qualifier != ParamQualifier::Out && param.qualifier != ParamQualifier::InOut) ||
            argument.kind != AstKind::Identifier)
            continue;
        const auto target = m_environment->find(argument.name);
        if (target != m_environment->end())
            *target =
                retagged(callee.value(param.name), target->type, target->structName, m_structs);
    }
}

} // namespace eval::internal
