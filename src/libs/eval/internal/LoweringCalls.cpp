#include <eval/internal/Lowering.h>

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

Lowering::Operand Lowering::call(const AstNode &node)
{
    std::vector<Operand> arguments;
    for (const AstPtr &argument : node.arguments)
        arguments.push_back(expression(*argument));
    if (m_failed)
        return giveUp();
    const Type firstType = arguments.empty() ? Type::Void : arguments.front().type;
    const Builtin *const found = builtinOf(node, firstType);
    return found ? builtin(*found, arguments) : userCall(node, arguments);
}

const AstNode *Lowering::pickOverload(const AstNode &node,
                                      const std::vector<Operand> &arguments) const
{
    const AstNode *firstOfArity = nullptr;
    const QList<const AstNode *> overloads = m_functions.value(node.name);
    for (const AstNode *function : overloads) {
        if (function->params.size() != static_cast<qsizetype>(arguments.size()))
            continue;
        const bool matches = std::equal(
            arguments.begin(), arguments.end(), function->params.begin(),
            [](const Operand &argument, const FunctionParam &param) {
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

Lowering::Operand Lowering::userCall(const AstNode &node, const std::vector<Operand> &arguments)
{
    const AstNode *function = pickOverload(node, arguments);
    if (!function || m_calls.size() >= static_cast<size_t>(Interpreter::callDepthLimit))
        return faulted();
    const bool takesArrays = std::ranges::any_of(function->params, &FunctionParam::isArray);
    const bool isRecursive = std::ranges::find(m_calls, function) != m_calls.end();
    if (takesArrays || isRecursive || !function->body)
        return giveUp();
    Frame callee;
    callee.function = function;
    const Operand result = expand(*function, arguments, callee);
    if (!m_failed)
        copyBack(node, *function, callee);
    return result;
}

Lowering::Operand Lowering::expand(const AstNode &function, const std::vector<Operand> &arguments,
                                   Frame &callee)
{
    for (qsizetype i = 0; i < function.params.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const Operand value =
            retaggedTo(arguments[static_cast<size_t>(i)], param.type, param.structName);
        // Of two parameters of one name the later one is bound.
        callee.indexes.insert(param.name, static_cast<int>(callee.variables.size()));
        callee.variables.push_back({value, Known::Yes, false});
    }
    callee.result = zero(function.type, function.structName);
    if (m_failed)
        return giveUp();

    Frame *const caller = std::exchange(m_frame, &callee);
    const LoopTargets targets = std::exchange(m_targets, {});
    m_calls.push_back(&function);
    if (leavesAtEndOnly(*function.body)) {
        statement(*function.body);
    } else {
        Meeting exit = meetingFor(outParameters(function));
        callee.exit = &exit;
        for (qsizetype i = 0; i < callee.result.lanes.size(); ++i)
            callee.exitLanes.append(m_code.newRegister());
        moveLanes(callee.exitLanes, callee.result.lanes);
        m_code.openScope();
        if (statement(*function.body))
            arrive(exit);
        m_code.closeScope();
        enter(exit);
        callee.exit = nullptr;
        callee.result.lanes = callee.exitLanes;
    }
    m_calls.pop_back();
    m_targets = targets;
    m_frame = caller;
    return callee.result;
}

void Lowering::copyBack(const AstNode &call, const AstNode &function, Frame &callee)
{
    for (qsizetype i = 0; i < function.params.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const AstNode &argument = *call.arguments[i];
        if ((param.qualifier != ParamQualifier::Out && param.qualifier != ParamQualifier::InOut) ||
            argument.kind != AstKind::Identifier)
            continue;
        const int index = frame().indexes.value(argument.name, -1);
        if (index < 0 || frame().variables[static_cast<size_t>(index)].known != Known::Yes)
            continue; // reading the argument has already ended the evaluation
        const Variable &source =
            callee.variables[static_cast<size_t>(callee.indexes.value(param.name))];
        if (source.known != Known::Yes) {
            giveUp();
            return;
        }
        Operand &target = frame().variables[static_cast<size_t>(index)].value;
        target = retaggedTo(source.value, target.type, target.structName);
    }
}

} // namespace eval::internal
