// What several points at a time need: masks in the place of branches, and values that are chosen
// lane by lane.

#include <eval/internal/CodegenBody.h>

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
    m_mask = maskedBy(stillOn());
    if (m_maskDepth == 0) {
        const bool isVoid = m_function->definition->type == Type::Void;
        emitLine("if (!anyLane(" + m_mask + (isVoid ? ")) return;" : ")) return result;"));
    }
}

void CodegenBody::emitMaskedLoop(const AstNode &node)
{
    const LaneLoop loop{newName('k'), newName('k')};
    const QByteArray outer = m_mask;
    const int returnsBefore = m_partReturns;
    emitLine("Bool " + loop.on + " = " + (outer.isEmpty() ? "active" : "active & " + outer) + ';');
    const auto leaveUnless = [&] {
        emitLine(loop.on + " = " + loop.on + " & " + condition(*node.condition) + ';');
        emitLine("if (!anyLane(" + loop.on + ")) break;");
    };
    emitLine(loopHead());
    const QByteArray body = nested([&] {
        if (m_unit.mustWatch(node))
            emitLine("if (_isCancelled()) break;");
        m_mask = loop.on;
        if (node.kind != AstKind::DoWhile)
            leaveUnless();
        emitLine("Bool " + loop.skipped + "{};");
        m_laneLoops.append(loop);
        ++m_maskDepth;
        const QByteArray inner = nested([&] {
            if (node.body)
                emitStatement(*node.body);
        });
        --m_maskDepth;
        m_laneLoops.removeLast();
        m_lines += m_indent + "{\n" + inner + m_indent + "}\n";
        m_mask = loop.on;
        if (node.kind == AstKind::DoWhile)
            leaveUnless();
        else if (node.kind == AstKind::For && node.right)
            emitExpression(*node.right);
    });
    m_lines += body + m_indent + "}\n";
    m_mask = outer;
    if (m_partReturns != returnsBefore)
        m_mask = maskedBy(stillOn());
}

/// `break` and `continue` of the lanes that are on.
void CodegenBody::emitMaskedJump(AstKind kind)
{
    const LaneLoop &loop = m_laneLoops.last();
    if (kind == AstKind::Break)
        emitLine(loop.on + " = " + loop.on + " & ~" + m_mask + ';');
    else
        emitLine(loop.skipped + " = " + loop.skipped + " | " + m_mask + ';');
    m_mask = nobody;
    ++m_partLeaves;
}

/// The lanes that are on leave with a value; the others go on. Empty text: with the default.
void CodegenBody::emitMaskedLeave(const QByteArray &value)
{
    if (!value.isEmpty())
        assign("result", value);
    // The mask may be that of a loop, which changes.
    const QByteArray leaving = keep(m_mask, Type::Bool).text;
    emitLine("left = left | " + leaving + ';');
    for (const LaneLoop &loop : std::as_const(m_laneLoops))
        emitLine(loop.on + " = " + loop.on + " & ~" + leaving + ';');
    m_mask = nobody;
    ++m_partLeaves;
    ++m_partReturns;
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
