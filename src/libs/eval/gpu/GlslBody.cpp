#include <eval/gpu/GlslBody.h>

#include <eval/gpu/GlslText.h>

#include <QSet>

namespace eval::gpu {

using namespace internal;

void GlslBody::emitBreak()
{
    if (m_breakDepth > 0)
        m_writer.emitLine("break;");
    else
        emitLeave();
}

void GlslBody::emitContinue()
{
    if (m_loopDepth > 0)
        m_writer.emitLine("continue;");
    else
        emitLeave();
}

/// As it stands in the source where GLSL can say it: condition and step without statements of their
/// own. Otherwise step and condition go to the top, behind a flag that the first round has passed,
/// so that a `continue` finds them.
void GlslBody::emitLoop(const AstNode &node)
{
    if (node.kind == AstKind::For && node.left)
        emitStatement(*node.left);
    const bool isCounted = m_unit.mustCount(node);
    const QByteArray rounds = isCounted ? m_writer.newName('r') : QByteArray();
    if (isCounted)
        m_writer.emitLine("int " + rounds + " = 0;");

    QByteArray goesOn;
    const QByteArray asking =
        m_writer.nested([&] { goesOn = m_expressions.condition(*node.condition); });
    const QByteArray step = m_writer.nested([&] {
        if (node.kind == AstKind::For && node.right)
            m_expressions.emitExpression(*node.right);
    });
    const auto emitBody = [&] {
        ++m_loopDepth;
        ++m_breakDepth;
        if (node.body)
            emitStatement(*node.body);
        --m_loopDepth;
        --m_breakDepth;
    };
    const QByteArray indent = m_writer.indent();
    const QByteArray guard =
        isCounted ? indent + "    if (evalIsSpent(" + rounds + ")) break;\n" : QByteArray();
    if (node.kind != AstKind::DoWhile && asking.isEmpty() && step.count('\n') <= 1) {
        const QByteArray trimmed = step.trimmed();
        m_writer.emitLine("for (; " + goesOn + "; " + trimmed.first(qMax(0, trimmed.size() - 1)) +
                          ") {");
        m_writer.emitText(guard + m_writer.nested(emitBody) + indent + "}\n");
        return;
    }
    const QByteArray isLater = m_writer.newName('k');
    m_writer.emitLine("bool " + isLater + " = false;");
    m_writer.emitLine("for (;;) {");
    const QByteArray leave = indent + "    if (!" + goesOn + ") break;\n";
    const bool asksFirst = node.kind != AstKind::DoWhile;
    m_writer.emitText(guard + indent + "    if (" + isLater + ") {\n" +
                      (asksFirst ? step : asking + leave) + indent + "    }\n" + indent + "    " +
                      isLater + " = true;\n" + (asksFirst ? asking + leave : QByteArray()) +
                      m_writer.nested(emitBody) + indent + "}\n");
}

/// The block that is entered is the first that matches, where `default` always does; what stands
/// behind it can only be fallen into.
void GlslBody::emitSwitch(const AstNode &node)
{
    const CodeValue value = m_expressions.emitExpression(*node.condition);
    QSet<qint32> seen;
    bool sawDefault = false;
    bool isOpen = false;
    ++m_breakDepth;
    const QByteArray cases = m_writer.nested([&] {
        for (const AstPtr &block : node.statements) {
            const auto number = caseNumber(*block);
            const bool isDefault = isDefaultCase(*block);
            const bool isEntered =
                !sawDefault && (isDefault || (number && !seen.contains(*number)));
            if (isEntered)
                m_writer.emitLine(isDefault ? QByteArray("default:")
                                            : "case " + glslLiteral(*number, Type::Int) + ':');
            sawDefault = sawDefault || isDefault;
            if (number)
                seen.insert(*number);
            isOpen = isOpen || isEntered;
            const QByteArray body = m_writer.nested([&] { emitBlock(*block); });
            if (isOpen)
                m_writer.emitText(m_writer.indent() + "{\n" + body + m_writer.indent() + "}\n");
        }
        m_writer.emitLine("break;");
    });
    --m_breakDepth;
    if (!isOpen)
        return;
    m_writer.emitBrace("switch (" + m_writer.laneAs(value, 0, Type::Int) + ") {");
    m_writer.emitText(cases);
    m_writer.emitBrace("}");
}

} // namespace eval::gpu
