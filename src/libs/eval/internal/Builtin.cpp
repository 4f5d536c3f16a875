// The catalogue of built-in functions, read by all that knows one: the parser finds the row of a
// call, the checker its type, the interpreter its function, the lowering its operations, and the
// generator of C++ its text. What the columns promise to agree on to the last bit is in LaneMath.h.

#include <eval/internal/Builtin.h>

#include <eval/internal/Ast.h>
#include <eval/internal/BuiltinBits.h>
#include <eval/internal/BuiltinMatrices.h>
#include <eval/internal/BuiltinVectors.h>
#include <eval/internal/LaneMath.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

using namespace builtin;
using F = NativeForm;
using Id = BuiltinId;
using R = BuiltinResult;

double minimum(double a, double b)
{
    return lane::minimum(a, b);
}
double maximum(double a, double b)
{
    return lane::maximum(a, b);
}
double stepAt(double edge, double x)
{
    return lane::step(edge, x);
}
double signOf(double x)
{
    return lane::sign(x);
}
double fractOf(double x)
{
    return lane::fract(x);
}
double clampToFloats(double x, double low, double high)
{
    return lane::clamp(x, static_cast<double>(static_cast<float>(low)),
                       static_cast<double>(static_cast<float>(high)));
}

// Functions of the standard library are overloaded: naming the pointer's type picks the one for
// double.
constexpr Builtin unary(Id id, QLatin1StringView name, double (*function)(double), Op onFloats,
                        const char *native)
{
    return {id, name, 1, R::AsFirst, {.unary = function}, {onFloats}, {native}};
}
constexpr Builtin binary(Id id, QLatin1StringView name, double (*function)(double, double),
                         Op onFloats, const char *native)
{
    return {id, name, 2, R::AsFirst, {.binary = function}, {onFloats}, {native}};
}
constexpr Builtin ternary(Id id, QLatin1StringView name, double (*function)(double, double, double),
                          Op onFloats, const char *native)
{
    return {id, name, 3, R::AsFirst, {.ternary = function}, {onFloats}, {native}};
}
/// The same, with integers that stay integers.
constexpr Builtin kept(Builtin row, Op onInts = Op::End)
{
    row.function.integers = IntegerRule::Keep;
    row.ops.onInts = onInts;
    return row;
}
constexpr Builtin general(Id id, QLatin1StringView name, int arity, R result,
                          Value (*function)(Arguments), NativeForm form, const char *native)
{
    return {id, name, arity, result, {.general = function}, {}, {native, form}};
}
constexpr Builtin onBools(Builtin row)
{
    row.function.takesBoolVectorsOnly = true;
    return row;
}

constexpr auto table = std::to_array<Builtin>({
    kept(unary(Id::Abs, "abs"_L1, std::fabs, Op::AbsF, "evalAbs"), Op::AbsI),
    unary(Id::Acos, "acos"_L1, std::acos, Op::AcosF, "evalAcos"),
    unary(Id::Acosh, "acosh"_L1, std::acosh, Op::AcoshF, "evalAcosh"),
    onBools(general(Id::All, "all"_L1, 1, R::Bool, allOf, F::AnyOrAll, " & ")),
    onBools(general(Id::Any, "any"_L1, 1, R::Bool, anyOf, F::AnyOrAll, " | ")),
    unary(Id::Asin, "asin"_L1, std::asin, Op::AsinF, "evalAsin"),
    unary(Id::Asinh, "asinh"_L1, std::asinh, Op::AsinhF, "evalAsinh"),
    unary(Id::Atan, "atan"_L1, std::atan, Op::AtanF, "evalAtan"),
    binary(Id::Atan2, "atan"_L1, std::atan2, Op::Atan2F, "evalAtan"),
    unary(Id::Atanh, "atanh"_L1, std::atanh, Op::AtanhF, "evalAtanh"),
    general(Id::BitCount, "bitCount"_L1, 1, R::AsFirst, perLane<&countBits>, F::BitQuestion,
            "bitCount"),
    general(Id::BitfieldExtract, "bitfieldExtract"_L1, 3, R::AsFirst, bitfieldExtract, F::BitField,
            "bitfieldExtract"),
    general(Id::BitfieldInsert, "bitfieldInsert"_L1, 4, R::AsFirst, bitfieldInsert, F::BitField,
            "bitfieldInsert"),
    kept(unary(Id::Ceil, "ceil"_L1, std::ceil, Op::CeilF, "evalCeil"), Op::Move),
    kept(ternary(Id::Clamp, "clamp"_L1, clampToFloats, Op::ClampF, "evalClamp")),
    unary(Id::Cos, "cos"_L1, std::cos, Op::CosF, "evalCos"),
    unary(Id::Cosh, "cosh"_L1, std::cosh, Op::CoshF, "evalCosh"),
    general(Id::Cross, "cross"_L1, 2, R::Cross, cross, F::Cross, "cross3"),
    unary(Id::Degrees, "degrees"_L1, lane::degrees, Op::DegreesF, "evalDegrees"),
    general(Id::Determinant, "determinant"_L1, 1, R::Float, determinant, F::OfMatrix,
            "determinant"),
    general(Id::Distance, "distance"_L1, 2, R::ScalarOfFirst, distance, F::ToScalar, "distance"),
    general(Id::Dot, "dot"_L1, 2, R::ScalarOfFirst, dot, F::ToScalar, "dot"),
    general(Id::Equal, "equal"_L1, 2, R::BoolLanes, relation<std::equal_to<double>>, F::Relation,
            "=="),
    unary(Id::Exp, "exp"_L1, std::exp, Op::ExpF, "evalExp"),
    unary(Id::Exp2, "exp2"_L1, std::exp2, Op::Exp2F, "evalExp2"),
    general(Id::Faceforward, "faceforward"_L1, 3, R::AsFirst, faceforward, F::ToVector,
            "faceforward"),
    general(Id::FindLSB, "findLSB"_L1, 1, R::AsFirst, perLane<&lowestBit>, F::BitQuestion,
            "findLSB"),
    general(Id::FindMSB, "findMSB"_L1, 1, R::AsFirst, perLane<&highestBit>, F::BitQuestion,
            "findMSB"),
    general(Id::FloatBitsToInt, "floatBitsToInt"_L1, 1, R::Int, floatBitsToInt, F::FloatBits,
            "_floatToBits"),
    kept(unary(Id::Floor, "floor"_L1, std::floor, Op::FloorF, "evalFloor"), Op::Move),
    ternary(Id::Fma, "fma"_L1, std::fma, Op::FmaF, "evalFma"),
    unary(Id::Fract, "fract"_L1, fractOf, Op::FractF, "evalFract"),
    general(Id::GreaterThan, "greaterThan"_L1, 2, R::BoolLanes, relation<std::greater<double>>,
            F::Relation, ">"),
    general(Id::GreaterThanEqual, "greaterThanEqual"_L1, 2, R::BoolLanes,
            relation<std::greater_equal<double>>, F::Relation, ">="),
    general(Id::IntBitsToFloat, "intBitsToFloat"_L1, 1, R::Float, intBitsToFloat, F::BitsAsFloat,
            "_bitsToFloat"),
    general(Id::Inverse, "inverse"_L1, 1, R::AsFirst, inverse, F::OfMatrix, "inverse"),
    unary(Id::Inversesqrt, "inversesqrt"_L1, lane::inverseSqrt, Op::InverseSqrtF,
          "evalInverseSqrt"),
    general(Id::Isinf, "isinf"_L1, 1, R::BoolLanes, tested<&isInf>, F::Test, "evalIsinf"),
    general(Id::Isnan, "isnan"_L1, 1, R::BoolLanes, tested<&isNan>, F::Test, "evalIsnan"),
    general(Id::Length, "length"_L1, 1, R::ScalarOfFirst, length, F::ToScalar, "length"),
    general(Id::LessThan, "lessThan"_L1, 2, R::BoolLanes, relation<std::less<double>>, F::Relation,
            "<"),
    general(Id::LessThanEqual, "lessThanEqual"_L1, 2, R::BoolLanes,
            relation<std::less_equal<double>>, F::Relation, "<="),
    unary(Id::Log, "log"_L1, std::log, Op::LogF, "evalLog"),
    unary(Id::Log2, "log2"_L1, std::log2, Op::Log2F, "evalLog2"),
    general(Id::MatrixCompMult, "matrixCompMult"_L1, 2, R::AsFirst, matrixCompMult,
            F::ComponentProduct, "componentProduct"),
    kept(binary(Id::Max, "max"_L1, maximum, Op::MaxF, "evalMax"), Op::MaxI),
    kept(binary(Id::Min, "min"_L1, minimum, Op::MinF, "evalMin"), Op::MinI),
    ternary(Id::Mix, "mix"_L1, lane::mix, Op::MixF, "evalMix"),
    binary(Id::Mod, "mod"_L1, std::fmod, Op::RemF, "evalMod"),
    general(Id::Normalize, "normalize"_L1, 1, R::AsFirst, normalize, F::ToVector, "normalize"),
    onBools(general(Id::Not, "not"_L1, 1, R::AsFirst, notOf, F::Negation, "!")),
    general(Id::NotEqual, "notEqual"_L1, 2, R::BoolLanes, relation<std::not_equal_to<double>>,
            F::Relation, "!="),
    general(Id::OuterProduct, "outerProduct"_L1, 2, R::OuterProduct, outerProduct, F::OuterProduct,
            ""),
    general(Id::PackHalf2x16, "packHalf2x16"_L1, 1, R::Uint, packHalf, F::Pack2, "packHalf2x16"),
    general(Id::PackSnorm2x16, "packSnorm2x16"_L1, 1, R::Uint, pack<snorm2x16>, F::Pack2,
            "packSnorm2x16"),
    general(Id::PackSnorm4x8, "packSnorm4x8"_L1, 1, R::Uint, pack<snorm4x8>, F::Pack4,
            "packSnorm4x8"),
    general(Id::PackUnorm2x16, "packUnorm2x16"_L1, 1, R::Uint, pack<unorm2x16>, F::Pack2,
            "packUnorm2x16"),
    general(Id::PackUnorm4x8, "packUnorm4x8"_L1, 1, R::Uint, pack<unorm4x8>, F::Pack4,
            "packUnorm4x8"),
    binary(Id::Pow, "pow"_L1, std::pow, Op::PowF, "evalPow"),
    unary(Id::Radians, "radians"_L1, lane::radians, Op::RadiansF, "evalRadians"),
    general(Id::Reflect, "reflect"_L1, 2, R::AsFirst, reflect, F::ToVector, "reflect"),
    general(Id::Refract, "refract"_L1, 3, R::AsFirst, refract, F::Refraction, "refract"),
    kept(unary(Id::Round, "round"_L1, std::round, Op::RoundF, "evalRound"), Op::Move),
    kept(unary(Id::RoundEven, "roundEven"_L1, std::nearbyint, Op::RoundEvenF, "evalRoundEven"),
         Op::Move),
    kept(unary(Id::Sign, "sign"_L1, signOf, Op::SignF, "evalSign"), Op::SignI),
    unary(Id::Sin, "sin"_L1, std::sin, Op::SinF, "evalSin"),
    unary(Id::Sinh, "sinh"_L1, std::sinh, Op::SinhF, "evalSinh"),
    ternary(Id::Smoothstep, "smoothstep"_L1, lane::smoothstep, Op::SmoothstepF, "evalSmoothstep"),
    unary(Id::Sqrt, "sqrt"_L1, std::sqrt, Op::SqrtF, "evalSqrt"),
    binary(Id::Step, "step"_L1, stepAt, Op::StepF, "evalStep"),
    unary(Id::Tan, "tan"_L1, std::tan, Op::TanF, "evalTan"),
    unary(Id::Tanh, "tanh"_L1, std::tanh, Op::TanhF, "evalTanh"),
    general(Id::Transpose, "transpose"_L1, 1, R::AsFirst, transpose, F::OfMatrix, "transpose"),
    kept(unary(Id::Trunc, "trunc"_L1, std::trunc, Op::TruncF, "evalTrunc"), Op::Move),
    general(Id::UnpackHalf2x16, "unpackHalf2x16"_L1, 1, R::Vec2, unpackHalf, F::Unpack,
            "unpackHalf2x16"),
    general(Id::UnpackSnorm2x16, "unpackSnorm2x16"_L1, 1, R::Vec2, unpack<snorm2x16>, F::Unpack,
            "unpackSnorm2x16"),
    general(Id::UnpackSnorm4x8, "unpackSnorm4x8"_L1, 1, R::Vec4, unpack<snorm4x8>, F::Unpack,
            "unpackSnorm4x8"),
    general(Id::UnpackUnorm2x16, "unpackUnorm2x16"_L1, 1, R::Vec2, unpack<unorm2x16>, F::Unpack,
            "unpackUnorm2x16"),
    general(Id::UnpackUnorm4x8, "unpackUnorm4x8"_L1, 1, R::Vec4, unpack<unorm4x8>, F::Unpack,
            "unpackUnorm4x8"),
});

constexpr std::string_view textOf(const Builtin &row)
{
    return {row.name.data(), static_cast<size_t>(row.name.size())};
}

/// Each row stands at the place of its id, and the names are in order.
constexpr bool isInOrder()
{
    for (size_t i = 0; i < table.size(); ++i) {
        if (table[i].id != static_cast<Id>(i))
            return false;
        if (i > 0 && std::pair(textOf(table[i - 1]), table[i - 1].arity) >=
                         std::pair(textOf(table[i]), table[i].arity))
            return false;
    }
    return true;
}
static_assert(isInOrder());
static_assert(table.back().id == Id::UnpackUnorm4x8);

Type boolLanes(Type first)
{
    const Type result = vectorOf(Type::Bool, vectorComponentCount(first));
    return result == Type::Void ? Type::Bool : result;
}

Type outerProductType(Type columnVector, Type rowVector)
{
    const Type result =
        matrixOf(vectorComponentCount(rowVector), vectorComponentCount(columnVector),
                 scalarOf(columnVector) == Type::Double);
    return result == Type::Void ? Type::Float : result;
}

} // namespace

std::span<const Builtin> builtinTable()
{
    return table;
}

std::span<const Builtin> findBuiltins(QStringView name)
{
    const auto first =
        std::lower_bound(table.begin(), table.end(), name,
                         [](const Builtin &row, QStringView wanted) { return row.name < wanted; });
    const auto last =
        std::find_if(first, table.end(), [&](const Builtin &row) { return row.name != name; });
    return {first, last};
}

const Builtin *findBuiltin(QStringView name, qsizetype argumentCount)
{
    for (const Builtin &row : findBuiltins(name)) {
        if (row.arity == argumentCount)
            return &row;
    }
    return nullptr;
}

Type builtinResultType(const Builtin &builtin, const QList<Type> &arguments)
{
    const Type first = arguments.value(0, Type::Float);
    switch (builtin.result) {
    case R::AsFirst:
        return first;
    case R::ScalarOfFirst:
        return isVector(first) || isMatrix(first) ? scalarOf(first) : first;
    case R::Cross:
        return first == Type::DVec3 ? Type::DVec3 : Type::Vec3;
    case R::BoolLanes:
        return boolLanes(first);
    case R::Bool:
        return Type::Bool;
    case R::Int:
        return Type::Int;
    case R::Uint:
        return Type::Uint;
    case R::Float:
        return Type::Float;
    case R::Vec2:
        return Type::Vec2;
    case R::Vec4:
        return Type::Vec4;
    case R::OuterProduct:
        return outerProductType(first, arguments.value(1, Type::Float));
    }
    Q_UNREACHABLE();
}

const Builtin *builtinOf(const AstNode &call, Type firstArgument)
{
    const Builtin *const row = call.builtin;
    const bool isBoolVector = isVector(firstArgument) && scalarOf(firstArgument) == Type::Bool;
    return row && (isBoolVector || !row->function.takesBoolVectorsOnly) ? row : nullptr;
}

} // namespace eval::internal
