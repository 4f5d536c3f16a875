// Statements keep their structure: C++ has the same. What differs is put in the words of C++: a
// `continue` must still run the step of its loop and so is a jump to behind the body, a switch
// of this language runs everything from the first case that matches, and a variable is declared
// once for all blocks that name it.

#include <eval/internal/native/CodegenBody.h>

#include <eval/internal/frontend/AstWalk.h>
#include <eval/internal/interpreter/Interpreter.h>

namespace eval::internal {

namespace {

/// Whether something in a statement may end it, a loop around it or the function.
bool jumpsOut(const AstPtr &statement)
{
    bool jumps = false;
    const auto look = [&jumps](const AstNode &node) {
        jumps = jumps || node.kind == AstKind::Break || node.kind == AstKind::Continue ||
                node.kind == AstKind::Return || node.kind == AstKind::Discard;
    };
    forEachNode(statement, look);
    return jumps;
}

} // namespace

void CodegenBody::emitStatement(const AstNode &node)
{
    if (m_unit.isTooLarge() || !m_unit.isSupported())
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
        m_unit.setUnsupported();
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

/// Outside of everything it ends the function, as in the interpreter.
void CodegenBody::emitBreak()
{
    if (!m_laneLoops.isEmpty())
        emitMaskedJump(AstKind::Break);
    else if (m_breakDepth > 0)
        m_writer.emitLine("break;");
    else
        emitLeave();
}

void CodegenBody::emitContinue()
{
    if (!m_laneLoops.isEmpty()) {
        emitMaskedJump(AstKind::Continue);
    } else if (m_plainLoops.isEmpty()) {
        emitLeave();
    } else {
        m_plainLoops.last().isContinued = true;
        m_writer.emitLine("goto " + m_plainLoops.last().continueLabel + ';');
    }
}

void CodegenBody::emitBlock(const AstNode &node)
{
    for (const AstPtr &statement : node.statements)
        emitStatement(*statement);
}

/// A declaration that is met again, in a loop or by the same name, sets the one variable anew.
void CodegenBody::emitDeclaration(const AstNode &node)
{
    if (node.type != Type::Struct && !isNativeVariableType(node.type)) {
        m_unit.setUnsupported();
        return;
    }
    const QByteArray type = m_unit.typeText(node.type, node.structName);
    const QByteArray value =
        node.left
            ? m_writer.retag(m_expressions.emitExpression(*node.left), node.type, node.structName)
                  .text
            : type + "{}";
    if (const Operand *const known = m_writer.variable(node.name)) {
        // Which of two types a name has would depend on the way taken.
        if (known->type != node.type || known->structName != node.structName)
            m_unit.setUnsupported();
        m_writer.assign(known->text, value);
        return;
    }
    m_writer.assign(m_writer.declareVariable(node.name, node.type, node.structName).text, value);
}

void CodegenBody::emitIf(const AstNode &node)
{
    const QByteArray chosen = m_expressions.condition(*node.condition);
    if (m_unit.isForLanes()) {
        emitMaskedIf(node, chosen);
        return;
    }
    m_writer.emitLine("if (" + chosen + ") {");
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

/// The condition has statements of its own, so every loop is one that a break leaves. `continue`
/// jumps behind the body, where the step of a `for` stands.
void CodegenBody::emitLoop(const AstNode &node)
{
    if (node.kind == AstKind::For && node.left)
        emitStatement(*node.left);
    // Where a loop counts and nothing leaves it, all lanes go round together.
    if (m_unit.isForLanes() && (m_unit.mustWatch(node) || jumpsOut(node.body))) {
        emitMaskedLoop(node);
        return;
    }
    const auto leaveUnless = [&] {
        const QByteArray goesOn = m_expressions.condition(*node.condition);
        m_writer.emitLine(
            "if (!" +
            (m_unit.isForLanes() ? "anyLane(" + m_writer.maskedBy(goesOn) + ')' : goesOn) +
            ") break;");
    };
    m_writer.emitLine(loopHead());
    const QByteArray body = m_writer.nested([&] {
        if (m_unit.mustWatch(node))
            m_writer.emitLine("if (_isCancelled()) break;");
        if (node.kind != AstKind::DoWhile)
            leaveUnless();
        m_plainLoops.append({m_writer.newName('c'), false});
        ++m_breakDepth;
        const QByteArray inner = m_writer.nested([&] {
            if (node.body)
                emitStatement(*node.body);
        });
        --m_breakDepth;
        m_writer.emitBrace("{");
        m_writer.emitText(inner);
        m_writer.emitBrace("}");
        const PlainLoop loop = m_plainLoops.takeLast();
        if (loop.isContinued)
            m_writer.emitBrace(loop.continueLabel + ":;");
        if (node.kind == AstKind::DoWhile)
            leaveUnless();
        else if (node.kind == AstKind::For && node.right)
            m_expressions.emitExpression(*node.right);
    });
    m_writer.emitText(body);
    m_writer.emitBrace("}");
}

/// No loop has more rounds than the language allows.
QByteArray CodegenBody::loopHead()
{
    const QByteArray round = m_writer.newName('r');
    return "for (int " + round + " = 0; " + round + " < " +
           QByteArray::number(Interpreter::loopRoundLimit) + "; ++" + round + ") {";
}

/// A switch that is entered at its top: the blocks decide for themselves, from the first that
/// matches on, and a break leaves it.
void CodegenBody::emitSwitch(const AstNode &node)
{
    const Operand value = m_expressions.emitExpression(*node.condition);
    if (!isNativeLaneType(value.type) || m_unit.isForLanes()) {
        m_unit.setUnsupported();
        return;
    }
    const QByteArray chosen =
        m_writer.keep(nativeCast(nativeLane(value, 0), scalarOf(value.type), Type::Int), Type::Int)
            .text;
    const QByteArray matched = m_writer.newName('k');
    m_writer.emitLine("switch (0) {");
    m_writer.emitLine("default: {");
    const QByteArray cases = m_writer.nested([&] {
        m_writer.emitLine("bool " + matched + " = false;");
        ++m_breakDepth;
        for (const AstPtr &block : node.statements) {
            const auto number = caseNumber(*block);
            const QByteArray own = isDefaultCase(*block) ? "true"
                                   : number              ? chosen + " == " + nativeInteger(*number)
                                                         : "false";
            m_writer.emitLine(matched + " = " + matched + " || " + own + ';');
            m_writer.emitLine("if (" + matched + ") {");
            m_writer.emitText(m_writer.nested([&] { emitBlock(*block); }));
            m_writer.emitBrace("}");
        }
        --m_breakDepth;
    });
    m_writer.emitText(cases);
    m_writer.emitBrace("}");
    m_writer.emitBrace("}");
}

/// Without a value: the caller gets the default.
void CodegenBody::emitLeave()
{
    if (!m_writer.mask().isEmpty()) {
        emitMaskedLeave({});
        return;
    }
    const AstNode &function = *m_writer.function()->definition;
    // With the type's name: braces alone are no value of several lanes.
    m_writer.emitLine(function.type == Type::Void
                          ? QByteArray("return;")
                          : "return " + m_unit.typeText(function.type, function.structName) +
                                "{};");
}

void CodegenBody::emitReturn(const AstNode &node)
{
    const AstNode &function = *m_writer.function()->definition;
    if (!node.left) {
        emitLeave();
        return;
    }
    const Operand value = m_expressions.emitExpression(*node.left);
    if (function.type == Type::Void) {
        emitLeave();
        return;
    }
    if (!m_writer.mask().isEmpty()) {
        emitMaskedLeave(m_writer.retag(value, function.type, function.structName).text);
        return;
    }
    m_writer.emitLine("return " + m_writer.retag(value, function.type, function.structName).text +
                      ';');
}

} // namespace eval::internal
