// Statements keep their structure: C++ has the same. What differs is put in the words of C++: a
// `continue` must still run the step of its loop and so is a jump to behind the body, a switch
// of this language runs everything from the first case that matches, and a variable is declared
// once for all blocks that name it.

#include <eval/internal/native/CodegenBody.h>

#include <eval/internal/frontend/AstWalk.h>
#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/native/NativeTypes.h>

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

void CodegenBody::emitIf(const AstNode &node)
{
    if (m_unit.isForLanes())
        emitMaskedIf(node, m_expressions.condition(*node.condition));
    else
        StatementEmitter::emitIf(node);
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
            "if (!" + (m_unit.isForLanes() ? "anyLane(" + lines.maskedBy(goesOn) + ')' : goesOn) +
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
    const CodeValue value = m_expressions.emitExpression(*node.condition);
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

void CodegenBody::emitLeave()
{
    if (lines.mask().isEmpty())
        StatementEmitter::emitLeave();
    else
        emitMaskedLeave({});
}

void CodegenBody::emitLeaveWith(const QByteArray &value)
{
    if (lines.mask().isEmpty())
        StatementEmitter::emitLeaveWith(value);
    else
        emitMaskedLeave(value);
}

} // namespace eval::internal
