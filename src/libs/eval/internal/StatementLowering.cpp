#include <eval/internal/StatementLowering.h>

#include <eval/internal/ExpressionLowering.h>

#include <QScopeGuard>

namespace eval::internal {

bool StatementLowering::lower(const AstNode &node)
{
    if (!m_context.enterNode())
        return false;
    const auto leave = qScopeGuard([this] { m_context.leaveNode(); });
    return lowerNode(node);
}

bool StatementLowering::lowerNode(const AstNode &node)
{
    switch (node.kind) {
    case AstKind::Block:
        return block(node);
    case AstKind::ExpressionStatement:
        m_expressions.lower(*node.left);
        return true;
    case AstKind::VariableDeclaration:
        return declaration(node);
    case AstKind::If:
        return ifStatement(node);
    case AstKind::For:
    case AstKind::While:
    case AstKind::DoWhile:
        return loop(node);
    case AstKind::Switch:
        return switchStatement(node);
    case AstKind::Return:
        return returnStatement(node);
    case AstKind::Break:
        return leaveFor(m_targets.onBreak);
    case AstKind::Continue:
        return leaveFor(m_targets.onContinue);
    case AstKind::Discard:
        return discard();
    case AstKind::FunctionDefinition:
    case AstKind::StructDeclaration:
        return true;
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
        m_expressions.lower(node);
        return true;
    }
    return true;
}

bool StatementLowering::lowerBody(const AstNode &body)
{
    const LoopTargets outer = std::exchange(m_targets, {});
    const bool goesOn = lower(body);
    m_targets = outer;
    return goesOn;
}

bool StatementLowering::block(const AstNode &node)
{
    for (const AstPtr &child : node.statements) {
        if (!lower(*child) || m_values.hasFailed())
            return false;
    }
    return true;
}

bool StatementLowering::declaration(const AstNode &node)
{
    const LaneValue value =
        node.left ? m_values.retaggedTo(m_expressions.lower(*node.left), node.type, node.structName)
                  : m_values.zero(node.type, node.structName);
    m_variables.at(m_variables.indexOf(node.name)) = {value, Known::Yes, false};
    return true;
}

/// Leaves towards the end of a loop or switch. Outside of one the walk ends the function: rare
/// enough to be left to it.
bool StatementLowering::leaveFor(Join *join)
{
    if (!join) {
        m_values.giveUp();
        return false;
    }
    m_variables.arrive(*join);
    m_code.jump(join->label);
    return false;
}

bool StatementLowering::returnStatement(const AstNode &node)
{
    LoweringFrame &function = m_variables.frame();
    if (!function.function) {
        m_values.giveUp();
        return false;
    }
    if (node.left)
        function.result =
            m_values.retaggedTo(m_expressions.lower(*node.left), function.function->type,
                                function.function->structName);
    if (!function.exit || m_values.hasFailed())
        return false;
    if (node.left)
        m_values.moveLanes(function.exitLanes, function.result.lanes);
    return leaveFor(function.exit);
}

bool StatementLowering::discard()
{
    if (m_context.program.reportRuntimeFaults) {
        m_code.fault();
        return false;
    }
    return leaveFor(m_variables.frame().exit);
}

bool StatementLowering::ifStatement(const AstNode &node)
{
    const Register condition = m_expressions.condition(*node.condition);
    if (m_values.hasFailed())
        return false;
    if (m_code.isConstant(condition))
        return lowerBranch(m_code.constantBits(condition) != 0 ? node.left.data()
                                                               : node.right.data());
    const bool small = (!node.left || isSmall(*node.left)) && (!node.right || isSmall(*node.right));
    return (small && selectIf(node, condition)) || branchIf(node, condition);
}

bool StatementLowering::lowerBranch(const AstNode *node)
{
    return !node || lower(*node);
}

/// Runs both branches and picks the values: cheaper than a jump where the branches are short, and
/// the points of a row stay together. False, with nothing made, when a branch turns out to contain
/// more than arithmetic.
bool StatementLowering::selectIf(const AstNode &node, Register condition)
{
    const CodeBuilder::Mark mark = m_code.mark();
    const QStringList names = m_variables.assignedNames(node.left.data(), node.right.data());
    for (const QString &name : names)
        m_variables.indexOf(name);
    const std::vector<LoweredVariable> before = m_variables.frame().variables;
    bool goesOn = lowerBranch(node.left.data());
    const std::vector<LoweredVariable> afterThen =
        std::exchange(m_variables.frame().variables, before);
    goesOn = goesOn && lowerBranch(node.right.data());
    if (m_values.hasFailed())
        return false;
    if (!goesOn || !m_code.isHarmlessSince(mark)) {
        m_code.fallBack(mark);
        m_variables.frame().variables = before;
        return false;
    }
    m_variables.mergeSelected(condition, afterThen, names);
    return true;
}

bool StatementLowering::branchIf(const AstNode &node, Register condition)
{
    if (m_values.hasFailed())
        return false;
    Join end = m_variables.joinFor(m_variables.assignedNames(node.left.data(), node.right.data()));
    const CodeBuilder::Label otherwise = m_code.newLabel();
    const std::vector<LoweredVariable> before = m_variables.frame().variables;
    m_code.jumpIfNot(condition, otherwise);

    m_code.openScope();
    const bool thenGoesOn = lowerBranch(node.left.data());
    const std::vector<LoweredVariable> afterThen = m_variables.frame().variables;
    if (thenGoesOn && node.right) {
        m_variables.arrive(end);
        m_code.jump(end.label);
    }
    m_code.closeScope();
    m_variables.frame().variables = before;
    if (!thenGoesOn) {
        // Nothing comes back from there, and the rest of the way needs no join.
        m_code.bind(otherwise);
        return lowerBranch(node.right.data());
    }
    if (!node.right)
        return joinWithoutElse(end, otherwise, afterThen, before);
    m_code.bind(otherwise);
    m_code.openScope();
    if (lowerBranch(node.right.data()))
        m_variables.arrive(end);
    m_code.closeScope();
    m_variables.enter(end);
    return true;
}

bool StatementLowering::joinWithoutElse(Join &end, CodeBuilder::Label otherwise,
                                        const std::vector<LoweredVariable> &afterThen,
                                        const std::vector<LoweredVariable> &before)
{
    m_variables.frame().variables = afterThen;
    m_variables.arrive(end);
    m_code.jump(end.label);
    m_variables.frame().variables = before;
    m_code.bind(otherwise);
    m_variables.arrive(end);
    m_variables.enter(end);
    return true;
}

/// All three loops have one shape, with the variables that the loop assigns in registers of their
/// own:
///
///     rounds = 0; variables <- current
///     head:     rounds used up? -> exit
///               condition (for, while); if not -> exit
///               body                              break -> exit, continue -> next
///     next:     step (for) or condition (do); variables <- current; -> head
///     exit:
bool StatementLowering::loop(const AstNode &node)
{
    const bool testsAtEnd = node.kind == AstKind::DoWhile;
    if (node.kind == AstKind::For && node.left && !lower(*node.left))
        return false;
    Join head = m_variables.joinFor(m_variables.assignedNames(node));
    m_variables.arrive(head);
    const Register rounds = m_code.newRegister();
    m_code.move({{rounds, m_code.constant(0u)}});
    // What only the body declares is bound on the later rounds alone.
    for (LoweredVariable &variable : head.joined)
        variable.known = variable.known == Known::Yes ? Known::Yes : Known::Maybe;
    Join exit = head;
    exit.label = m_code.newLabel();
    Join next = head;
    next.label = m_code.newLabel();
    next.isReached = false;

    m_variables.enter(head);
    m_code.openScope();
    m_code.loopGuard(rounds, exit.label);
    if (!testsAtEnd)
        leaveUnless(*node.condition, exit);
    m_code.openScope();
    const LoopTargets outer = std::exchange(m_targets, {&exit, &next});
    if (!m_values.hasFailed() && lowerBranch(node.body.data()))
        m_variables.arrive(next);
    m_targets = outer;
    m_code.closeScope();
    if (next.isReached && !m_values.hasFailed()) {
        m_variables.enter(next);
        if (testsAtEnd)
            leaveUnless(*node.condition, exit);
        else if (node.kind == AstKind::For && node.right)
            m_expressions.lower(*node.right);
        m_variables.arrive(head);
        m_code.jump(head.label);
    }
    m_code.closeScope();
    m_variables.enter(exit);
    return !m_values.hasFailed();
}

void StatementLowering::leaveUnless(const AstNode &conditionNode, Join &exit)
{
    const Register condition = m_expressions.condition(conditionNode);
    if (m_values.hasFailed())
        return;
    // Without side effects in the condition there is nothing to move; with them both ways want the
    // new values.
    m_variables.arrive(exit);
    m_variables.settle(exit);
    m_code.jumpIfNot(condition, exit.label);
}

bool StatementLowering::switchStatement(const AstNode &node)
{
    const LaneValue value = m_expressions.lower(*node.condition);
    if (m_values.hasFailed() || laneCount(value.type) == 0) {
        m_values.giveUp();
        return false;
    }
    const Register number =
        m_values.convert(value.lanes[0], LaneValues::kindOf(value.type), LaneKind::Int);
    Join exit = m_variables.joinFor(m_variables.assignedNames(node));
    m_variables.arrive(exit);
    // Every case can be reached from the head or from the case before it, with the same registers.
    Join entry = exit;
    std::vector<CodeBuilder::Label> labels;
    m_code.openScope();
    for (const AstPtr &caseBlock : node.statements) {
        labels.push_back(m_code.newLabel());
        jumpIfCase(*caseBlock, number, labels.back());
    }
    m_code.jump(exit.label);
    m_code.closeScope();
    const LoopTargets outer = std::exchange(m_targets, {&exit, m_targets.onContinue});
    m_code.openScope();
    bool goesOn = false;
    for (size_t i = 0; i < labels.size() && !m_values.hasFailed(); ++i) {
        Join here = entry;
        here.label = labels[i];
        if (goesOn)
            m_variables.arrive(here);
        m_variables.enter(here);
        m_code.closeScope();
        m_code.openScope();
        goesOn = lower(*node.statements[static_cast<qsizetype>(i)]);
    }
    m_targets = outer;
    if (goesOn)
        m_variables.arrive(exit);
    m_code.closeScope();
    m_variables.enter(exit);
    return !m_values.hasFailed();
}

void StatementLowering::jumpIfCase(const AstNode &caseBlock, Register number,
                                   CodeBuilder::Label label)
{
    const auto wanted = caseNumber(caseBlock);
    if (isDefaultCase(caseBlock))
        m_code.jump(label);
    else if (wanted)
        m_code.jumpIf(
            m_code.compute(Op::EqI, number, m_code.constant(static_cast<quint32>(*wanted))), label);
}

} // namespace eval::internal
