#include <eval/internal/BuiltinLowering.h>

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

LaneValue BuiltinLowering::lower(const Builtin &builtin, const std::vector<LaneValue> &arguments)
{
    for (const LaneValue &argument : arguments) {
        if (laneCount(argument.type) == 0)
            return m_values.giveUp();
    }
    const auto inOperations = builtin.function.general ? vectorBuiltin(builtin.id, arguments)
                                                       : laneBuiltin(builtin, arguments);
    return inOperations ? *inOperations : external(builtin, arguments);
}

LaneValue BuiltinLowering::external(const Builtin &builtin, const std::vector<LaneValue> &arguments)
{
    ExternalCall call;
    call.function = &builtin;
    std::vector<Value> samples;
    for (const LaneValue &argument : arguments) {
        call.argumentTypes.push_back(argument.type);
        call.arguments.insert(call.arguments.end(), argument.lanes.begin(), argument.lanes.end());
        samples.push_back(Value::zero(argument.type));
    }
    // The tag of a result follows from the tags of the arguments alone.
    call.resultType = applyBuiltin(builtin, samples).type;
    if (!LaneValues::isLowerable(call.resultType))
        return m_values.giveUp();
    LaneValue result = {call.resultType, {}, {}};
    for (const Register lane : m_code.callExternal(call, laneCount(call.resultType)))
        result.lanes.append(lane);
    return result;
}

std::optional<LaneValue> BuiltinLowering::laneBuiltin(const Builtin &builtin,
                                                      const std::vector<LaneValue> &arguments)
{
    const auto &[onFloats, onInts] = builtin.ops;
    QVarLengthArray<Type, 3> types;
    for (const LaneValue &argument : arguments)
        types.append(argument.type);
    const Type type =
        laneFunctionType({types.constData(), arguments.size()}, builtin.function.integers);
    const bool allInts = std::ranges::all_of(arguments, [](const LaneValue &argument) {
        return LaneValues::kindOf(argument.type) == LaneKind::Int;
    });
    const bool isOnInts = allInts && LaneValues::kindOf(type) == LaneKind::Int && onInts != Op::End;
    if (!isOnInts && LaneValues::kindOf(type) != LaneKind::Float)
        return std::nullopt;
    LaneValue result = {type, {}, {}};
    for (int i = 0; i < laneCount(type); ++i) {
        std::array<Register, 3> lanes = {noRegister, noRegister, noRegister};
        for (size_t k = 0; k < arguments.size(); ++k) {
            const LaneValue &argument = arguments[k];
            const int at = isScalar(argument.type) ? 0 : i;
            if (at >= argument.lanes.size())
                return std::nullopt;
            lanes[k] = argument.lanes[at];
            // Through double a large integer keeps more digits than through float.
            if (!isOnInts && !m_values.asExactFloat(lanes[k], LaneValues::kindOf(argument.type)))
                return std::nullopt;
        }
        const Op op = isOnInts ? onInts : onFloats;
        result.lanes.append(op == Op::Move ? lanes[0]
                                           : m_code.compute(op, lanes[0], lanes[1], lanes[2]));
    }
    return result;
}

LaneValue BuiltinLowering::dotOf(const LaneValue &a, const LaneValue &b)
{
    Register sum = noRegister;
    for (qsizetype i = 0; i < a.lanes.size(); ++i) {
        const Register product = m_code.compute(Op::MulF, a.lanes[i], b.lanes[i]);
        sum = i == 0 ? product : m_code.compute(Op::AddF, sum, product);
    }
    return {Type::Float, {}, {sum}};
}

LaneValue BuiltinLowering::lengthOf(const LaneValue &a)
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

std::optional<LaneValue> BuiltinLowering::vectorBuiltin(BuiltinId id,
                                                        const std::vector<LaneValue> &arguments)
{
    const LaneValue &a = arguments.front();
    if (isMatrix(a.type))
        return matrixBuiltin(id, arguments);
    if (const auto kind = relationOf(id))
        return relationBuiltin(*kind, arguments);
    if (id == BuiltinId::Any || id == BuiltinId::All) {
        Register sum = a.lanes[0];
        for (qsizetype i = 1; i < a.lanes.size(); ++i)
            sum = m_code.compute(id == BuiltinId::Any ? Op::OrI : Op::AndI, sum, a.lanes[i]);
        return m_values.boolean(sum);
    }
    if (id == BuiltinId::Not) {
        LaneValue result = a;
        for (Register &lane : result.lanes)
            lane = m_code.compute(Op::NotB, lane);
        return result;
    }
    if (id == BuiltinId::FloatBitsToInt && LaneValues::kindOf(a.type) == LaneKind::Float)
        return LaneValue{vectorOf(Type::Int, laneCount(a.type)), {}, a.lanes};
    if (id == BuiltinId::IntBitsToFloat && LaneValues::kindOf(a.type) == LaneKind::Int)
        return LaneValue{vectorOf(Type::Float, laneCount(a.type)), {}, a.lanes};
    const bool allFloat = std::ranges::all_of(arguments, [](const LaneValue &argument) {
        return LaneValues::kindOf(argument.type) == LaneKind::Float && !isMatrix(argument.type);
    });
    return allFloat ? geometryBuiltin(id, arguments) : std::nullopt;
}

std::optional<LaneValue> BuiltinLowering::relationBuiltin(BinaryKind kind,
                                                          const std::vector<LaneValue> &arguments)
{
    const LaneValue &a = arguments[0];
    const LaneValue &b = arguments[1];
    if (!isScalar(b.type) && b.lanes.size() < a.lanes.size())
        return std::nullopt;
    LaneValue result = {vectorOf(Type::Bool, laneCount(a.type)), {}, {}};
    for (qsizetype i = 0; i < a.lanes.size(); ++i)
        result.lanes.append(m_arithmetic.compareLanes(kind, a.lanes[i], LaneValues::kindOf(a.type),
                                                      b.lanes[isScalar(b.type) ? 0 : i],
                                                      LaneValues::kindOf(b.type)));
    return result;
}

std::optional<LaneValue> BuiltinLowering::matrixBuiltin(BuiltinId id,
                                                        const std::vector<LaneValue> &arguments)
{
    const LaneValue &a = arguments.front();
    if (id == BuiltinId::Transpose) {
        const int columns = matrixColumns(a.type);
        const int rows = matrixRows(a.type);
        LaneValue result = {matrixOf(rows, columns), {}, a.lanes};
        for (int i = 0; i < columns * rows; ++i)
            result.lanes[(i % rows) * columns + i / rows] = a.lanes[i];
        return result;
    }
    if (id == BuiltinId::MatrixCompMult && arguments[1].type == a.type) {
        LaneValue result = a;
        for (qsizetype i = 0; i < a.lanes.size(); ++i)
            result.lanes[i] = m_code.compute(Op::MulF, a.lanes[i], arguments[1].lanes[i]);
        return result;
    }
    return std::nullopt;
}

std::optional<LaneValue> BuiltinLowering::geometryBuiltin(BuiltinId id,
                                                          const std::vector<LaneValue> &arguments)
{
    const LaneValue &a = arguments[0];
    if (id == BuiltinId::Length)
        return lengthOf(a);
    if (id == BuiltinId::Normalize)
        return normalized(a);
    if (id == BuiltinId::Isnan || id == BuiltinId::Isinf) {
        LaneValue result = {vectorOf(Type::Bool, laneCount(a.type)), {}, {}};
        for (const Register lane : a.lanes)
            result.lanes.append(
                m_code.compute(id == BuiltinId::Isnan ? Op::IsNanF : Op::IsInfF, lane));
        return result;
    }
    for (const LaneValue &argument : arguments) {
        if (argument.type != a.type)
            return std::nullopt;
    }
    if (id == BuiltinId::Dot)
        return dotOf(a, arguments[1]);
    if (id == BuiltinId::Distance) {
        LaneValue difference = a;
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

LaneValue BuiltinLowering::normalized(const LaneValue &a)
{
    const Register length = lengthOf(a).lanes[0];
    const Register isLong = m_code.compute(Op::NeF, length, m_code.constant(0.0f));
    LaneValue result = a;
    for (Register &lane : result.lanes)
        lane = m_code.compute(Op::Select, isLong, m_code.compute(Op::DivF, lane, length), lane);
    return result;
}

LaneValue BuiltinLowering::crossOf(const LaneValue &a, const LaneValue &b)
{
    LaneValue result = {Type::Vec3, {}, {}};
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        result.lanes.append(m_code.compute(Op::SubF,
                                           m_code.compute(Op::MulF, a.lanes[j], b.lanes[k]),
                                           m_code.compute(Op::MulF, a.lanes[k], b.lanes[j])));
    }
    return result;
}

LaneValue BuiltinLowering::reflected(const LaneValue &incident, const LaneValue &normal)
{
    const Register twice =
        m_code.compute(Op::MulF, m_code.constant(2.0f), dotOf(normal, incident).lanes[0]);
    LaneValue result = incident;
    for (qsizetype i = 0; i < result.lanes.size(); ++i)
        result.lanes[i] = m_code.compute(Op::SubF, incident.lanes[i],
                                         m_code.compute(Op::MulF, twice, normal.lanes[i]));
    return result;
}

LaneValue BuiltinLowering::facedForward(const std::vector<LaneValue> &arguments)
{
    const Register side = dotOf(arguments[2], arguments[1]).lanes[0];
    const Register keeps = m_code.compute(Op::LtF, side, m_code.constant(0.0f));
    LaneValue result = arguments[0];
    for (Register &lane : result.lanes)
        lane = m_code.compute(Op::Select, keeps, lane, m_code.compute(Op::NegF, lane));
    return result;
}

} // namespace eval::internal
