#include <eval/internal/ExpressionLowering.h>

#include <QScopeGuard>

namespace eval::internal {

LaneValue ExpressionLowering::lower(const AstNode &node)
{
    if (!m_context.enterNode())
        return m_values.giveUp();
    const auto leave = qScopeGuard([this] { m_context.leaveNode(); });
    return lowerNode(node);
}

LaneValue ExpressionLowering::lowerNode(const AstNode &node)
{
    switch (node.kind) {
    case AstKind::Literal:
        return literal(node);
    case AstKind::Identifier:
        return identifier(node);
    case AstKind::Unary:
        if (node.unaryKind >= UnaryKind::PrefixIncrement)
            return m_assignments.step(node);
        return m_context.arithmetic.unary(node.unaryKind, lower(*node.left));
    case AstKind::Binary:
        return binary(node);
    case AstKind::Ternary:
        return ternary(node);
    case AstKind::Call:
        return m_calls.lower(node, arguments(node));
    case AstKind::Constructor:
        return constructor(node);
    case AstKind::Member:
        return member(node);
    case AstKind::StructField:
        return structField(node);
    case AstKind::Index:
        return index(node);
    case AstKind::Block:
    case AstKind::ExpressionStatement:
    case AstKind::VariableDeclaration:
    case AstKind::If:
    case AstKind::For:
    case AstKind::While:
    case AstKind::DoWhile:
    case AstKind::Return:
    case AstKind::Break:
    case AstKind::Continue:
    case AstKind::Discard:
    case AstKind::Switch:
    case AstKind::FunctionDefinition:
    case AstKind::StructDeclaration:
        break;
    }
    return m_values.giveUp();
}

Register ExpressionLowering::condition(const AstNode &node)
{
    return m_values.truth(lower(node));
}

std::vector<LaneValue> ExpressionLowering::arguments(const AstNode &node)
{
    std::vector<LaneValue> values;
    for (const AstPtr &argument : node.arguments)
        values.push_back(lower(*argument));
    return values;
}

LaneValue ExpressionLowering::binary(const AstNode &node)
{
    if (isAssignment(node.binaryKind))
        return m_assignments.assignment(node);
    const LaneValue left = lower(*node.left);
    return m_context.arithmetic.binary(node.binaryKind, left, lower(*node.right));
}

LaneValue ExpressionLowering::literal(const AstNode &node)
{
    if (!LaneValues::isLowerable(node.type))
        return m_values.giveUp();
    const Value value = qvariantToValue(node.literal, node.type, {}, m_context.program.structs);
    LaneValue result = {node.type, {}, {}};
    for (int i = 0; i < laneCount(node.type); ++i)
        result.lanes.append(
            m_code.constant(static_cast<quint32>(value.cells[static_cast<size_t>(i)])));
    return result;
}

LaneValue ExpressionLowering::identifier(const AstNode &node)
{
    const LoweredVariable *const variable = m_variables.find(node.name);
    if (!variable || variable->known == Known::No)
        return m_values.faulted();
    if (variable->known == Known::Maybe || variable->isForeign)
        return m_values.giveUp();
    return variable->value;
}

LaneValue ExpressionLowering::ternaryBranch(const AstNode &node, const AstNode &branch)
{
    const LaneValue value = lower(branch);
    return m_values.retaggedTo(value, ternaryType(value.type, node.type), value.structName);
}

LaneValue ExpressionLowering::ternary(const AstNode &node)
{
    const Register chosen = condition(*node.condition);
    if (m_values.hasFailed())
        return m_values.giveUp();
    if (m_code.isConstant(chosen))
        return ternaryBranch(node, m_code.constantBits(chosen) != 0 ? *node.left : *node.right);
    const bool assigns = !m_variables.assignedNames(node.left.data(), node.right.data()).isEmpty();
    if (!assigns && isSmall(node)) {
        const CodeBuilder::Mark mark = m_code.mark();
        const LaneValue yes = ternaryBranch(node, *node.left);
        const LaneValue no = ternaryBranch(node, *node.right);
        if (m_values.hasFailed() || m_code.isHarmlessSince(mark))
            return m_values.hasFailed() ? m_values.giveUp() : m_values.selected(chosen, yes, no);
        m_code.fallBack(mark);
    }
    return branchTernary(node, chosen);
}

LaneValue ExpressionLowering::branchTernary(const AstNode &node, Register chosen)
{
    Join end = m_variables.joinFor(m_variables.assignedNames(node.left.data(), node.right.data()));
    const CodeBuilder::Label otherwise = m_code.newLabel();
    const std::vector<LoweredVariable> before = m_variables.frame().variables;
    m_code.jumpIfNot(chosen, otherwise);

    m_code.openScope();
    const LaneValue yes = ternaryBranch(node, *node.left);
    LaneValue result = yes;
    for (Register &lane : result.lanes)
        lane = m_code.newRegister();
    m_values.moveLanes(result.lanes, yes.lanes);
    m_variables.arrive(end);
    m_code.jump(end.label);
    m_code.closeScope();

    m_variables.frame().variables = before;
    m_code.bind(otherwise);
    m_code.openScope();
    const LaneValue no = ternaryBranch(node, *node.right);
    if (m_values.hasFailed() || no.type != yes.type || no.structName != yes.structName)
        return m_values.giveUp();
    m_values.moveLanes(result.lanes, no.lanes);
    m_variables.arrive(end);
    m_code.closeScope();
    m_variables.enter(end);
    return result;
}

LaneValue ExpressionLowering::constructor(const AstNode &node)
{
    const std::vector<LaneValue> parts = arguments(node);
    if (m_values.hasFailed())
        return m_values.giveUp();
    if (node.type == Type::Struct)
        return constructStruct(node, parts);
    if (!LaneValues::isLowerable(node.type))
        return m_values.giveUp();
    if (parts.size() == 1) {
        const LaneValue &only = parts.front();
        if (isMatrix(node.type) && isMatrix(only.type))
            return matrixFromMatrix(only, node.type);
        if (isScalar(node.type) || isScalar(only.type))
            return m_values.retaggedTo(only, node.type, node.structName);
    }
    LaneValue result = {node.type, {}, {}};
    for (const LaneValue &argument : parts) {
        for (int i = 0; i < laneCount(argument.type); ++i) {
            if (result.lanes.size() < laneCount(node.type))
                result.lanes.append(m_values.convert(argument.lanes[i],
                                                     LaneValues::kindOf(argument.type),
                                                     LaneValues::kindOf(node.type)));
        }
    }
    while (result.lanes.size() < laneCount(node.type))
        result.lanes.append(m_code.constant(0u));
    return result;
}

LaneValue ExpressionLowering::constructStruct(const AstNode &node,
                                              const std::vector<LaneValue> &parts)
{
    const LaneValue empty = m_values.zero(Type::Struct, node.structName);
    if (m_values.hasFailed())
        return empty;
    const StructLayout layout = *m_values.layoutOf(node.structName);
    LaneValue result = empty;
    for (size_t i = 0; i < std::min(layout.fields.size(), parts.size()); ++i) {
        const StructLayout::Field &field = layout.fields[i];
        const LaneValue value = m_values.retaggedTo(parts[i], field.type, field.structName);
        for (int lane = 0; !m_values.hasFailed() && lane < field.count; ++lane)
            result.lanes[field.first + lane] = value.lanes[lane];
    }
    return result;
}

LaneValue ExpressionLowering::matrixFromMatrix(const LaneValue &source, Type type)
{
    LaneValue result = {type, {}, {}};
    const int rows = matrixRows(type);
    const int sourceRows = matrixRows(source.type);
    for (int i = 0; i < laneCount(type); ++i) {
        const int column = i / rows;
        const int row = i % rows;
        if (column < matrixColumns(source.type) && row < sourceRows)
            result.lanes.append(source.lanes[column * sourceRows + row]);
        else
            result.lanes.append(m_code.constant(column == row ? 1.0f : 0.0f));
    }
    return result;
}

LaneValue ExpressionLowering::member(const AstNode &node)
{
    const LaneValue whole = lower(*node.left);
    if (m_values.hasFailed() || laneCount(whole.type) == 0)
        return m_values.giveUp();
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    LaneValue part = {vectorOf(scalarOf(whole.type), count), {}, {}};
    for (int i = 0; i < count; ++i) {
        const int lane = swizzleLane(node.name[i]);
        part.lanes.append(lane < whole.lanes.size() ? whole.lanes[lane] : m_code.constant(0u));
    }
    return part;
}

LaneValue ExpressionLowering::structField(const AstNode &node)
{
    const LaneValue whole = lower(*node.left);
    if (m_values.hasFailed())
        return m_values.giveUp();
    const StructLayout::Field *const field =
        m_values.fieldOf(whole.type, whole.structName, node.fieldIndex);
    if (!field)
        return m_values.giveUp();
    LaneValue part = {field->type, field->structName, {}};
    for (int i = 0; i < field->count; ++i)
        part.lanes.append(whole.lanes[field->first + i]);
    return part;
}

LaneValue ExpressionLowering::index(const AstNode &node)
{
    const LaneValue whole = lower(*node.left);
    const LaneValue at = lower(*node.right);
    if (m_values.hasFailed())
        return m_values.giveUp();
    if (!isVector(whole.type) && !isMatrix(whole.type))
        return m_values.faulted();
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int limit = laneCount(whole.type) / rows;
    const auto reg = m_values.indexRegister(at, limit);
    if (!reg)
        return m_values.floatZero();
    const auto part = [&](int number) {
        LaneValue column = {vectorOf(scalarOf(whole.type), rows), {}, {}};
        for (int row = 0; row < rows; ++row)
            column.lanes.append(whole.lanes[number * rows + row]);
        return column;
    };
    if (m_code.isConstant(*reg))
        return part(static_cast<int>(m_code.constantBits(*reg)));
    LaneValue result = part(0);
    for (int number = 1; number < limit; ++number) {
        const Register here =
            m_code.compute(Op::EqI, *reg, m_code.constant(static_cast<quint32>(number)));
        result = m_values.selected(here, part(number), result);
    }
    return result;
}

} // namespace eval::internal
