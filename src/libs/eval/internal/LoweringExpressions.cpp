#include <eval/internal/Lowering.h>

#include <QScopeGuard>

namespace eval::internal {

namespace {

/// The places of a part of a place: lane i of the part is lane `part[i]` of the whole.
template<class List>
List composed(const List &whole, const List &part)
{
    List lanes;
    for (const int lane : part) {
        if (lane < whole.size())
            lanes.append(whole[lane]);
    }
    return lanes;
}

} // namespace

Lowering::Operand Lowering::expression(const AstNode &node)
{
    if (!enterNode())
        return giveUp();
    ++m_nesting;
    const auto leave = qScopeGuard([this] { --m_nesting; });
    return expressionOf(node);
}

Lowering::Operand Lowering::expressionOf(const AstNode &node)
{
    switch (node.kind) {
    case AstKind::Literal:
        return literal(node);
    case AstKind::Identifier:
        return identifier(node);
    case AstKind::Unary:
        if (node.unaryKind >= UnaryKind::PrefixIncrement)
            return step(node);
        return unary(node.unaryKind, expression(*node.left));
    case AstKind::Binary: {
        if (isAssignment(node.binaryKind))
            return assignment(node);
        const Operand left = expression(*node.left);
        return binary(node.binaryKind, left, expression(*node.right));
    }
    case AstKind::Ternary:
        return ternary(node);
    case AstKind::Call:
        return call(node);
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
    return giveUp();
}

Lowering::Operand Lowering::literal(const AstNode &node)
{
    if (!isLowerable(node.type))
        return giveUp();
    const Value value = qvariantToValue(node.literal, node.type, {}, m_program.structs);
    Operand result = {node.type, {}, {}};
    for (int i = 0; i < laneCount(node.type); ++i)
        result.lanes.append(
            m_code.constant(static_cast<quint32>(value.cells[static_cast<size_t>(i)])));
    return result;
}

Lowering::Operand Lowering::identifier(const AstNode &node)
{
    const auto it = frame().indexes.constFind(node.name);
    if (it == frame().indexes.constEnd())
        return faulted();
    const Variable &variable = frame().variables[static_cast<size_t>(*it)];
    if (variable.known == Known::No)
        return faulted();
    if (variable.known == Known::Maybe || variable.isForeign)
        return giveUp();
    return variable.value;
}

Lowering::Operand Lowering::ternaryBranch(const AstNode &node, const AstNode &branch)
{
    const Operand value = expression(branch);
    return retaggedTo(value, ternaryType(value.type, node.type), value.structName);
}

Lowering::Operand Lowering::ternary(const AstNode &node)
{
    const Register condition = truth(expression(*node.condition));
    if (m_failed)
        return giveUp();
    if (m_code.isConstant(condition))
        return ternaryBranch(node, m_code.constantBits(condition) != 0 ? *node.left : *node.right);
    const bool assigns =
        !assignedNames(*node.left).isEmpty() || !assignedNames(*node.right).isEmpty();
    if (!assigns && isSmall(node)) {
        const CodeBuilder::Mark mark = m_code.mark();
        const Operand yes = ternaryBranch(node, *node.left);
        const Operand no = ternaryBranch(node, *node.right);
        if (m_failed || m_code.isHarmlessSince(mark))
            return m_failed ? giveUp() : selected(condition, yes, no);
        m_code.fallBack(mark);
    }
    return branchTernary(node, condition);
}

Lowering::Operand Lowering::branchTernary(const AstNode &node, Register condition)
{
    QStringList names = assignedNames(*node.left);
    names += assignedNames(*node.right);
    Meeting end = meetingFor(names);
    const CodeBuilder::Label otherwise = m_code.newLabel();
    const std::vector<Variable> before = frame().variables;
    m_code.jumpIfNot(condition, otherwise);

    m_code.openScope();
    const Operand yes = ternaryBranch(node, *node.left);
    Operand result = yes;
    for (Register &lane : result.lanes)
        lane = m_code.newRegister();
    moveLanes(result.lanes, yes.lanes);
    arrive(end);
    m_code.jump(end.label);
    m_code.closeScope();

    frame().variables = before;
    m_code.bind(otherwise);
    m_code.openScope();
    const Operand no = ternaryBranch(node, *node.right);
    if (m_failed || no.type != yes.type || no.structName != yes.structName)
        return giveUp();
    moveLanes(result.lanes, no.lanes);
    arrive(end);
    m_code.closeScope();
    enter(end);
    return result;
}

void Lowering::moveLanes(const Lanes &to, const Lanes &from)
{
    CodeBuilder::Moves moves;
    for (qsizetype i = 0; i < std::min(to.size(), from.size()); ++i)
        moves.emplace_back(to[i], from[i]);
    m_code.move(moves);
}

Lowering::Operand Lowering::constructor(const AstNode &node)
{
    std::vector<Operand> arguments;
    for (const AstPtr &argument : node.arguments)
        arguments.push_back(expression(*argument));
    if (m_failed)
        return giveUp();
    if (node.type == Type::Struct)
        return constructStruct(node, arguments);
    if (!isLowerable(node.type))
        return giveUp();
    if (arguments.size() == 1) {
        const Operand &only = arguments.front();
        if (isMatrix(node.type) && isMatrix(only.type))
            return matrixFromMatrix(only, node.type);
        if (isScalar(node.type) || isScalar(only.type))
            return retaggedTo(only, node.type, node.structName);
    }
    Operand result = {node.type, {}, {}};
    for (const Operand &argument : arguments) {
        for (int i = 0; i < laneCount(argument.type); ++i) {
            if (result.lanes.size() < laneCount(node.type))
                result.lanes.append(
                    convert(argument.lanes[i], kindOf(argument.type), kindOf(node.type)));
        }
    }
    while (result.lanes.size() < laneCount(node.type))
        result.lanes.append(m_code.constant(0u));
    return result;
}

Lowering::Operand Lowering::constructStruct(const AstNode &node,
                                            const std::vector<Operand> &arguments)
{
    const Operand empty = zero(Type::Struct, node.structName);
    if (m_failed)
        return empty;
    const StructLayout layout = m_layouts.value(node.structName);
    Operand result = empty;
    for (size_t i = 0; i < std::min(layout.fields.size(), arguments.size()); ++i) {
        const StructLayout::Field &field = layout.fields[i];
        const Operand value = retaggedTo(arguments[i], field.type, field.structName);
        for (int lane = 0; !m_failed && lane < field.count; ++lane)
            result.lanes[field.first + lane] = value.lanes[lane];
    }
    return result;
}

Lowering::Operand Lowering::matrixFromMatrix(const Operand &source, Type type)
{
    Operand result = {type, {}, {}};
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

Lowering::Operand Lowering::member(const AstNode &node)
{
    const Operand whole = expression(*node.left);
    if (m_failed || laneCount(whole.type) == 0)
        return giveUp();
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    Operand part = {vectorOf(scalarOf(whole.type), count), {}, {}};
    for (int i = 0; i < count; ++i) {
        const int lane = swizzleLane(node.name[i]);
        part.lanes.append(lane < whole.lanes.size() ? whole.lanes[lane] : m_code.constant(0u));
    }
    return part;
}

Lowering::Operand Lowering::structField(const AstNode &node)
{
    const Operand whole = expression(*node.left);
    if (m_failed || whole.type != Type::Struct)
        return giveUp();
    const StructLayout *layout = layoutOf(whole.structName);
    if (!layout || node.fieldIndex < 0 ||
        node.fieldIndex >= static_cast<int>(layout->fields.size()))
        return giveUp();
    const StructLayout::Field &field = layout->fields[static_cast<size_t>(node.fieldIndex)];
    Operand part = {field.type, field.structName, {}};
    for (int i = 0; i < field.count; ++i)
        part.lanes.append(whole.lanes[field.first + i]);
    return part;
}

std::optional<Register> Lowering::indexRegister(const Operand &index, int limit)
{
    if (laneCount(index.type) == 0 || kindOf(index.type) == LaneKind::Float) {
        giveUp();
        return std::nullopt;
    }
    const Register reg = index.lanes[0];
    if (m_code.isConstant(reg)) {
        if (m_code.constantBits(reg) >= static_cast<quint32>(limit)) {
            m_code.fault();
            return std::nullopt;
        }
    } else {
        m_code.checkIndex(reg, static_cast<quint32>(limit));
    }
    return reg;
}

Lowering::Operand Lowering::index(const AstNode &node)
{
    const Operand whole = expression(*node.left);
    const Operand at = expression(*node.right);
    if (m_failed)
        return giveUp();
    if (!isVector(whole.type) && !isMatrix(whole.type))
        return faulted();
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int limit = laneCount(whole.type) / rows;
    const auto reg = indexRegister(at, limit);
    if (!reg)
        return {Type::Float, {}, {m_code.constant(0u)}};
    const auto part = [&](int number) {
        Operand column = {vectorOf(scalarOf(whole.type), rows), {}, {}};
        for (int row = 0; row < rows; ++row)
            column.lanes.append(whole.lanes[number * rows + row]);
        return column;
    };
    if (m_code.isConstant(*reg))
        return part(static_cast<int>(m_code.constantBits(*reg)));
    Operand result = part(0);
    for (int number = 1; number < limit; ++number) {
        const Register here =
            m_code.compute(Op::EqI, *reg, m_code.constant(static_cast<quint32>(number)));
        result = selected(here, part(number), result);
    }
    return result;
}

Lowering::Operand Lowering::assignment(const AstNode &node)
{
    const Target to = target(*node.left);
    if (m_failed)
        return giveUp();
    if (node.binaryKind == BinaryKind::Assign) {
        const Operand value = expression(*node.right);
        return to.valid && !m_failed ? writePlaces(to, value)
                                     : Operand{Type::Float, {}, {m_code.constant(0u)}};
    }
    const Operand before =
        to.valid ? readPlaces(to) : Operand{Type::Float, {}, {m_code.constant(0u)}};
    const Operand right = expression(*node.right);
    if (!to.valid || m_failed)
        return {Type::Float, {}, {m_code.constant(0u)}};
    return writePlaces(to, binary(operatorOfAssignment(node.binaryKind), before, right));
}

Lowering::Operand Lowering::step(const AstNode &node)
{
    const Target to = target(*node.left);
    if (!to.valid || m_failed)
        return {Type::Float, {}, {m_code.constant(0u)}};
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    const Operand before = readPlaces(to);
    const Operand after = writePlaces(to, stepped(before, isIncrement ? 1 : -1));
    return isPrefix ? after : before;
}

Lowering::Target Lowering::target(const AstNode &node)
{
    if (!enterNode())
        return {};
    if (node.kind == AstKind::Index)
        return indexTarget(node);
    if (node.kind == AstKind::Identifier) {
        const Operand value = identifier(node);
        const int variable = frame().indexes.value(node.name, -1);
        if (m_failed || variable < 0 ||
            frame().variables[static_cast<size_t>(variable)].known != Known::Yes)
            return {};
        Place place;
        for (int i = 0; i < value.lanes.size(); ++i)
            place.lanes.append(i);
        return {true, variable, value.type, value.structName, {place}};
    }
    if (node.kind != AstKind::Member && node.kind != AstKind::StructField) {
        m_code.fault();
        return {};
    }
    Target whole = target(*node.left);
    if (!whole.valid)
        return whole;
    LaneNumbers part;
    if (node.kind == AstKind::StructField) {
        const StructLayout *layout =
            whole.type == Type::Struct ? layoutOf(whole.structName) : nullptr;
        if (!layout || node.fieldIndex < 0 ||
            node.fieldIndex >= static_cast<int>(layout->fields.size())) {
            giveUp();
            return {};
        }
        const StructLayout::Field &field = layout->fields[static_cast<size_t>(node.fieldIndex)];
        whole.type = field.type;
        whole.structName = field.structName;
        for (int i = 0; i < field.count; ++i)
            part.append(field.first + i);
    } else {
        if (!isVector(whole.type)) {
            giveUp();
            return {};
        }
        for (const QChar letter : node.name.first(std::min<qsizetype>(node.name.size(), 4)))
            part.append(swizzleLane(letter));
        whole.type = vectorOf(scalarOf(whole.type), static_cast<int>(part.size()));
    }
    for (Place &place : whole.places)
        place.lanes = composed(place.lanes, part);
    return whole;
}

Lowering::Target Lowering::indexTarget(const AstNode &node)
{
    const Target whole = target(*node.left);
    const Operand at = expression(*node.right);
    if (!whole.valid || m_failed)
        return {};
    if (!isVector(whole.type) && !isMatrix(whole.type)) {
        m_code.fault();
        return {};
    }
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int limit = laneCount(whole.type) / rows;
    const auto reg = indexRegister(at, limit);
    if (!reg)
        return {};
    Target part = {true, whole.variable, vectorOf(scalarOf(whole.type), rows), {}, {}};
    const bool fixed = m_code.isConstant(*reg);
    for (int number = 0; number < limit; ++number) {
        const auto bits = static_cast<quint32>(number);
        if (fixed && m_code.constantBits(*reg) != bits)
            continue;
        LaneNumbers lanes;
        for (int row = 0; row < rows; ++row)
            lanes.append(number * rows + row);
        const Register here =
            fixed ? noRegister : m_code.compute(Op::EqI, *reg, m_code.constant(bits));
        for (const Place &place : whole.places) {
            const bool both = here != noRegister && place.condition != noRegister;
            const Register condition = both ? m_code.compute(Op::AndI, here, place.condition)
                                            : std::min(here, place.condition);
            part.places.push_back({condition, composed(place.lanes, lanes)});
        }
    }
    return part;
}

Lowering::Operand Lowering::readPlaces(const Target &from)
{
    const Operand whole = frame().variables[static_cast<size_t>(from.variable)].value;
    Operand result;
    for (size_t i = 0; i < from.places.size(); ++i) {
        Operand part = {from.type, from.structName, {}};
        for (const int lane : from.places[i].lanes)
            part.lanes.append(whole.lanes[lane]);
        result = i == 0 ? part : selected(from.places[i].condition, part, result);
    }
    return result;
}

Lowering::Operand Lowering::writePlaces(const Target &to, const Operand &value)
{
    const Operand stored = retaggedTo(value, to.type, to.structName);
    if (m_failed)
        return stored;
    Operand &whole = frame().variables[static_cast<size_t>(to.variable)].value;
    for (const Place &place : to.places) {
        for (qsizetype i = 0; i < std::min(place.lanes.size(), stored.lanes.size()); ++i) {
            Register &lane = whole.lanes[place.lanes[i]];
            lane = place.condition == noRegister
                       ? stored.lanes[i]
                       : m_code.compute(Op::Select, place.condition, stored.lanes[i], lane);
        }
    }
    return stored;
}

} // namespace eval::internal
