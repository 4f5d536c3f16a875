#include <eval/internal/Lowering.h>

#include <eval/internal/BuiltinFunctions.h>

#include <algorithm>
#include <array>

namespace eval::internal {

namespace {

std::optional<BinaryKind> relationOf(BuiltinId id)
{
    switch (id) {
    case BuiltinId::LessThan:
        return BinaryKind::Less;
    case BuiltinId::LessThanEqual:
        return BinaryKind::LessOrEqual;
    case BuiltinId::GreaterThan:
        return BinaryKind::Greater;
    case BuiltinId::GreaterThanEqual:
        return BinaryKind::GreaterOrEqual;
    case BuiltinId::Equal:
        return BinaryKind::Equal;
    case BuiltinId::NotEqual:
        return BinaryKind::NotEqual;
    default:
        return std::nullopt;
    }
}

} // namespace

Lowering::Operand Lowering::builtin(const Builtin &builtin, const std::vector<Operand> &arguments)
{
    for (const Operand &argument : arguments) {
        if (laneCount(argument.type) == 0)
            return giveUp();
    }
    const auto inOperations = builtin.function.general ? vectorBuiltin(builtin.id, arguments)
                                                       : laneBuiltin(builtin, arguments);
    return inOperations ? *inOperations : external(builtin, arguments);
}

Lowering::Operand Lowering::external(const Builtin &builtin, const std::vector<Operand> &arguments)
{
    ExternalCall call;
    call.function = &builtin;
    std::vector<Value> samples;
    for (const Operand &argument : arguments) {
        call.argumentTypes.push_back(argument.type);
        call.arguments.insert(call.arguments.end(), argument.lanes.begin(), argument.lanes.end());
        samples.push_back(Value::zero(argument.type));
    }
    // The tag of a result follows from the tags of the arguments alone.
    call.resultType = applyBuiltin(builtin, samples).type;
    if (!isLowerable(call.resultType))
        return giveUp();
    Operand result = {call.resultType, {}, {}};
    for (const Register lane : m_code.callExternal(call, laneCount(call.resultType)))
        result.lanes.append(lane);
    return result;
}

std::optional<Lowering::Operand> Lowering::laneBuiltin(const Builtin &builtin,
                                                       const std::vector<Operand> &arguments)
{
    const auto &[onFloats, onInts] = builtin.ops;
    QVarLengthArray<Type, 3> types;
    for (const Operand &argument : arguments)
        types.append(argument.type);
    const Type type =
        laneFunctionType({types.constData(), arguments.size()}, builtin.function.integers);
    const bool allInts = std::ranges::all_of(
        arguments, [](const Operand &argument) { return kindOf(argument.type) == LaneKind::Int; });
    const bool isOnInts = allInts && kindOf(type) == LaneKind::Int && onInts != Op::End;
    if (!isOnInts && kindOf(type) != LaneKind::Float)
        return std::nullopt;
    Operand result = {type, {}, {}};
    for (int i = 0; i < laneCount(type); ++i) {
        std::array<Register, 3> lanes = {noRegister, noRegister, noRegister};
        for (size_t k = 0; k < arguments.size(); ++k) {
            const Operand &argument = arguments[k];
            const int at = isScalar(argument.type) ? 0 : i;
            if (at >= argument.lanes.size())
                return std::nullopt;
            lanes[k] = argument.lanes[at];
            // Through double a large integer keeps more digits than through float.
            if (!isOnInts && !asExactFloat(lanes[k], kindOf(argument.type)))
                return std::nullopt;
        }
        const Op op = isOnInts ? onInts : onFloats;
        result.lanes.append(op == Op::Move ? lanes[0]
                                           : m_code.compute(op, lanes[0], lanes[1], lanes[2]));
    }
    return result;
}

Lowering::Operand Lowering::dotOf(const Operand &a, const Operand &b)
{
    Register sum = noRegister;
    for (qsizetype i = 0; i < a.lanes.size(); ++i) {
        const Register product = m_code.compute(Op::MulF, a.lanes[i], b.lanes[i]);
        sum = i == 0 ? product : m_code.compute(Op::AddF, sum, product);
    }
    return {Type::Float, {}, {sum}};
}

Lowering::Operand Lowering::lengthOf(const Operand &a)
{
    const Lanes &lanes = a.lanes;
    switch (lanes.size()) {
    case 1:
        return {Type::Float, {}, {m_code.compute(Op::AbsF, lanes[0])}};
    case 2:
        return {Type::Float, {}, {m_code.compute(Op::Length2F, lanes[0], lanes[1])}};
    case 3:
        return {Type::Float, {}, {m_code.compute(Op::Length3F, lanes[0], lanes[1], lanes[2])}};
    default:
        return {Type::Float, {}, {m_code.compute(Op::SqrtF, dotOf(a, a).lanes[0])}};
    }
}

std::optional<Lowering::Operand> Lowering::vectorBuiltin(BuiltinId id,
                                                         const std::vector<Operand> &arguments)
{
    const Operand &a = arguments.front();
    if (isMatrix(a.type))
        return matrixBuiltin(id, arguments);
    if (const auto kind = relationOf(id))
        return relationBuiltin(*kind, arguments);
    if (id == BuiltinId::Any || id == BuiltinId::All) {
        Register sum = a.lanes[0];
        for (qsizetype i = 1; i < a.lanes.size(); ++i)
            sum = m_code.compute(id == BuiltinId::Any ? Op::OrI : Op::AndI, sum, a.lanes[i]);
        return boolean(sum);
    }
    if (id == BuiltinId::Not) {
        Operand result = a;
        for (Register &lane : result.lanes)
            lane = m_code.compute(Op::NotB, lane);
        return result;
    }
    if (id == BuiltinId::FloatBitsToInt && kindOf(a.type) == LaneKind::Float)
        return Operand{vectorOf(Type::Int, laneCount(a.type)), {}, a.lanes};
    if (id == BuiltinId::IntBitsToFloat && kindOf(a.type) == LaneKind::Int)
        return Operand{vectorOf(Type::Float, laneCount(a.type)), {}, a.lanes};
    const bool allFloat = std::ranges::all_of(arguments, [](const Operand &argument) {
        return kindOf(argument.type) == LaneKind::Float && !isMatrix(argument.type);
    });
    return allFloat ? geometryBuiltin(id, arguments) : std::nullopt;
}

std::optional<Lowering::Operand> Lowering::relationBuiltin(BinaryKind kind,
                                                           const std::vector<Operand> &arguments)
{
    const Operand &a = arguments[0];
    const Operand &b = arguments[1];
    if (!isScalar(b.type) && b.lanes.size() < a.lanes.size())
        return std::nullopt;
    Operand result = {vectorOf(Type::Bool, laneCount(a.type)), {}, {}};
    for (qsizetype i = 0; i < a.lanes.size(); ++i)
        result.lanes.append(compareLanes(kind, a.lanes[i], kindOf(a.type),
                                         b.lanes[isScalar(b.type) ? 0 : i], kindOf(b.type)));
    return result;
}

std::optional<Lowering::Operand> Lowering::matrixBuiltin(BuiltinId id,
                                                         const std::vector<Operand> &arguments)
{
    const Operand &a = arguments.front();
    if (id == BuiltinId::Transpose) {
        const int columns = matrixColumns(a.type);
        const int rows = matrixRows(a.type);
        Operand result = {matrixOf(rows, columns), {}, a.lanes};
        for (int i = 0; i < columns * rows; ++i)
            result.lanes[(i % rows) * columns + i / rows] = a.lanes[i];
        return result;
    }
    if (id == BuiltinId::MatrixCompMult && arguments[1].type == a.type) {
        Operand result = a;
        for (qsizetype i = 0; i < a.lanes.size(); ++i)
            result.lanes[i] = m_code.compute(Op::MulF, a.lanes[i], arguments[1].lanes[i]);
        return result;
    }
    return std::nullopt;
}

std::optional<Lowering::Operand> Lowering::geometryBuiltin(BuiltinId id,
                                                           const std::vector<Operand> &arguments)
{
    const Operand &a = arguments[0];
    if (id == BuiltinId::Length)
        return lengthOf(a);
    if (id == BuiltinId::Normalize)
        return normalized(a);
    if (id == BuiltinId::Isnan || id == BuiltinId::Isinf) {
        Operand result = {vectorOf(Type::Bool, laneCount(a.type)), {}, {}};
        for (const Register lane : a.lanes)
            result.lanes.append(
                m_code.compute(id == BuiltinId::Isnan ? Op::IsNanF : Op::IsInfF, lane));
        return result;
    }
    for (const Operand &argument : arguments) {
        if (argument.type != a.type)
            return std::nullopt;
    }
    if (id == BuiltinId::Dot)
        return dotOf(a, arguments[1]);
    if (id == BuiltinId::Distance) {
        Operand difference = a;
        for (qsizetype i = 0; i < a.lanes.size(); ++i)
            difference.lanes[i] = m_code.compute(Op::SubF, a.lanes[i], arguments[1].lanes[i]);
        return lengthOf(difference);
    }
    if (id == BuiltinId::Cross && a.lanes.size() == 3)
        return crossOf(a, arguments[1]);
    if (id == BuiltinId::Reflect)
        return reflected(a, arguments[1]);
    if (id == BuiltinId::Faceforward)
        return facedForward(arguments);
    return std::nullopt;
}

Lowering::Operand Lowering::normalized(const Operand &a)
{
    const Register length = lengthOf(a).lanes[0];
    const Register isLong = m_code.compute(Op::NeF, length, m_code.constant(0.0f));
    Operand result = a;
    for (Register &lane : result.lanes)
        lane = m_code.compute(Op::Select, isLong, m_code.compute(Op::DivF, lane, length), lane);
    return result;
}

Lowering::Operand Lowering::crossOf(const Operand &a, const Operand &b)
{
    Operand result = {Type::Vec3, {}, {}};
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        result.lanes.append(m_code.compute(Op::SubF,
                                           m_code.compute(Op::MulF, a.lanes[j], b.lanes[k]),
                                           m_code.compute(Op::MulF, a.lanes[k], b.lanes[j])));
    }
    return result;
}

Lowering::Operand Lowering::reflected(const Operand &incident, const Operand &normal)
{
    const Register twice =
        m_code.compute(Op::MulF, m_code.constant(2.0f), dotOf(normal, incident).lanes[0]);
    Operand result = incident;
    for (qsizetype i = 0; i < result.lanes.size(); ++i)
        result.lanes[i] = m_code.compute(Op::SubF, incident.lanes[i],
                                         m_code.compute(Op::MulF, twice, normal.lanes[i]));
    return result;
}

Lowering::Operand Lowering::facedForward(const std::vector<Operand> &arguments)
{
    const Register side = dotOf(arguments[2], arguments[1]).lanes[0];
    const Register keeps = m_code.compute(Op::LtF, side, m_code.constant(0.0f));
    Operand result = arguments[0];
    for (Register &lane : result.lanes)
        lane = m_code.compute(Op::Select, keeps, lane, m_code.compute(Op::NegF, lane));
    return result;
}

} // namespace eval::internal
