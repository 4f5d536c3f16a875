#include <eval/internal/Lowering.h>

#include <algorithm>
#include <array>

namespace eval::internal {

namespace {

/// The operation on floats behind a per-lane built-in, and the one on ints where integers are kept.
struct LaneRow
{
    QLatin1StringView name;
    int arity;
    Op onFloats;
    Op onInts = Op::End; ///< End: none
};

constexpr std::array laneRows = {
    LaneRow{QLatin1StringView("radians"), 1, Op::RadiansF},
    LaneRow{QLatin1StringView("degrees"), 1, Op::DegreesF},
    LaneRow{QLatin1StringView("sin"), 1, Op::SinF},
    LaneRow{QLatin1StringView("cos"), 1, Op::CosF},
    LaneRow{QLatin1StringView("tan"), 1, Op::TanF},
    LaneRow{QLatin1StringView("asin"), 1, Op::AsinF},
    LaneRow{QLatin1StringView("acos"), 1, Op::AcosF},
    LaneRow{QLatin1StringView("atan"), 1, Op::AtanF},
    LaneRow{QLatin1StringView("sinh"), 1, Op::SinhF},
    LaneRow{QLatin1StringView("cosh"), 1, Op::CoshF},
    LaneRow{QLatin1StringView("tanh"), 1, Op::TanhF},
    LaneRow{QLatin1StringView("asinh"), 1, Op::AsinhF},
    LaneRow{QLatin1StringView("acosh"), 1, Op::AcoshF},
    LaneRow{QLatin1StringView("atanh"), 1, Op::AtanhF},
    LaneRow{QLatin1StringView("exp"), 1, Op::ExpF},
    LaneRow{QLatin1StringView("log"), 1, Op::LogF},
    LaneRow{QLatin1StringView("exp2"), 1, Op::Exp2F},
    LaneRow{QLatin1StringView("log2"), 1, Op::Log2F},
    LaneRow{QLatin1StringView("sqrt"), 1, Op::SqrtF},
    LaneRow{QLatin1StringView("inversesqrt"), 1, Op::InverseSqrtF},
    LaneRow{QLatin1StringView("fract"), 1, Op::FractF},
    LaneRow{QLatin1StringView("abs"), 1, Op::AbsF, Op::AbsI},
    LaneRow{QLatin1StringView("sign"), 1, Op::SignF, Op::SignI},
    LaneRow{QLatin1StringView("floor"), 1, Op::FloorF, Op::Move},
    LaneRow{QLatin1StringView("ceil"), 1, Op::CeilF, Op::Move},
    LaneRow{QLatin1StringView("trunc"), 1, Op::TruncF, Op::Move},
    LaneRow{QLatin1StringView("round"), 1, Op::RoundF, Op::Move},
    LaneRow{QLatin1StringView("roundEven"), 1, Op::RoundEvenF, Op::Move},
    LaneRow{QLatin1StringView("atan"), 2, Op::Atan2F},
    LaneRow{QLatin1StringView("pow"), 2, Op::PowF},
    LaneRow{QLatin1StringView("mod"), 2, Op::RemF},
    LaneRow{QLatin1StringView("step"), 2, Op::StepF},
    LaneRow{QLatin1StringView("min"), 2, Op::MinF, Op::MinI},
    LaneRow{QLatin1StringView("max"), 2, Op::MaxF, Op::MaxI},
    LaneRow{QLatin1StringView("clamp"), 3, Op::ClampF},
    LaneRow{QLatin1StringView("mix"), 3, Op::MixF},
    LaneRow{QLatin1StringView("smoothstep"), 3, Op::SmoothstepF},
    LaneRow{QLatin1StringView("fma"), 3, Op::FmaF},
};

struct RelationRow
{
    QLatin1StringView name;
    BinaryKind kind;
};

constexpr std::array relationRows = {
    RelationRow{QLatin1StringView("lessThan"), BinaryKind::Less},
    RelationRow{QLatin1StringView("lessThanEqual"), BinaryKind::LessOrEqual},
    RelationRow{QLatin1StringView("greaterThan"), BinaryKind::Greater},
    RelationRow{QLatin1StringView("greaterThanEqual"), BinaryKind::GreaterOrEqual},
    RelationRow{QLatin1StringView("equal"), BinaryKind::Equal},
    RelationRow{QLatin1StringView("notEqual"), BinaryKind::NotEqual},
};

using namespace Qt::StringLiterals;

} // namespace

Lowering::Operand Lowering::builtin(const BuiltinFunction &function,
                                    const std::vector<Operand> &arguments)
{
    for (const Operand &argument : arguments) {
        if (laneCount(argument.type) == 0)
            return giveUp();
    }
    const auto inOperations = function.general ? vectorBuiltin(function.name, arguments)
                                               : laneBuiltin(function, arguments);
    return inOperations ? *inOperations : external(function, arguments);
}

Lowering::Operand Lowering::external(const BuiltinFunction &function,
                                     const std::vector<Operand> &arguments)
{
    ExternalCall call;
    call.function = &function;
    std::vector<Value> samples;
    for (const Operand &argument : arguments) {
        call.argumentTypes.push_back(argument.type);
        call.arguments.insert(call.arguments.end(), argument.lanes.begin(), argument.lanes.end());
        samples.push_back(Value::zero(argument.type));
    }
    // The tag of a result follows from the tags of the arguments alone.
    call.resultType = applyBuiltin(function, samples).type;
    if (!isLowerable(call.resultType))
        return giveUp();
    Operand result = {call.resultType, {}, {}};
    for (const Register lane : m_code.callExternal(call, laneCount(call.resultType)))
        result.lanes.append(lane);
    return result;
}

std::optional<Lowering::Operand> Lowering::laneBuiltin(const BuiltinFunction &function,
                                                       const std::vector<Operand> &arguments)
{
    const auto row = std::ranges::find_if(laneRows, [&](const LaneRow &candidate) {
        return candidate.name == function.name && candidate.arity == function.arity;
    });
    if (row == laneRows.end())
        return std::nullopt;
    QVarLengthArray<Type, 3> types;
    for (const Operand &argument : arguments)
        types.append(argument.type);
    const Type type = laneFunctionType({types.constData(), arguments.size()}, function.integers);
    const bool allInts = std::ranges::all_of(
        arguments, [](const Operand &argument) { return kindOf(argument.type) == LaneKind::Int; });
    const bool onInts = allInts && kindOf(type) == LaneKind::Int && row->onInts != Op::End;
    if (!onInts && kindOf(type) != LaneKind::Float)
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
            if (!onInts && !asExactFloat(lanes[k], kindOf(argument.type)))
                return std::nullopt;
        }
        const Op op = onInts ? row->onInts : row->onFloats;
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

std::optional<Lowering::Operand> Lowering::vectorBuiltin(QLatin1StringView name,
                                                         const std::vector<Operand> &arguments)
{
    const Operand &a = arguments.front();
    if (isMatrix(a.type))
        return matrixBuiltin(name, arguments);
    if (const auto row = std::ranges::find(relationRows, name, &RelationRow::name);
        row != relationRows.end())
        return relationBuiltin(row->kind, arguments);
    if (name == "any"_L1 || name == "all"_L1) {
        Register sum = a.lanes[0];
        for (qsizetype i = 1; i < a.lanes.size(); ++i)
            sum = m_code.compute(name == "any"_L1 ? Op::OrI : Op::AndI, sum, a.lanes[i]);
        return boolean(sum);
    }
    if (name == "not"_L1) {
        Operand result = a;
        for (Register &lane : result.lanes)
            lane = m_code.compute(Op::NotB, lane);
        return result;
    }
    if (name == "floatBitsToInt"_L1 && kindOf(a.type) == LaneKind::Float)
        return Operand{vectorOf(Type::Int, laneCount(a.type)), {}, a.lanes};
    if (name == "intBitsToFloat"_L1 && kindOf(a.type) == LaneKind::Int)
        return Operand{vectorOf(Type::Float, laneCount(a.type)), {}, a.lanes};
    const bool allFloat = std::ranges::all_of(arguments, [](const Operand &argument) {
        return kindOf(argument.type) == LaneKind::Float && !isMatrix(argument.type);
    });
    return allFloat ? geometryBuiltin(name, arguments) : std::nullopt;
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

std::optional<Lowering::Operand> Lowering::matrixBuiltin(QLatin1StringView name,
                                                         const std::vector<Operand> &arguments)
{
    const Operand &a = arguments.front();
    if (name == "transpose"_L1) {
        const int columns = matrixColumns(a.type);
        const int rows = matrixRows(a.type);
        Operand result = {matrixOf(rows, columns), {}, a.lanes};
        for (int i = 0; i < columns * rows; ++i)
            result.lanes[(i % rows) * columns + i / rows] = a.lanes[i];
        return result;
    }
    if (name == "matrixCompMult"_L1 && arguments[1].type == a.type) {
        Operand result = a;
        for (qsizetype i = 0; i < a.lanes.size(); ++i)
            result.lanes[i] = m_code.compute(Op::MulF, a.lanes[i], arguments[1].lanes[i]);
        return result;
    }
    return std::nullopt;
}

std::optional<Lowering::Operand> Lowering::geometryBuiltin(QLatin1StringView name,
                                                           const std::vector<Operand> &arguments)
{
    const Operand &a = arguments[0];
    if (name == "length"_L1)
        return lengthOf(a);
    if (name == "normalize"_L1)
        return normalized(a);
    if (name == "isnan"_L1 || name == "isinf"_L1) {
        Operand result = {vectorOf(Type::Bool, laneCount(a.type)), {}, {}};
        for (const Register lane : a.lanes)
            result.lanes.append(m_code.compute(name == "isnan"_L1 ? Op::IsNanF : Op::IsInfF, lane));
        return result;
    }
    for (const Operand &argument : arguments) {
        if (argument.type != a.type)
            return std::nullopt;
    }
    if (name == "dot"_L1)
        return dotOf(a, arguments[1]);
    if (name == "distance"_L1) {
        Operand difference = a;
        for (qsizetype i = 0; i < a.lanes.size(); ++i)
            difference.lanes[i] = m_code.compute(Op::SubF, a.lanes[i], arguments[1].lanes[i]);
        return lengthOf(difference);
    }
    if (name == "cross"_L1 && a.lanes.size() == 3)
        return crossOf(a, arguments[1]);
    if (name == "reflect"_L1)
        return reflected(a, arguments[1]);
    if (name == "faceforward"_L1)
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
