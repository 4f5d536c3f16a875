#include <eval/internal/AssignmentLowering.h>

#include <eval/internal/ExpressionLowering.h>

namespace eval::internal {

LaneValue AssignmentLowering::assignment(const AstNode &node)
{
    const Target to = target(*node.left);
    if (m_values.hasFailed())
        return m_values.giveUp();
    if (node.binaryKind == BinaryKind::Assign) {
        const LaneValue value = m_expressions.lower(*node.right);
        return to.isValid && !m_values.hasFailed() ? writePlaces(to, value) : m_values.floatZero();
    }
    const LaneValue before = to.isValid ? readPlaces(to) : m_values.floatZero();
    const LaneValue right = m_expressions.lower(*node.right);
    if (!to.isValid || m_values.hasFailed())
        return m_values.floatZero();
    return writePlaces(
        to, m_context.arithmetic.binary(operatorOfAssignment(node.binaryKind), before, right));
}

LaneValue AssignmentLowering::step(const AstNode &node)
{
    const Target to = target(*node.left);
    if (!to.isValid || m_values.hasFailed())
        return m_values.floatZero();
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    const LaneValue before = readPlaces(to);
    const LaneValue after =
        writePlaces(to, m_context.arithmetic.stepped(before, isIncrement ? 1 : -1));
    return isPrefix ? after : before;
}

/// The places of a part of a place: lane i of the part is lane `part[i]` of the whole.
AssignmentLowering::LaneNumbers AssignmentLowering::composed(const LaneNumbers &whole,
                                                             const LaneNumbers &part)
{
    LaneNumbers lanes;
    for (const int lane : part) {
        if (lane < whole.size())
            lanes.append(whole[lane]);
    }
    return lanes;
}

AssignmentLowering::Target AssignmentLowering::target(const AstNode &node)
{
    if (!m_context.countNode())
        return {};
    switch (node.kind) {
    case AstKind::Index:
        return indexTarget(node);
    case AstKind::Identifier:
        return variableTarget(node);
    case AstKind::Member:
    case AstKind::StructField:
        return partTarget(node);
    default:
        m_code.fault();
        return {};
    }
}

AssignmentLowering::Target AssignmentLowering::variableTarget(const AstNode &node)
{
    const LaneValue value = m_expressions.identifier(node);
    const LoweredVariable *const variable = m_variables.find(node.name);
    if (m_values.hasFailed() || !variable || variable->known != Known::Yes)
        return {};
    Place place;
    for (int i = 0; i < value.lanes.size(); ++i)
        place.lanes.append(i);
    return {true, m_variables.indexOf(node.name), value.type, value.structName, {place}};
}

/// A field, or lanes of a vector.
AssignmentLowering::Target AssignmentLowering::partTarget(const AstNode &node)
{
    Target whole = target(*node.left);
    if (!whole.isValid)
        return whole;
    LaneNumbers part;
    if (node.kind == AstKind::StructField) {
        const StructLayout::Field *const field =
            m_values.fieldOf(whole.type, whole.structName, node.fieldIndex);
        if (!field)
            return {};
        whole.type = field->type;
        whole.structName = field->structName;
        for (int i = 0; i < field->count; ++i)
            part.append(field->first + i);
    } else {
        if (!isVector(whole.type)) {
            m_values.giveUp();
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

AssignmentLowering::Target AssignmentLowering::indexTarget(const AstNode &node)
{
    const Target whole = target(*node.left);
    const LaneValue at = m_expressions.lower(*node.right);
    if (!whole.isValid || m_values.hasFailed())
        return {};
    if (!isVector(whole.type) && !isMatrix(whole.type)) {
        m_code.fault();
        return {};
    }
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int limit = laneCount(whole.type) / rows;
    const auto reg = m_values.indexRegister(at, limit);
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

LaneValue AssignmentLowering::readPlaces(const Target &from)
{
    const LaneValue whole = m_variables.at(from.variable).value;
    LaneValue result;
    for (size_t i = 0; i < from.places.size(); ++i) {
        LaneValue part = {from.type, from.structName, {}};
        for (const int lane : from.places[i].lanes)
            part.lanes.append(whole.lanes[lane]);
        result = i == 0 ? part : m_values.selected(from.places[i].condition, part, result);
    }
    return result;
}

LaneValue AssignmentLowering::writePlaces(const Target &to, const LaneValue &value)
{
    const LaneValue stored = m_values.retaggedTo(value, to.type, to.structName);
    if (m_values.hasFailed())
        return stored;
    LaneValue &whole = m_variables.at(to.variable).value;
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
