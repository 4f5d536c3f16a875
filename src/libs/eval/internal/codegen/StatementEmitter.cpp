#include <eval/internal/codegen/StatementEmitter.h>

namespace eval::internal {

StatementEmitter::~StatementEmitter() = default;

void StatementEmitter::emitStatement(const AstNode &node)
{
    if (m_writer.unit().isTooLarge() || !m_writer.unit().isSupported())
        return;
    switch (node.kind) {
    case AstKind::Block:
        emitBlock(node);
        return;
    case AstKind::ExpressionStatement:
        m_expressions.emitExpression(*node.left);
        return;
    case AstKind::VariableDeclaration:
        emitDeclaration(node);
        return;
    case AstKind::If:
        emitIf(node);
        return;
    case AstKind::For:
    case AstKind::While:
    case AstKind::DoWhile:
        emitLoop(node);
        return;
    case AstKind::Switch:
        emitSwitch(node);
        return;
    case AstKind::Return:
        emitReturn(node);
        return;
    case AstKind::Discard:
        // A fault to be told, which compiled code has no way for: its zero would lie on a surface.
        m_writer.unit().setUnsupported();
        return;
    case AstKind::Break:
        emitBreak();
        return;
    case AstKind::Continue:
        emitContinue();
        return;
    default:
        m_expressions.emitExpression(node);
    }
}

void StatementEmitter::emitBlock(const AstNode &node)
{
    for (const AstPtr &statement : node.statements)
        emitStatement(*statement);
}

/// A declaration that is met again, in a loop or by the same name, sets the one variable anew.
void StatementEmitter::emitDeclaration(const AstNode &node)
{
    if (node.type != Type::Struct && !m_writer.unit().isVariableType(node.type)) {
        m_writer.unit().setUnsupported();
        return;
    }
    const QByteArray value =
        node.left
            ? m_writer.retag(m_expressions.emitExpression(*node.left), node.type, node.structName)
                  .text
            : m_writer.defaultText(node.type, node.structName);
    if (const CodeValue *const known = m_writer.variable(node.name)) {
        // Which of two types a name has would depend on the way taken.
        if (known->type != node.type || known->structName != node.structName)
            m_writer.unit().setUnsupported();
        m_writer.assign(known->text, value);
        return;
    }
    m_writer.assign(m_writer.declareVariable(node.name, node.type, node.structName).text, value);
}

void StatementEmitter::emitIf(const AstNode &node)
{
    m_writer.emitLine("if (" + m_expressions.condition(*node.condition) + ") {");
    m_writer.emitText(m_writer.nested([&] {
        if (node.left)
            emitStatement(*node.left);
    }));
    if (node.right) {
        m_writer.emitBrace("} else {");
        m_writer.emitText(m_writer.nested([&] { emitStatement(*node.right); }));
    }
    m_writer.emitBrace("}");
}

void StatementEmitter::emitLeave()
{
    m_writer.emitLine(function().type == Type::Void
                          ? QByteArray("return;")
                          : "return " +
                                m_writer.defaultText(function().type, function().structName) + ';');
}

void StatementEmitter::emitLeaveWith(const QByteArray &value)
{
    m_writer.emitLine("return " + value + ';');
}

void StatementEmitter::emitReturn(const AstNode &node)
{
    if (!node.left) {
        emitLeave();
        return;
    }
    const CodeValue value = m_expressions.emitExpression(*node.left);
    if (function().type == Type::Void)
        emitLeave();
    else
        emitLeaveWith(m_writer.retag(value, function().type, function().structName).text);
}

} // namespace eval::internal
