#include <eval/internal/BuiltinFunctions.h>

#include <QVarLengthArray>

namespace eval::internal {

namespace {

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

Value applyBuiltin(const Builtin &builtin, Arguments arguments)
{
    const BuiltinFunction &function = builtin.function;
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
