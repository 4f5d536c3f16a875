#include <eval/internal/CallLowering.h>

#include <algorithm>

namespace eval::internal {

namespace {

struct WaysOut
{
    int returns = 0;
    int discards = 0;
};

void countWaysOut(const AstNode &node, WaysOut &count)
{
    count.returns += node.kind == AstKind::Return ? 1 : 0;
    count.discards += node.kind == AstKind::Discard ? 1 : 0;
    for (const AstPtr &child : {node.left, node.right, node.body}) {
        if (child)
            countWaysOut(*child, count);
    }
    for (const AstPtr &statement : node.statements)
        countWaysOut(*statement, count);
}

/// A body that can only be left at its end needs no place for several ways to meet.
bool leavesAtEndOnly(const AstNode &body)
{
    WaysOut count;
    countWaysOut(body, count);
    if (count.discards > 0 || count.returns > 1)
        return false;
    return count.returns == 0 ||
           (!body.statements.isEmpty() && body.statements.last()->kind == AstKind::Return);
}

QStringList outParameters(const AstNode &function)
{
    QStringList names;
    for (const FunctionParam &param : function.params) {
        if (param.qualifier == ParamQualifier::Out || param.qualifier == ParamQualifier::InOut)
            names.append(param.name);
    }
    return names;
}

} // namespace

LaneValue CallLowering::lower(const AstNode &node, const std::vector<LaneValue> &arguments)
{
    if (m_values.hasFailed())
        return m_values.giveUp();
    const Type firstType = arguments.empty() ? Type::Void : arguments.front().type;
    const Builtin *const builtin = builtinOf(node, firstType);
    return builtin ? m_context.builtins.lower(*builtin, arguments) : userCall(node, arguments);
}

const AstNode *CallLowering::pickOverload(const AstNode &node,
                                          const std::vector<LaneValue> &arguments) const
{
    const AstNode *firstOfArity = nullptr;
    const QList<const AstNode *> overloads = m_variables.functions().value(node.name);
    for (const AstNode *function : overloads) {
        if (function->params.size() != static_cast<qsizetype>(arguments.size()))
            continue;
        const bool matches = std::equal(
            arguments.begin(), arguments.end(), function->params.begin(),
            [](const LaneValue &argument, const FunctionParam &param) {
                return !param.isArray && param.type == argument.type &&
                       (param.type != Type::Struct || param.structName == argument.structName);
            });
        if (matches)
            return function;
        if (!firstOfArity)
            firstOfArity = function;
    }
    return firstOfArity;
}

LaneValue CallLowering::userCall(const AstNode &node, const std::vector<LaneValue> &arguments)
{
    const AstNode *function = pickOverload(node, arguments);
    if (!function || m_open.size() >= static_cast<size_t>(Interpreter::callDepthLimit))
        return m_values.faulted();
    const bool takesArrays = std::ranges::any_of(function->params, &FunctionParam::isArray);
    const bool isRecursive = std::ranges::find(m_open, function) != m_open.end();
    if (takesArrays || isRecursive || !function->body)
        return m_values.giveUp();
    LoweringFrame callee;
    callee.function = function;
    const LaneValue result = expand(*function, arguments, callee);
    if (!m_values.hasFailed())
        copyBack(node, *function, callee);
    return result;
}

LaneValue CallLowering::expand(const AstNode &function, const std::vector<LaneValue> &arguments,
                               LoweringFrame &callee)
{
    for (qsizetype i = 0; i < function.params.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const LaneValue value =
            m_values.retaggedTo(arguments[static_cast<size_t>(i)], param.type, param.structName);
        // Of two parameters of one name the later one is bound.
        callee.indexes.insert(param.name, static_cast<int>(callee.variables.size()));
        callee.variables.push_back({value, Known::Yes, false});
    }
    callee.result = m_values.zero(function.type, function.structName);
    if (m_values.hasFailed())
        return m_values.giveUp();

    LoweringFrame *const caller = m_variables.exchangeFrame(&callee);
    m_open.push_back(&function);
    expandBody(function, callee);
    m_open.pop_back();
    m_variables.exchangeFrame(caller);
    return callee.result;
}

void CallLowering::expandBody(const AstNode &function, LoweringFrame &callee)
{
    if (leavesAtEndOnly(*function.body)) {
        m_statements.lowerBody(*function.body);
        return;
    }
    Join exit = m_variables.joinFor(outParameters(function));
    callee.exit = &exit;
    for (qsizetype i = 0; i < callee.result.lanes.size(); ++i)
        callee.exitLanes.append(m_code.newRegister());
    m_values.moveLanes(callee.exitLanes, callee.result.lanes);
    m_code.openScope();
    if (m_statements.lowerBody(*function.body))
        m_variables.arrive(exit);
    m_code.closeScope();
    m_variables.enter(exit);
    callee.exit = nullptr;
    callee.result.lanes = callee.exitLanes;
}

void CallLowering::copyBack(const AstNode &call, const AstNode &function, LoweringFrame &callee)
{
    for (qsizetype i = 0; i < function.params.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const AstNode &argument = *call.arguments[i];
        if ((param.qualifier != ParamQualifier::Out && param.qualifier != ParamQualifier::InOut) ||
            argument.kind != AstKind::Identifier)
            continue;
        const LoweredVariable *const known = m_variables.find(argument.name);
        if (!known || known->known != Known::Yes)
            continue; // reading the argument has already ended the evaluation
        const LoweredVariable &source =
            callee.variables[static_cast<size_t>(callee.indexes.value(param.name))];
        if (source.known != Known::Yes) {
            m_values.giveUp();
            return;
        }
        LaneValue &target = m_variables.at(m_variables.indexOf(argument.name)).value;
        target = m_values.retaggedTo(source.value, target.type, target.structName);
    }
}

} // namespace eval::internal
