#include <eval/internal/BuiltinFunctions.h>

#include <eval/internal/LaneMath.h>

#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace eval::internal {

namespace {

constexpr auto keep = IntegerRule::Keep;
constexpr auto toFloat = IntegerRule::ToFloat;

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
using Unary = double (*)(double);
using Binary = double (*)(double, double);
using Ternary = double (*)(double, double, double);

constexpr BuiltinFunction unaryRow(const char *name, Unary function, IntegerRule rule = toFloat)
{
    return {QLatin1StringView(name), 1, rule, function};
}
constexpr BuiltinFunction binaryRow(const char *name, Binary function, IntegerRule rule = toFloat)
{
    return {QLatin1StringView(name), 2, rule, nullptr, function};
}
constexpr BuiltinFunction ternaryRow(const char *name, Ternary function, IntegerRule rule = toFloat)
{
    return {QLatin1StringView(name), 3, rule, nullptr, nullptr, function};
}

constexpr std::array laneTable = {
    unaryRow("radians", &lane::radians),
    unaryRow("degrees", &lane::degrees),
    unaryRow("sin", &std::sin),
    unaryRow("cos", &std::cos),
    unaryRow("tan", &std::tan),
    unaryRow("asin", &std::asin),
    unaryRow("acos", &std::acos),
    unaryRow("atan", &std::atan),
    unaryRow("sinh", &std::sinh),
    unaryRow("cosh", &std::cosh),
    unaryRow("tanh", &std::tanh),
    unaryRow("asinh", &std::asinh),
    unaryRow("acosh", &std::acosh),
    unaryRow("atanh", &std::atanh),
    unaryRow("exp", &std::exp),
    unaryRow("log", &std::log),
    unaryRow("exp2", &std::exp2),
    unaryRow("log2", &std::log2),
    unaryRow("sqrt", &std::sqrt),
    unaryRow("inversesqrt", &lane::inverseSqrt),
    unaryRow("fract", &fractOf),
    unaryRow("abs", &std::fabs, keep),
    unaryRow("sign", &signOf, keep),
    unaryRow("floor", &std::floor, keep),
    unaryRow("ceil", &std::ceil, keep),
    unaryRow("trunc", &std::trunc, keep),
    unaryRow("round", &std::round, keep),
    unaryRow("roundEven", &std::nearbyint, keep),
    binaryRow("atan", &std::atan2),
    binaryRow("pow", &std::pow),
    binaryRow("mod", &std::fmod),
    binaryRow("step", &stepAt),
    binaryRow("min", &minimum, keep),
    binaryRow("max", &maximum, keep),
    ternaryRow("clamp", &clampToFloats, keep),
    ternaryRow("mix", &lane::mix),
    ternaryRow("smoothstep", &lane::smoothstep),
    ternaryRow("fma", &std::fma),
};

/// All rows of all families, sorted by name.
const std::vector<const BuiltinFunction *> &index()
{
    static const std::vector<const BuiltinFunction *> sorted = [] {
        std::vector<const BuiltinFunction *> rows;
        for (const auto table :
             {laneFunctions(), vectorFunctions(), matrixFunctions(), bitFunctions()}) {
            for (const BuiltinFunction &row : table)
                rows.push_back(&row);
        }
        std::ranges::sort(rows, {}, [](const BuiltinFunction *row) {
            return std::string_view(row->name.data(), static_cast<size_t>(row->name.size()));
        });
        return rows;
    }();
    return sorted;
}

double argumentLane(const Value &value, int lane)
{
    return value.lane(isScalar(value.type) ? 0 : lane);
}

Value applyPerLane(const BuiltinFunction &function, Arguments arguments)
{
    QVarLengthArray<Type, 3> types;
    for (const Value &argument : arguments)
        types.append(argument.type);
    Value result =
        Value::zero(laneFunctionType({types.constData(), arguments.size()}, function.integers));
    for (int i = 0; i < laneCount(result.type); ++i) {
        const double x = argumentLane(arguments[0], i);
        if (function.unary)
            result.setLane(i, function.unary(x));
        else if (function.binary)
            result.setLane(i, function.binary(x, argumentLane(arguments[1], i)));
        else
            result.setLane(i, function.ternary(x, argumentLane(arguments[1], i),
                                               argumentLane(arguments[2], i)));
    }
    return result;
}

} // namespace

std::span<const BuiltinFunction> laneFunctions()
{
    return laneTable;
}

const BuiltinFunction *findBuiltinFunction(QStringView name, int argumentCount, Type firstType)
{
    const auto &rows = index();
    auto it = std::lower_bound(
        rows.begin(), rows.end(), name,
        [](const BuiltinFunction *row, QStringView wanted) { return row->name < wanted; });
    for (; it != rows.end() && (*it)->name == name; ++it) {
        const BuiltinFunction *row = *it;
        if (row->arity != argumentCount)
            continue;
        const bool isBoolVector = isVector(firstType) && scalarOf(firstType) == Type::Bool;
        return row->boolVectorsOnly && !isBoolVector ? nullptr : row;
    }
    return nullptr;
}

Value applyBuiltin(const BuiltinFunction &function, Arguments arguments)
{
    return function.general ? function.general(arguments) : applyPerLane(function, arguments);
}

Type laneFunctionType(std::span<const Type> arguments, IntegerRule rule)
{
    Type shape = arguments[0];
    bool anyDouble = false;
    bool allIntegers = true;
    for (const Type type : arguments) {
        if (isScalar(shape) && laneCount(type) > 1)
            shape = type;
        anyDouble = anyDouble || scalarOf(type) == Type::Double;
        allIntegers = allIntegers && isIntegerLike(type);
    }
    if (isMatrix(shape) || laneCount(shape) == 0)
        return laneCount(shape) == 0 ? Type::Float : shape;
    if (allIntegers && rule == IntegerRule::Keep)
        return vectorOf(scalarOf(arguments[0]), laneCount(shape));
    return vectorOf(anyDouble ? Type::Double : Type::Float, laneCount(shape));
}

} // namespace eval::internal
