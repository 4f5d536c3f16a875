// What several points at a time need: masks in the place of branches, and values that are chosen
// lane by lane.

#include <eval/internal/native/CodegenBody.h>

namespace eval::internal {

namespace {

/// The mask of what stands behind a jump.
const QByteArray nobody = "Bool{}";

} // namespace

/// Those that have not left the loop or the function around.
QByteArray CodegenBody::stillOn() const
{
    if (m_laneLoops.isEmpty())
        return "(~left)";
    return '(' + m_laneLoops.last().on + " & ~" + m_laneLoops.last().skipped + ')';
}

void CodegenBody::emitMaskedIf(const AstNode &node, const QByteArray &chosen)
{
    const int leavesBefore = m_partLeaves;
    const auto [first, second] = lines.emitBranches(chosen, [&](int i, const QByteArray &) {
        const AstPtr &branch = i == 0 ? node.left : node.right;
        return branch ? m_writer.nested([&] { emitStatement(*branch); }) : QByteArray();
    });
    m_writer.emitText(first + second);
    if (m_partLeaves == leavesBefore)
        return;
    lines.setMask(lines.maskedBy(stillOn()));
    if (!lines.isInBranch()) {
        const bool isVoid = m_writer.function()->definition->type == Type::Void;
        m_writer.emitLine("if (!anyLane(" + lines.mask() +
                          (isVoid ? ")) return;" : ")) return result;"));
    }
}

void CodegenBody::emitMaskedLoop(const AstNode &node)
{
    const LaneLoop loop{m_writer.newName('k'), m_writer.newName('k')};
    const QByteArray outer = lines.mask();
    const int returnsBefore = m_partReturns;
    m_writer.emitLine("Bool " + loop.on + " = " +
                      (outer.isEmpty() ? "active" : "active & " + outer) + ';');
    const auto leaveUnless = [&] {
        m_writer.emitLine(loop.on + " = " + loop.on + " & " +
                          m_expressions.condition(*node.condition) + ';');
        m_writer.emitLine("if (!anyLane(" + loop.on + ")) break;");
    };
    m_writer.emitLine(loopHead());
    const QByteArray body = m_writer.nested([&] {
        if (m_unit.mustWatch(node))
            m_writer.emitLine("if (_isCancelled()) break;");
        lines.setMask(loop.on);
        if (node.kind != AstKind::DoWhile)
            leaveUnless();
        m_writer.emitLine("Bool " + loop.skipped + "{};");
        m_laneLoops.append(loop);
        lines.enterBranch();
        const QByteArray inner = m_writer.nested([&] {
            if (node.body)
                emitStatement(*node.body);
        });
        lines.leaveBranch();
        m_laneLoops.removeLast();
        m_writer.emitBrace("{");
        m_writer.emitText(inner);
        m_writer.emitBrace("}");
        lines.setMask(loop.on);
        if (node.kind == AstKind::DoWhile)
            leaveUnless();
        else if (node.kind == AstKind::For && node.right)
            m_expressions.emitExpression(*node.right);
    });
    m_writer.emitText(body);
    m_writer.emitBrace("}");
    lines.setMask(outer);
    if (m_partReturns != returnsBefore)
        lines.setMask(lines.maskedBy(stillOn()));
}

/// `break` and `continue` of the lanes that are on.
void CodegenBody::emitMaskedJump(AstKind kind)
{
    const LaneLoop &loop = m_laneLoops.last();
    if (kind == AstKind::Break)
        m_writer.emitLine(loop.on + " = " + loop.on + " & ~" + lines.mask() + ';');
    else
        m_writer.emitLine(loop.skipped + " = " + loop.skipped + " | " + lines.mask() + ';');
    lines.setMask(nobody);
    ++m_partLeaves;
}

/// The lanes that are on leave with a value; the others go on. Empty text: with the default.
void CodegenBody::emitMaskedLeave(const QByteArray &value)
{
    if (!value.isEmpty())
        m_writer.assign("result", value);
    // The mask may be that of a loop, which changes.
    const QByteArray leaving = m_writer.keep(lines.mask(), Type::Bool).text;
    m_writer.emitLine("left = left | " + leaving + ';');
    for (const LaneLoop &loop : std::as_const(m_laneLoops))
        m_writer.emitLine(loop.on + " = " + loop.on + " & ~" + leaving + ';');
    lines.setMask(nobody);
    ++m_partLeaves;
    ++m_partReturns;
}

} // namespace eval::internal
