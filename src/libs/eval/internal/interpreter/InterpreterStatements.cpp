// The statements of the walk. Each tells by its Flow how it ended; loops and switches consume
// what is theirs, a call consumes a return.

#include <eval/internal/interpreter/Interpreter.h>

#include <eval/internal/frontend/StructRegistry.h>

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace eval::internal {

bool isDefaultCase(const AstNode &caseBlock)
{
    return caseBlock.name == "default"_L1;
}

std::optional<qint32> caseNumber(const AstNode &caseBlock)
{
    QStringView label = caseBlock.name;
    while (label.endsWith(u'u', Qt::CaseInsensitive))
        label.chop(1);
    bool ok = false;
    const uint number = label.toUInt(&ok, 0); // 0 reads an 0x prefix
    return ok ? std::optional(static_cast<qint32>(number)) : std::nullopt;
}

Interpreter::Flow Interpreter::execStmt(const AstNode &node, Value &returnSlot)
{
    if (!enterLevel(node))
        return Flow::Return;
    ++m_nesting;
    const auto leave = qScopeGuard([this] { --m_nesting; });
    switch (node.kind) {
    case AstKind::Block:
        return execBlock(node, returnSlot);
    case AstKind::ExpressionStatement:
        evaluate(*node.left);
        return Flow::Normal;
    case AstKind::VariableDeclaration:
        return execDeclaration(node);
    case AstKind::If:
        return execIf(node, returnSlot);
    case AstKind::For:
        return execFor(node, returnSlot);
    case AstKind::While:
        return execWhile(node, returnSlot);
    case AstKind::DoWhile:
        return execDoWhile(node, returnSlot);
    case AstKind::Switch:
        return execSwitch(node, returnSlot);
    case AstKind::Return:
        return execReturn(node, returnSlot);
    case AstKind::Break:
        return Flow::Break;
    case AstKind::Continue:
        return Flow::Continue;
    case AstKind::Discard:
        return execDiscard(node);
    case AstKind::FunctionDefinition:
    case AstKind::StructDeclaration:
        return Flow::Normal;
    case AstKind::Literal:
    case AstKind::Identifier:
    case AstKind::Unary:
    case AstKind::Binary:
    case AstKind::Ternary:
    case AstKind::Call:
    case AstKind::Constructor:
    case AstKind::Member:
    case AstKind::Index:
    case AstKind::StructField:
        evaluate(node);
        return Flow::Normal;
    }
    return Flow::Normal;
}

Interpreter::Flow Interpreter::execBlock(const AstNode &node, Value &returnSlot)
{
    for (const AstPtr &statement : node.statements) {
        const Flow flow = execStmt(*statement, returnSlot);
        if (flow != Flow::Normal)
            return flow;
    }
    return Flow::Normal;
}

Interpreter::Flow Interpreter::execDeclaration(const AstNode &node)
{
    if (node.left)
        declare(node, retagged(evaluate(*node.left), node.type, node.structName, m_structs));
    else
        declare(node, defaultValue(node.type, node.structName, m_structs));
    return Flow::Normal;
}

void Interpreter::declare(const AstNode &node, const Value &value)
{
    const auto known = m_environment->find(node.name);
    if (known != m_environment->end()) {
        *known = value;
        return;
    }
    const qsizetype weight = 1 + value.fields.size();
    if (m_liveVariables + weight > liveVariableLimit) {
        recordError(node.span, u"too many variables alive (limit %1)"_s.arg(liveVariableLimit));
        return;
    }
    m_liveVariables += weight;
    m_environment->insert(node.name, value);
}

Interpreter::Flow Interpreter::execIf(const AstNode &node, Value &returnSlot)
{
    if (evaluate(*node.condition).toBool())
        return node.left ? execStmt(*node.left, returnSlot) : Flow::Normal;
    return node.right ? execStmt(*node.right, returnSlot) : Flow::Normal;
}

Interpreter::Flow Interpreter::execFor(const AstNode &node, Value &returnSlot)
{
    if (node.left)
        execStmt(*node.left, returnSlot);
    for (int round = 0; round < loopRoundLimit; ++round) {
        if (isCancelled(node))
            return Flow::Return;
        if (!evaluate(*node.condition).toBool())
            break;
        const Flow flow = node.body ? execStmt(*node.body, returnSlot) : Flow::Normal;
        if (flow == Flow::Return)
            return flow;
        if (flow == Flow::Break)
            break;
        if (node.right)
            evaluate(*node.right);
    }
    return Flow::Normal;
}

Interpreter::Flow Interpreter::execWhile(const AstNode &node, Value &returnSlot)
{
    for (int round = 0; round < loopRoundLimit; ++round) {
        if (isCancelled(node))
            return Flow::Return;
        if (!evaluate(*node.condition).toBool())
            break;
        const Flow flow = node.body ? execStmt(*node.body, returnSlot) : Flow::Normal;
        if (flow == Flow::Return)
            return flow;
        if (flow == Flow::Break)
            break;
    }
    return Flow::Normal;
}

Interpreter::Flow Interpreter::execDoWhile(const AstNode &node, Value &returnSlot)
{
    for (int round = 0; round < loopRoundLimit; ++round) {
        if (isCancelled(node))
            return Flow::Return;
        const Flow flow = node.body ? execStmt(*node.body, returnSlot) : Flow::Normal;
        if (flow == Flow::Return)
            return flow;
        if (flow == Flow::Break || !evaluate(*node.condition).toBool())
            break;
    }
    return Flow::Normal;
}

Interpreter::Flow Interpreter::execSwitch(const AstNode &node, Value &returnSlot)
{
    const qint32 value = evaluate(*node.condition).toInt();
    bool matched = false;
    for (const AstPtr &caseBlock : node.statements) {
        matched = matched || isDefaultCase(*caseBlock) || caseNumber(*caseBlock) == value;
        if (!matched)
            continue;
        const Flow flow = execStmt(*caseBlock, returnSlot);
        if (flow == Flow::Break)
            break;
        if (flow != Flow::Normal)
            return flow;
    }
    return Flow::Normal;
}

Interpreter::Flow Interpreter::execReturn(const AstNode &node, Value &returnSlot)
{
    if (node.left) {
        const Value value = evaluate(*node.left);
        returnSlot = m_function
                         ? retagged(value, m_function->type, m_function->structName, m_structs)
                         : value;
    }
    return Flow::Return;
}

Interpreter::Flow Interpreter::execDiscard(const AstNode &node)
{
    if (m_reportRuntimeFaults)
        recordError(node.span, u"discard reached at runtime"_s);
    return Flow::Return;
}

} // namespace eval::internal
