// Calls of built-in functions in C++: the catalogue (Builtin.cpp) says which function and in which
// of a few forms; here each form is written once.

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
Emitted perLane(const Builtin &row, const Values &a)
{
    QVarLengthArray<Type, 3> types;
    for (const Operand &argument : a)
        types.append(argument.type);
    const Type type = laneFunctionType({types.constData(), static_cast<size_t>(types.size())},
                                       row.function.integers);
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
        lanes.append(nativeCast(call(row.native.function, arguments), computed, scalarOf(type)));
    }
    return result(nativeCompose(type, lanes), type);
}

/// The first argument gives the size; of the others what lies beyond is cut and what lacks is zero.
Emitted geometric(const Builtin &row, const Values &a, bool givesVector)
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
    return result(call(row.native.function, arguments), givesVector ? vector : Type::Float);
}

Emitted refraction(const Builtin &row, const Values &a)
{
    auto vectors = geometric(row, a.first(2), true);
    if (!vectors || scalarOf(a[2].type) == Type::Double)
        return std::nullopt;
    vectors->text.chop(1);
    vectors->text += ", " + laneAs(a[2], 0, Type::Float) + ')';
    return vectors;
}

Emitted crossProduct(const Builtin &row, const Values &a)
{
    if (scalarOf(a[0].type) == Type::Double || scalarOf(a[1].type) == Type::Double)
        return std::nullopt;
    QList<QByteArray> arguments;
    for (const Operand &argument : a)
        arguments.append(nativeCompose(Type::Vec3, {laneAs(argument, 0, Type::Float),
                                                    laneAs(argument, 1, Type::Float),
                                                    laneAs(argument, 2, Type::Float)}));
    return result(call(row.native.function, arguments), Type::Vec3);
}

Emitted relation(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Bool, laneCount(a[0].type));
    const Type compared = isFloatOnly(a) ? Type::Float : Type::Double;
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append('(' + laneAs(a[0], i, compared) + ' ' + row.native.function + ' ' +
                     nativeCast(nativeBroadcastLane(a[1], i), scalarOf(a[1].type), compared) + ')');
    return result(nativeCompose(type, lanes), type);
}

Emitted test(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Bool, laneCount(a[0].type));
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(call(row.native.function,
                          {laneAs(a[0], i, isFloatOnly(a) ? Type::Float : Type::Double)}));
    return result(nativeCompose(type, lanes), type);
}

Emitted anyOrAll(const Builtin &row, const Values &a)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(a[0].type); ++i)
        lanes.append(nativeLane(a[0], i));
    return result('(' + lanes.join(row.native.function) + ')', Type::Bool);
}

Emitted negation(const Builtin &row, const Values &a)
{
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(a[0].type); ++i)
        lanes.append(row.native.function + nativeLane(a[0], i));
    return result(nativeCompose(a[0].type, lanes), a[0].type);
}

/// Of a matrix; `transpose` takes any, the others square ones.
Emitted ofMatrix(const Builtin &row, const Values &a)
{
    const int columns = matrixColumns(a[0].type);
    const int rows = matrixRows(a[0].type);
    const bool isTransposed = row.id == BuiltinId::Transpose;
    if (!isMatrix(a[0].type) || (columns != rows && !isTransposed))
        return std::nullopt;
    const bool isNumber = row.id == BuiltinId::Determinant;
    return result(call(row.native.function, {a[0].text}),
                  isNumber ? Type::Float : matrixOf(rows, columns));
}

Emitted outerProduct(const Values &a)
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

Emitted componentProduct(const Builtin &row, const Values &a)
{
    if (a[0].type != a[1].type || !isFloatOnly(a))
        return std::nullopt;
    if (!isMatrix(a[0].type))
        return result('(' + a[0].text + " * " + a[1].text + ')', a[0].type);
    return result(call(row.native.function, {a[0].text, a[1].text}), a[0].type);
}

Emitted bitQuestion(const Builtin &row, const Values &a)
{
    if (!isScalar(a[0].type))
        return std::nullopt;
    return result(call(row.native.function, {laneAs(a[0], 0, Type::Uint)}), Type::Int);
}

/// Bits of the first `words` arguments, then two ints.
Emitted bitField(const Builtin &row, const Values &a)
{
    if (!isScalar(a[0].type) || !isIntegerLike(a[0].type))
        return std::nullopt;
    QList<QByteArray> arguments;
    for (qsizetype i = 0; i < a.size(); ++i)
        arguments.append(laneAs(a[i], 0, i < a.size() - 2 ? Type::Uint : Type::Int));
    return result(nativeCast(call(row.native.function, arguments), Type::Uint, a[0].type),
                  a[0].type);
}

Emitted floatBits(const Builtin &row, const Values &a)
{
    if (!isScalar(a[0].type))
        return std::nullopt;
    const QByteArray bits = call(row.native.function, {laneAs(a[0], 0, Type::Float)});
    return result(nativeCast(bits, Type::Uint, Type::Int), Type::Int);
}

Emitted bitsAsFloat(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type type = vectorOf(Type::Float, laneCount(a[0].type));
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(call(row.native.function, {laneAs(a[0], i, Type::Uint)}));
    return result(nativeCompose(type, lanes), type);
}

Emitted pack(const Builtin &row, const Values &a, int lanes)
{
    QList<QByteArray> arguments;
    for (int i = 0; i < lanes; ++i)
        arguments.append(laneAs(a[0], i, Type::Float));
    return result(call(row.native.function, arguments), Type::Uint);
}

Emitted unpack(const Builtin &row, const Values &a)
{
    return result(call(row.native.function, {laneAs(a[0], 0, Type::Uint)}),
                  builtinResultType(row, {a[0].type}));
}

} // namespace

std::optional<Operand> emitBuiltin(const Builtin &builtin, const QList<Operand> &arguments)
{
    const bool haveLanes = std::ranges::all_of(
        arguments, [](const Operand &argument) { return isNativeLaneType(argument.type); });
    if (!haveLanes)
        return std::nullopt;
    switch (builtin.native.form) {
    case NativeForm::PerLane:
        return perLane(builtin, arguments);
    case NativeForm::ToScalar:
        return geometric(builtin, arguments, false);
    case NativeForm::ToVector:
        return geometric(builtin, arguments, true);
    case NativeForm::Refraction:
        return refraction(builtin, arguments);
    case NativeForm::Cross:
        return crossProduct(builtin, arguments);
    case NativeForm::Relation:
        return relation(builtin, arguments);
    case NativeForm::Test:
        return test(builtin, arguments);
    case NativeForm::AnyOrAll:
        return anyOrAll(builtin, arguments);
    case NativeForm::Negation:
        return negation(builtin, arguments);
    case NativeForm::OfMatrix:
        return ofMatrix(builtin, arguments);
    case NativeForm::OuterProduct:
        return outerProduct(arguments);
    case NativeForm::ComponentProduct:
        return componentProduct(builtin, arguments);
    case NativeForm::BitQuestion:
        return bitQuestion(builtin, arguments);
    case NativeForm::BitField:
        return bitField(builtin, arguments);
    case NativeForm::FloatBits:
        return floatBits(builtin, arguments);
    case NativeForm::BitsAsFloat:
        return bitsAsFloat(builtin, arguments);
    case NativeForm::Pack2:
        return pack(builtin, arguments, 2);
    case NativeForm::Pack4:
        return pack(builtin, arguments, 4);
    case NativeForm::Unpack:
        return unpack(builtin, arguments);
    }
    Q_UNREACHABLE();
}

bool isPacking(const Builtin &builtin)
{
    return builtin.native.form == NativeForm::Pack2 || builtin.native.form == NativeForm::Pack4;
}

} // namespace eval::internal
