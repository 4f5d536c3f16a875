// What several points at a time need: masks in the place of branches, and values that are chosen
// lane by lane.

#include <eval/internal/CodegenBody.h>

namespace eval::internal {

/// A condition that sends all lanes the same way.
QByteArray CodegenBody::branchCondition(const QByteArray &chosen) const
{
    if (!m_unit.isForLanes())
        return chosen;
    return "oneWay(" + chosen + ", " + (m_mask.isEmpty() ? "splat(true)" : m_mask) + ", parted)";
}

/// Of the lanes that are on, those for which a condition holds.
QByteArray CodegenBody::maskedBy(const QByteArray &condition)
{
    return keep(m_mask.isEmpty() ? condition : '(' + m_mask + " & " + condition + ')', Type::Bool)
        .text;
}

void CodegenBody::assign(const QByteArray &target, const QByteArray &value)
{
    emitLine(target + " = " +
             (m_mask.isEmpty() ? value : "select(" + m_mask + ", " + value + ", " + target + ')') +
             ';');
}

/// A block that does nothing unless one of its lanes is on; a short one is not worth the question.
QByteArray CodegenBody::guarded(const QByteArray &block, const QByteArray &mask) const
{
    if (block.isEmpty())
        return {};
    const bool isShort = block.count('\n') <= 4 && !block.contains("fn") && !block.contains("if (");
    return m_indent + (isShort ? "{\n" : "if (anyLane(" + mask + ")) {\n") + block + m_indent +
           "}\n";
}

void CodegenBody::emitMaskedIf(const AstNode &node, const QByteArray &chosen)
{
    const int leavesBefore = m_partLeaves;
    const auto [first, second] = emitBranches(chosen, [&](int i, const QByteArray &) {
        const AstPtr &branch = i == 0 ? node.left : node.right;
        return branch ? nested([&] { emitStatement(*branch); }) : QByteArray();
    });
    m_lines += first + second;
    if (m_partLeaves == leavesBefore)
        return;
    m_mask = maskedBy("(~left)");
    if (m_maskDepth == 0) {
        const bool isVoid = m_function->definition->type == Type::Void;
        emitLine("if (!anyLane(" + m_mask + (isVoid ? ")) return;" : ")) return result;"));
    }
}

/// The lanes that are on leave with a value; the others go on. Empty text: with the default.
void CodegenBody::emitMaskedLeave(const QByteArray &value)
{
    // Out of a loop or switch only all together.
    if (m_breakDepth > 0)
        m_unit.setUnsupported();
    if (!value.isEmpty())
        assign("result", value);
    emitLine("left = left | " + m_mask + ';');
    ++m_partLeaves;
}

QByteArray CodegenBody::functionText() const
{
    const AstNode &definition = *m_function->definition;
    const bool isVoid = definition.type == Type::Void;
    if (!m_unit.isForLanes())
        return text() + (isVoid ? "" : "    return {};\n");
    if (isVoid)
        return "    Bool left{};\n" + text();
    return "    " + m_unit.typeText(definition.type, definition.structName) +
           " result{};\n    Bool left{};\n" + text() + "    return result;\n";
}

} // namespace eval::internal
