// Calls of built-in functions in GLSL. Most have its name and its meaning; the table lists those
// whose result GLSL leaves open somewhere, which a function of ours computes.

#include <eval/gpu/GlslBuiltins.h>

#include <eval/internal/interpreter/BuiltinFunctions.h>

#include <QVarLengthArray>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

namespace {

using Values = QList<GlslValue>;
using Emitted = std::optional<GlslValue>;

struct OwnFunction
{
    BuiltinId id;
    const char *function;
    bool isPerScalar = false; ///< written for one lane, called for each
};

constexpr OwnFunction ownFunctions[] = {
    {BuiltinId::Acos, "evalAcos", true},
    {BuiltinId::Acosh, "evalAcosh", true},
    {BuiltinId::Asin, "evalAsin", true},
    {BuiltinId::Asinh, "evalAsinh", true},
    {BuiltinId::Atan, "evalArc", true},
    {BuiltinId::Atan2, "evalAtan", true},
    {BuiltinId::Atanh, "evalAtanh", true},
    {BuiltinId::BitfieldExtract, "evalBitfieldExtract"},
    {BuiltinId::BitfieldInsert, "evalBitfieldInsert"},
    {BuiltinId::Cos, "evalCos", true},
    {BuiltinId::Fma, "evalFma", true},
    {BuiltinId::Inverse, "evalInverse"},
    {BuiltinId::Max, "evalMax"},
    {BuiltinId::Min, "evalMin"},
    {BuiltinId::Normalize, "evalNormalize"},
    {BuiltinId::PackHalf2x16, "evalPackHalf2x16"},
    {BuiltinId::PackSnorm2x16, "evalPackSnorm2x16"},
    {BuiltinId::PackSnorm4x8, "evalPackSnorm4x8"},
    {BuiltinId::PackUnorm2x16, "evalPackUnorm2x16"},
    {BuiltinId::PackUnorm4x8, "evalPackUnorm4x8"},
    {BuiltinId::Pow, "evalPow", true},
    {BuiltinId::Round, "evalRound", true},
    {BuiltinId::Sin, "evalSin", true},
    {BuiltinId::Smoothstep, "evalSmoothstep", true},
    {BuiltinId::Tan, "evalTan", true},
    {BuiltinId::UnpackHalf2x16, "evalUnpackHalf2x16"},
    {BuiltinId::UnpackSnorm2x16, "evalUnpackSnorm2x16"},
    {BuiltinId::UnpackSnorm4x8, "evalUnpackSnorm4x8"},
    {BuiltinId::UnpackUnorm2x16, "evalUnpackUnorm2x16"},
    {BuiltinId::UnpackUnorm4x8, "evalUnpackUnorm4x8"},
};

const OwnFunction *ownFunction(BuiltinId id)
{
    const auto found = std::ranges::find(ownFunctions, id, &OwnFunction::id);
    return found == std::end(ownFunctions) ? nullptr : found;
}

QByteArray nameOf(const Builtin &row)
{
    return {row.name.data(), row.name.size()};
}

QByteArray functionOf(const Builtin &row)
{
    const OwnFunction *const own = ownFunction(row.id);
    return own ? QByteArray(own->function) : nameOf(row);
}

int depthOf(const Values &arguments)
{
    int depth = 0;
    for (const GlslValue &argument : arguments)
        depth = std::max(depth, argument.depth);
    return depth + 1;
}

GlslValue result(const QByteArray &text, Type type, const Values &arguments)
{
    return {text, type, {}, false, true, depthOf(arguments)};
}

bool isFloatOnly(const Values &arguments)
{
    return std::ranges::all_of(arguments,
                               [](const GlslValue &a) { return scalarOf(a.type) == Type::Float; });
}

bool isScalarOrVector(const GlslValue &value)
{
    return isScalar(value.type) || isVector(value.type);
}

QByteArray laneAs(const GlslValue &value, int lane, Type type)
{
    return glslCast(glslLane(value, lane), scalarOf(value.type), type);
}

QByteArray broadcastLane(const GlslValue &value, int lane, Type type)
{
    return laneAs(value, isScalar(value.type) ? 0 : lane, type);
}

/// One call for all lanes where the function takes vectors, else one a lane.
Emitted perLane(const Builtin &row, const Values &a)
{
    QVarLengthArray<Type, 3> types;
    for (const GlslValue &argument : a)
        types.append(argument.type);
    const Type type = laneFunctionType({types.constData(), static_cast<size_t>(types.size())},
                                       row.function.integers);
    const Type scalar = scalarOf(type);
    if (!isGlslType(type) || isMatrix(type) || scalar == Type::Bool)
        return std::nullopt;
    const bool isFloat = scalar == Type::Float;
    const OwnFunction *const own = isFloat ? ownFunction(row.id) : nullptr;
    const QByteArray function = isFloat ? functionOf(row) : nameOf(row);
    // Whole numbers are their own floor, and sign and abs have no form for uint.
    const bool isRounding = row.ops.onInts == Op::Move;
    if (!isFloat && isRounding) {
        const auto same = glslRetag(a[0], type);
        return same ? Emitted(result(*same, type, a)) : std::nullopt;
    }
    if (scalar == Type::Uint)
        return std::nullopt;
    QList<QByteArray> arguments;
    if (!own || !own->isPerScalar || isScalar(type)) {
        for (const GlslValue &argument : a) {
            const auto text = glslRetag(argument, type);
            if (!text)
                return std::nullopt;
            arguments.append(*text);
        }
        return result(glslCall(function, arguments), type, a);
    }
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        arguments.clear();
        for (const GlslValue &argument : a)
            arguments.append(broadcastLane(argument, i, scalar));
        lanes.append(glslCall(function, arguments));
    }
    return result(glslCall(glslTypeName(type), lanes), type, a);
}

/// The first argument gives the size; of the others what lies beyond is cut and what lacks is zero.
Emitted geometric(const Builtin &row, const Values &a, bool givesVector)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type vector = vectorOf(Type::Float, laneCount(a[0].type));
    QList<QByteArray> arguments;
    for (const GlslValue &argument : a) {
        if (isScalar(argument.type) && !isScalar(vector))
            return std::nullopt;
        const auto text = glslRetag(argument, vector);
        if (!text)
            return std::nullopt;
        arguments.append(*text);
    }
    return result(glslCall(functionOf(row), arguments), givesVector ? vector : Type::Float, a);
}

Emitted refraction(const Builtin &row, const Values &a)
{
    auto vectors = geometric(row, a.first(2), true);
    if (!vectors)
        return std::nullopt;
    vectors->text.chop(1);
    vectors->text += ", " + laneAs(a[2], 0, Type::Float) + ')';
    vectors->depth = depthOf(a);
    return vectors;
}

Emitted crossProduct(const Values &a)
{
    if (a[0].type != Type::Vec3 || a[1].type != Type::Vec3)
        return std::nullopt;
    return result(glslCall("cross", {a[0].text, a[1].text}), Type::Vec3, a);
}

Emitted relation(const Builtin &row, const Values &a)
{
    const bool isFloat = scalarOf(a[0].type) == Type::Float || scalarOf(a[1].type) == Type::Float;
    const Type scalar = isFloat ? Type::Float : scalarOf(a[0].type);
    if (!isScalarOrVector(a[0]) || !isScalarOrVector(a[1]) ||
        (!isFloat && scalarOf(a[1].type) != scalar))
        return std::nullopt;
    if (isScalar(a[0].type))
        return result('(' + laneAs(a[0], 0, scalar) + ' ' + row.native.function + ' ' +
                          laneAs(a[1], 0, scalar) + ')',
                      Type::Bool, a);
    const Type type = vectorOf(scalar, laneCount(a[0].type));
    return result(glslCall(functionOf(row), {*glslRetag(a[0], type), *glslRetag(a[1], type)}),
                  vectorOf(Type::Bool, laneCount(type)), a);
}

Emitted test(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const int lanes = laneCount(a[0].type);
    return result(glslCall(functionOf(row), {*glslRetag(a[0], vectorOf(Type::Float, lanes))}),
                  vectorOf(Type::Bool, lanes), a);
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
    return result(glslCall(functionOf(row), {a[0].text}),
                  isNumber ? Type::Float : matrixOf(rows, columns), a);
}

Emitted outerProduct(const Values &a)
{
    const Type type = matrixOf(laneCount(a[1].type), laneCount(a[0].type));
    if (!isVector(a[0].type) || !isVector(a[1].type) || !isFloatOnly(a) || type == Type::Void)
        return std::nullopt;
    return result(glslCall("outerProduct", {a[0].text, a[1].text}), type, a);
}

Emitted componentProduct(const Values &a)
{
    if (a[0].type != a[1].type || !isFloatOnly(a))
        return std::nullopt;
    if (!isMatrix(a[0].type))
        return result('(' + a[0].text + " * " + a[1].text + ')', a[0].type, a);
    return result(glslCall("matrixCompMult", {a[0].text, a[1].text}), a[0].type, a);
}

Emitted bitQuestion(const Builtin &row, const Values &a)
{
    if (!isScalar(a[0].type))
        return std::nullopt;
    return result(glslCall(functionOf(row), {laneAs(a[0], 0, Type::Uint)}), Type::Int, a);
}

/// Bits of the first arguments, then two ints.
Emitted bitField(const Builtin &row, const Values &a)
{
    if (!isScalar(a[0].type) || !isIntegerLike(a[0].type))
        return std::nullopt;
    QList<QByteArray> arguments;
    for (qsizetype i = 0; i < a.size(); ++i)
        arguments.append(laneAs(a[i], 0, i < a.size() - 2 ? Type::Uint : Type::Int));
    return result(glslCast(glslCall(functionOf(row), arguments), Type::Uint, a[0].type), a[0].type,
                  a);
}

Emitted floatBits(const Values &a)
{
    if (!isScalar(a[0].type))
        return std::nullopt;
    return result(glslCall("floatBitsToInt", {laneAs(a[0], 0, Type::Float)}), Type::Int, a);
}

Emitted bitsAsFloat(const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const int lanes = laneCount(a[0].type);
    return result(glslCall("uintBitsToFloat", {*glslRetag(a[0], vectorOf(Type::Uint, lanes))}),
                  vectorOf(Type::Float, lanes), a);
}

Emitted pack(const Builtin &row, const Values &a, int lanes)
{
    QList<QByteArray> arguments;
    for (int i = 0; i < lanes; ++i)
        arguments.append(laneAs(a[0], i, Type::Float));
    return result(glslCall(functionOf(row), arguments), Type::Uint, a);
}

Emitted unpack(const Builtin &row, const Values &a)
{
    return result(glslCall(functionOf(row), {laneAs(a[0], 0, Type::Uint)}),
                  builtinResultType(row, {a[0].type}), a);
}

} // namespace

bool writesArgumentsAgain(const Builtin &builtin)
{
    const OwnFunction *const own = ownFunction(builtin.id);
    return (own && own->isPerScalar) || isPacking(builtin);
}

std::optional<GlslValue> emitBuiltin(const Builtin &builtin, const QList<GlslValue> &arguments)
{
    if (!std::ranges::all_of(arguments, isGlslType, &GlslValue::type))
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
        return crossProduct(arguments);
    case NativeForm::Relation:
        return relation(builtin, arguments);
    case NativeForm::Test:
        return test(builtin, arguments);
    case NativeForm::AnyOrAll:
        return result(glslCall(functionOf(builtin), {arguments[0].text}), Type::Bool, arguments);
    case NativeForm::Negation:
        return result("not(" + arguments[0].text + ')', arguments[0].type, arguments);
    case NativeForm::OfMatrix:
        return ofMatrix(builtin, arguments);
    case NativeForm::OuterProduct:
        return outerProduct(arguments);
    case NativeForm::ComponentProduct:
        return componentProduct(arguments);
    case NativeForm::BitQuestion:
        return bitQuestion(builtin, arguments);
    case NativeForm::BitField:
        return bitField(builtin, arguments);
    case NativeForm::FloatBits:
        return floatBits(arguments);
    case NativeForm::BitsAsFloat:
        return bitsAsFloat(arguments);
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

} // namespace eval::gpu
