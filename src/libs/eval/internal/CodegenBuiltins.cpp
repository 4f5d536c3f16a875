// The built-in functions as a table: each row says which C++ function and in which of a few forms.

#include <eval/internal/CodegenBuiltins.h>

#include <eval/internal/BuiltinFunctions.h>

#include <QVarLengthArray>

#include <algorithm>
#include <array>

namespace eval::internal {

namespace {

using Values = QList<Operand>;
using Emitted = std::optional<Operand>;

Operand result(QByteArray text, Type type)
{
    return {std::move(text), type, {}, Type::Float, false};
}

QByteArray call(const char *function, const QList<QByteArray> &arguments)
{
    return function + ('(' + arguments.join(", ") + ')');
}

bool isFloatOnly(const Values &arguments)
{
    return std::ranges::all_of(arguments,
                               [](const Operand &a) { return scalarOf(a.type) == Type::Float; });
}

bool isScalarOrVector(const Operand &value)
{
    return isScalar(value.type) || isVector(value.type);
}

/// A lane, not broadcast, in float or as 32 bits.
QByteArray laneAs(const Operand &value, int lane, Type type)
{
    return nativeCast(nativeLane(value, lane), scalarOf(value.type), type);
}

/// One scalar call a lane. What is not all float is computed in double and rounded at the end.
Emitted perLane(const BuiltinEmitter &row, const BuiltinFunction &builtin, const Values &a)
{
    QVarLengthArray<Type, 3> types;
    for (const Operand &argument : a)
        types.append(argument.type);
    const Type type =
        laneFunctionType({types.constData(), static_cast<size_t>(types.size())}, builtin.integers);
    if (!isNativeVariableType(type))
        return std::nullopt;
    const bool inFloat = isFloatOnly(a) && scalarOf(type) == Type::Float;
    const Type computed = inFloat ? Type::Float : Type::Double;
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        QList<QByteArray> arguments;
        for (const Operand &argument : a)
            arguments.append(
                nativeCast(nativeBroadcastLane(argument, i), scalarOf(argument.type), computed));
        lanes.append(nativeCast(call(row.function, arguments), computed, scalarOf(type)));
    }
    return result(nativeCompose(type, lanes), type);
}

/// The first argument gives the size; of the others what lies beyond is cut and what lacks is zero.
Emitted geometric(const BuiltinEmitter &row, const Values &a, bool givesVector)
{
    for (const Operand &argument : a) {
        if (!isScalarOrVector(argument) || scalarOf(argument.type) == Type::Double)
            return std::nullopt;
    }
    const Type vector = vectorOf(Type::Float, laneCount(a[0].type));
    QList<QByteArray> arguments;
    for (const Operand &argument : a) {
        QList<QByteArray> lanes;
        for (int i = 0; i < laneCount(vector); ++i)
            lanes.append(laneAs(argument, i, Type::Float));
        arguments.append(argument.type == vector ? argument.text : nativeCompose(vector, lanes));
    }
    return result(call(row.function, arguments), givesVector ? vector : Type::Float);
}

Emitted toScalar(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    return geometric(row, a, false);
}

Emitted toVector(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    return geometric(row, a, true);
}

Emitted refraction(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    auto vectors = geometric(row, a.first(2), true);
    if (!vectors || scalarOf(a[2].type) == Type::Double)
        return std::nullopt;
    vectors->text.chop(1);
    vectors->text += ", " + laneAs(a[2], 0, Type::Float) + ')';
    return vectors;
}

Emitted crossProduct(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (scalarOf(a[0].type) == Type::Double || scalarOf(a[1].type) == Type::Double)
        return std::nullopt;
    QList<QByteArray> arguments;
    for (const Operand &argument : a)
        arguments.append(nativeCompose(Type::Vec3, {laneAs(argument, 0, Type::Float),
                                                    laneAs(argument, 1, Type::Float),
                                                    laneAs(argument, 2, Type::Float)}));
    return result(call(row.function, arguments), Type::Vec3);
}

Emitted relation(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Bool, laneCount(a[0].type));
    const Type compared = isFloatOnly(a) ? Type::Float : Type::Double;
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append('(' + laneAs(a[0], i, compared) + ' ' + row.function + ' ' +
                     nativeCast(nativeBroadcastLane(a[1], i), scalarOf(a[1].type), compared) + ')');
    return result(nativeCompose(type, lanes), type);
}

Emitted test(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Bool, laneCount(a[0].type));
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(
            call(row.function, {laneAs(a[0], i, isFloatOnly(a) ? Type::Float : Type::Double)}));
    return result(nativeCompose(type, lanes), type);
}

Emitted anyOrAll(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(a[0].type); ++i)
        lanes.append(nativeLane(a[0], i));
    return result('(' + lanes.join(row.function) + ')', Type::Bool);
}

Emitted negation(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(a[0].type); ++i)
        lanes.append(row.function + nativeLane(a[0], i));
    return result(nativeCompose(a[0].type, lanes), a[0].type);
}

/// Of a matrix; `transpose` takes any, the others square ones.
Emitted ofMatrix(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    const int columns = matrixColumns(a[0].type);
    const int rows = matrixRows(a[0].type);
    const bool isTransposed = row.name == QLatin1StringView("transpose");
    if (!isMatrix(a[0].type) || (columns != rows && !isTransposed))
        return std::nullopt;
    const bool isNumber = row.name == QLatin1StringView("determinant");
    return result(call(row.function, {a[0].text}),
                  isNumber ? Type::Float : matrixOf(rows, columns));
}

Emitted outerProduct(const BuiltinEmitter &, const BuiltinFunction &, const Values &a)
{
    const int rows = laneCount(a[0].type);
    const Type type = matrixOf(laneCount(a[1].type), rows);
    if (!isVector(a[0].type) || !isVector(a[1].type) || !isFloatOnly(a) || type == Type::Void)
        return std::nullopt;
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(nativeLane(a[0], i % rows) + " * " + nativeLane(a[1], i / rows));
    return result(nativeCompose(type, lanes), type);
}

Emitted componentProduct(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (a[0].type != a[1].type || !isFloatOnly(a))
        return std::nullopt;
    if (!isMatrix(a[0].type))
        return result('(' + a[0].text + " * " + a[1].text + ')', a[0].type);
    return result(call(row.function, {a[0].text, a[1].text}), a[0].type);
}

Emitted bitQuestion(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (!isScalar(a[0].type))
        return std::nullopt;
    return result(call(row.function, {laneAs(a[0], 0, Type::Uint)}), Type::Int);
}

/// Bits of the first `words` arguments, then two ints.
Emitted bitField(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (!isScalar(a[0].type) || !isIntegerLike(a[0].type))
        return std::nullopt;
    QList<QByteArray> arguments;
    for (qsizetype i = 0; i < a.size(); ++i)
        arguments.append(laneAs(a[i], 0, i < a.size() - 2 ? Type::Uint : Type::Int));
    return result(nativeCast(call(row.function, arguments), Type::Uint, a[0].type), a[0].type);
}

Emitted floatBits(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (!isScalar(a[0].type))
        return std::nullopt;
    const QByteArray bits = call(row.function, {laneAs(a[0], 0, Type::Float)});
    return result(nativeCast(bits, Type::Uint, Type::Int), Type::Int);
}

Emitted bitsAsFloat(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Float, laneCount(a[0].type));
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(call(row.function, {laneAs(a[0], i, Type::Uint)}));
    return result(nativeCompose(type, lanes), type);
}

template<int lanes>
Emitted pack(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    QList<QByteArray> arguments;
    for (int i = 0; i < lanes; ++i)
        arguments.append(laneAs(a[0], i, Type::Float));
    return result(call(row.function, arguments), Type::Uint);
}

template<int lanes>
Emitted unpack(const BuiltinEmitter &row, const BuiltinFunction &, const Values &a)
{
    return result(call(row.function, {laneAs(a[0], 0, Type::Uint)}), vectorOf(Type::Float, lanes));
}

constexpr BuiltinEmitter row(const char *name, int arity, const char *function,
                             BuiltinEmitter::Emit write = &perLane)
{
    return {QLatin1StringView(name), arity, function, write};
}

constexpr std::array table = {
    row("radians", 1, "evalRadians"),
    row("degrees", 1, "evalDegrees"),
    row("sin", 1, "evalSin"),
    row("cos", 1, "evalCos"),
    row("tan", 1, "evalTan"),
    row("asin", 1, "evalAsin"),
    row("acos", 1, "evalAcos"),
    row("atan", 1, "evalAtan"),
    row("sinh", 1, "evalSinh"),
    row("cosh", 1, "evalCosh"),
    row("tanh", 1, "evalTanh"),
    row("asinh", 1, "evalAsinh"),
    row("acosh", 1, "evalAcosh"),
    row("atanh", 1, "evalAtanh"),
    row("exp", 1, "evalExp"),
    row("log", 1, "evalLog"),
    row("exp2", 1, "evalExp2"),
    row("log2", 1, "evalLog2"),
    row("sqrt", 1, "evalSqrt"),
    row("inversesqrt", 1, "evalInverseSqrt"),
    row("fract", 1, "evalFract"),
    row("abs", 1, "evalAbs"),
    row("sign", 1, "evalSign"),
    row("floor", 1, "evalFloor"),
    row("ceil", 1, "evalCeil"),
    row("trunc", 1, "evalTrunc"),
    row("round", 1, "evalRound"),
    row("roundEven", 1, "evalRoundEven"),
    row("atan", 2, "evalAtan"),
    row("pow", 2, "evalPow"),
    row("mod", 2, "evalMod"),
    row("step", 2, "evalStep"),
    row("min", 2, "evalMin"),
    row("max", 2, "evalMax"),
    row("clamp", 3, "evalClamp"),
    row("mix", 3, "evalMix"),
    row("smoothstep", 3, "evalSmoothstep"),
    row("fma", 3, "evalFma"),
    row("length", 1, "length", &toScalar),
    row("distance", 2, "distance", &toScalar),
    row("dot", 2, "dot", &toScalar),
    row("cross", 2, "cross3", &crossProduct),
    row("normalize", 1, "normalize", &toVector),
    row("reflect", 2, "reflect", &toVector),
    row("refract", 3, "refract", &refraction),
    row("faceforward", 3, "faceforward", &toVector),
    row("lessThan", 2, "<", &relation),
    row("lessThanEqual", 2, "<=", &relation),
    row("greaterThan", 2, ">", &relation),
    row("greaterThanEqual", 2, ">=", &relation),
    row("equal", 2, "==", &relation),
    row("notEqual", 2, "!=", &relation),
    row("isnan", 1, "evalIsnan", &test),
    row("isinf", 1, "evalIsinf", &test),
    row("any", 1, " | ", &anyOrAll),
    row("all", 1, " & ", &anyOrAll),
    row("not", 1, "!", &negation),
    row("determinant", 1, "determinant", &ofMatrix),
    row("inverse", 1, "inverse", &ofMatrix),
    row("transpose", 1, "transpose", &ofMatrix),
    row("outerProduct", 2, "", &outerProduct),
    row("matrixCompMult", 2, "componentProduct", &componentProduct),
    row("bitCount", 1, "bitCount", &bitQuestion),
    row("findLSB", 1, "findLSB", &bitQuestion),
    row("findMSB", 1, "findMSB", &bitQuestion),
    row("bitfieldExtract", 3, "bitfieldExtract", &bitField),
    row("bitfieldInsert", 4, "bitfieldInsert", &bitField),
    row("floatBitsToInt", 1, "_floatToBits", &floatBits),
    row("intBitsToFloat", 1, "_bitsToFloat", &bitsAsFloat),
    row("packUnorm2x16", 1, "packUnorm2x16", &pack<2>),
    row("packSnorm2x16", 1, "packSnorm2x16", &pack<2>),
    row("packUnorm4x8", 1, "packUnorm4x8", &pack<4>),
    row("packSnorm4x8", 1, "packSnorm4x8", &pack<4>),
    row("packHalf2x16", 1, "packHalf2x16", &pack<2>),
    row("unpackUnorm2x16", 1, "unpackUnorm2x16", &unpack<2>),
    row("unpackSnorm2x16", 1, "unpackSnorm2x16", &unpack<2>),
    row("unpackUnorm4x8", 1, "unpackUnorm4x8", &unpack<4>),
    row("unpackSnorm4x8", 1, "unpackSnorm4x8", &unpack<4>),
    row("unpackHalf2x16", 1, "unpackHalf2x16", &unpack<2>),
};

} // namespace

std::span<const BuiltinEmitter> builtinEmitters()
{
    return table;
}

std::optional<Operand> emitBuiltin(const BuiltinFunction &builtin, const QList<Operand> &arguments)
{
    for (const Operand &argument : arguments) {
        if (!isNativeLaneType(argument.type))
            return std::nullopt;
    }
    const auto found = std::ranges::find_if(table, [&](const BuiltinEmitter &entry) {
        return entry.name == builtin.name && entry.arity == builtin.arity;
    });
    return found == table.end() ? std::nullopt : found->write(*found, builtin, arguments);
}

bool isPacking(QStringView name)
{
    return name.startsWith(u"pack");
}

} // namespace eval::internal
