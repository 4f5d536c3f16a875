#include <eval/internal/Lowering.h>

#include <QScopeGuard>

namespace eval::internal {

bool Lowering::statement(const AstNode &node)
{
    if (!enterNode())
        return false;
    ++m_nesting;
    const auto leave = qScopeGuard([this] { --m_nesting; });
    switch (node.kind) {
    case AstKind::Block:
        return block(node);
    case AstKind::ExpressionStatement:
        expression(*node.left);
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
        expression(node);
        return true;
    }
    return true;
}

bool Lowering::block(const AstNode &node)
{
    for (const AstPtr &child : node.statements) {
        if (!statement(*child) || m_failed)
            return false;
    }
    return true;
}

bool Lowering::declaration(const AstNode &node)
{
    const Operand value = node.left ? retaggedTo(expression(*node.left), node.type, node.structName)
                                    : zero(node.type, node.structName);
    Variable &variable = frame().variables[static_cast<size_t>(variableIndex(node.name))];
    variable = {value, Known::Yes, false};
    return true;
}

/// Leaves towards the end of a loop or switch. Outside of one the walk ends the function: rare
/// enough to be left to it.
bool Lowering::leaveFor(Meeting *meeting)
{
    if (!meeting) {
        giveUp();
        return false;
    }
    arrive(*meeting);
    m_code.jump(meeting->label);
    return false;
}

bool Lowering::returnStatement(const AstNode &node)
{
    Frame &function = frame();
    if (!function.function) {
        giveUp();
        return false;
    }
    if (node.left)
        function.result = retaggedTo(expression(*node.left), function.function->type,
                                     function.function->structName);
    if (!function.exit || m_failed)
        return false;
    if (node.left)
        moveLanes(function.exitLanes, function.result.lanes);
    return leaveFor(function.exit);
}

bool Lowering::discard()
{
    if (m_program.reportRuntimeFaults) {
        m_code.fault();
        return false;
    }
    return leaveFor(frame().exit);
}

bool Lowering::ifStatement(const AstNode &node)
{
    const Register condition = truth(expression(*node.condition));
    if (m_failed)
        return false;
    if (m_code.isConstant(condition))
        return runBranch(m_code.constantBits(condition) != 0 ? node.left.data()
                                                             : node.right.data());
    const bool small = (!node.left || isSmall(*node.left)) && (!node.right || isSmall(*node.right));
    return (small && selectIf(node, condition)) || branchIf(node, condition);
}

bool Lowering::runBranch(const AstNode *node)
{
    return !node || statement(*node);
}

/// Runs both branches and picks the values: cheaper than a jump where the branches are short, and
/// the points of a row stay together. False, with nothing made, when a branch turns out to contain
/// more than arithmetic.
bool Lowering::selectIf(const AstNode &node, Register condition)
{
    const CodeBuilder::Mark mark = m_code.mark();
    QStringList names = node.left ? assignedNames(*node.left) : QStringList();
    if (node.right)
        names += assignedNames(*node.right);
    for (const QString &name : std::as_const(names))
        variableIndex(name);
    const std::vector<Variable> before = frame().variables;
    bool goesOn = runBranch(node.left.data());
    const std::vector<Variable> afterThen = std::exchange(frame().variables, before);
    goesOn = goesOn && runBranch(node.right.data());
    if (m_failed)
        return false;
    if (!goesOn || !m_code.isHarmlessSince(mark)) {
        m_code.fallBack(mark);
        frame().variables = before;
        return false;
    }
    mergeSelected(condition, afterThen, names);
    return true;
}

/// Takes the variables as they are now for the ways on which the condition does not hold.
void Lowering::mergeSelected(Register condition, const std::vector<Variable> &yes,
                             const QStringList &names)
{
    for (const QString &name : names) {
        const auto index = static_cast<size_t>(variableIndex(name));
        Variable &variable = frame().variables[index];
        if (yes[index].known != variable.known)
            variable.known = Known::Maybe;
        else if (variable.known == Known::Yes)
            variable.value = selected(condition, yes[index].value, variable.value);
    }
}

bool Lowering::branchIf(const AstNode &node, Register condition)
{
    if (m_failed)
        return false;
    QStringList names = node.left ? assignedNames(*node.left) : QStringList();
    if (node.right)
        names += assignedNames(*node.right);
    Meeting end = meetingFor(names);
    const CodeBuilder::Label otherwise = m_code.newLabel();
    const std::vector<Variable> before = frame().variables;
    m_code.jumpIfNot(condition, otherwise);

    m_code.openScope();
    const bool thenGoesOn = runBranch(node.left.data());
    const std::vector<Variable> afterThen = frame().variables;
    if (thenGoesOn && node.right) {
        arrive(end);
        m_code.jump(end.label);
    }
    m_code.closeScope();
    frame().variables = before;
    if (!thenGoesOn) {
        // Nothing comes back from there, and the rest of the way needs no meeting.
        m_code.bind(otherwise);
        return runBranch(node.right.data());
    }
    if (!node.right) {
        return meetWithoutElse(end, otherwise, afterThen, before);
    }
    m_code.bind(otherwise);
    m_code.openScope();
    if (runBranch(node.right.data()))
        arrive(end);
    m_code.closeScope();
    enter(end);
    return true;
}

bool Lowering::meetWithoutElse(Meeting &end, CodeBuilder::Label otherwise,
                               const std::vector<Variable> &afterThen,
                               const std::vector<Variable> &before)
{
    frame().variables = afterThen;
    arrive(end);
    m_code.jump(end.label);
    frame().variables = before;
    m_code.bind(otherwise);
    arrive(end);
    enter(end);
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
bool Lowering::loop(const AstNode &node)
{
    const bool testsAtEnd = node.kind == AstKind::DoWhile;
    if (node.kind == AstKind::For && node.left && !statement(*node.left))
        return false;
    Meeting head = meetingFor(assignedNames(node));
    arrive(head);
    const Register rounds = m_code.newRegister();
    m_code.move({{rounds, m_code.constant(0u)}});
    // What only the body declares is bound on the later rounds alone.
    for (Variable &variable : head.met)
        variable.known = variable.known == Known::Yes ? Known::Yes : Known::Maybe;
    Meeting exit = head;
    exit.label = m_code.newLabel();
    Meeting next = head;
    next.label = m_code.newLabel();
    next.reached = false;

    enter(head);
    m_code.openScope();
    m_code.loopGuard(rounds, exit.label);
    if (!testsAtEnd)
        leaveUnless(*node.condition, exit);
    m_code.openScope();
    const LoopTargets outer = std::exchange(m_targets, {&exit, &next});
    if (!m_failed && runBranch(node.body.data()))
        arrive(next);
    m_targets = outer;
    m_code.closeScope();
    if (next.reached && !m_failed) {
        enter(next);
        if (testsAtEnd)
            leaveUnless(*node.condition, exit);
        else if (node.kind == AstKind::For && node.right)
            expression(*node.right);
        arrive(head);
        m_code.jump(head.label);
    }
    m_code.closeScope();
    enter(exit);
    return !m_failed;
}

void Lowering::leaveUnless(const AstNode &conditionNode, Meeting &exit)
{
    const Register condition = truth(expression(conditionNode));
    if (m_failed)
        return;
    // Without side effects in the condition there is nothing to move; with them both ways want the
    // new values.
    arrive(exit);
    settle(exit);
    m_code.jumpIfNot(condition, exit.label);
}

bool Lowering::switchStatement(const AstNode &node)
{
    const Operand value = expression(*node.condition);
    if (m_failed || laneCount(value.type) == 0) {
        giveUp();
        return false;
    }
    const Register number = convert(value.lanes[0], kindOf(value.type), LaneKind::Int);
    Meeting exit = meetingFor(assignedNames(node));
    arrive(exit);
    // Every case can be reached from the head or from the case before it, with the same registers.
    Meeting entry = exit;
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
    for (size_t i = 0; i < labels.size() && !m_failed; ++i) {
        Meeting here = entry;
        here.label = labels[i];
        if (goesOn)
            arrive(here);
        enter(here);
        m_code.closeScope();
        m_code.openScope();
        goesOn = statement(*node.statements[static_cast<qsizetype>(i)]);
    }
    m_targets = outer;
    if (goesOn)
        arrive(exit);
    m_code.closeScope();
    enter(exit);
    return !m_failed;
}

void Lowering::jumpIfCase(const AstNode &caseBlock, Register number, CodeBuilder::Label label)
{
    const auto wanted = caseNumber(caseBlock);
    if (isDefaultCase(caseBlock))
        m_code.jump(label);
    else if (wanted)
        m_code.jumpIf(
            m_code.compute(Op::EqI, number, m_code.constant(static_cast<quint32>(*wanted))), label);
}

} // namespace eval::internal
