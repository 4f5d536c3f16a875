#include <eval/gpu/GlslBuiltins.h>

#include <eval/gpu/GlslText.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

namespace {

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

} // namespace

bool GlslBuiltins::writesArgumentsAgain(const Builtin &builtin) const
{
    const OwnFunction *const own = ownFunction(builtin.id);
    return (own && own->isPerScalar) || isPacking(builtin);
}

QByteArray GlslBuiltins::functionOf(const Builtin &row) const
{
    const OwnFunction *const own = ownFunction(row.id);
    return own ? QByteArray(own->function) : nameOf(row);
}

/// One call for all lanes where the function takes vectors, else one a lane.
GlslBuiltins::Emitted GlslBuiltins::perLane(const Builtin &row, const Values &a)
{
    const Type type = laneTypeOf(row, a);
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
        return same ? Emitted(Call{*same, type}) : std::nullopt;
    }
    if (scalar == Type::Uint)
        return std::nullopt;
    QList<QByteArray> arguments;
    if (!own || !own->isPerScalar || isScalar(type)) {
        for (const CodeValue &argument : a) {
            const auto text = glslRetag(argument, type);
            if (!text)
                return std::nullopt;
            arguments.append(*text);
        }
        return Call{CodeWriter::callText(function, arguments), type};
    }
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        arguments.clear();
        for (const CodeValue &argument : a)
            arguments.append(m_writer.laneAs(argument, i, scalar));
        lanes.append(CodeWriter::callText(function, arguments));
    }
    return Call{CodeWriter::callText(glslTypeName(type), lanes), type};
}

GlslBuiltins::Emitted GlslBuiltins::geometric(const Builtin &row, const Values &a, bool givesVector)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const Type vector = vectorOf(Type::Float, laneCount(a[0].type));
    QList<QByteArray> arguments;
    for (const CodeValue &argument : a) {
        if (isScalar(argument.type) && !isScalar(vector))
            return std::nullopt;
        const auto text = glslRetag(argument, vector);
        if (!text)
            return std::nullopt;
        arguments.append(*text);
    }
    return Call{CodeWriter::callText(functionOf(row), arguments),
                givesVector ? vector : Type::Float};
}

GlslBuiltins::Emitted GlslBuiltins::crossProduct(const Builtin &, const Values &a)
{
    if (a[0].type != Type::Vec3 || a[1].type != Type::Vec3)
        return std::nullopt;
    return Call{CodeWriter::callText("cross", {a[0].text, a[1].text}), Type::Vec3};
}

GlslBuiltins::Emitted GlslBuiltins::relation(const Builtin &row, const Values &a)
{
    const bool isFloat = scalarOf(a[0].type) == Type::Float || scalarOf(a[1].type) == Type::Float;
    const Type scalar = isFloat ? Type::Float : scalarOf(a[0].type);
    if (!isScalarOrVector(a[0]) || !isScalarOrVector(a[1]) ||
        (!isFloat && scalarOf(a[1].type) != scalar))
        return std::nullopt;
    if (isScalar(a[0].type))
        return Call{'(' + ownLaneAs(a[0], 0, scalar) + ' ' + row.native.function + ' ' +
                        ownLaneAs(a[1], 0, scalar) + ')',
                    Type::Bool};
    const Type type = vectorOf(scalar, laneCount(a[0].type));
    return Call{
        CodeWriter::callText(functionOf(row), {*glslRetag(a[0], type), *glslRetag(a[1], type)}),
        vectorOf(Type::Bool, laneCount(type))};
}

GlslBuiltins::Emitted GlslBuiltins::test(const Builtin &row, const Values &a)
{
    if (!isScalarOrVector(a[0]))
        return std::nullopt;
    const int lanes = laneCount(a[0].type);
    return Call{
        CodeWriter::callText(functionOf(row), {*glslRetag(a[0], vectorOf(Type::Float, lanes))}),
        vectorOf(Type::Bool, lanes)};
}

QByteArray GlslBuiltins::anyOrAll(const Builtin &row, const CodeValue &lanes)
{
    return CodeWriter::callText(functionOf(row), {lanes.text});
}

QByteArray GlslBuiltins::negation(const Builtin &, const CodeValue &lanes)
{
    return CodeWriter::callText("not", {lanes.text});
}

QByteArray GlslBuiltins::outerProduct(const Values &a, Type)
{
    return CodeWriter::callText("outerProduct", {a[0].text, a[1].text});
}

QByteArray GlslBuiltins::floatBits(const Builtin &, const QByteArray &number)
{
    return CodeWriter::callText("floatBitsToInt", {number});
}

QByteArray GlslBuiltins::bitsAsFloat(const Builtin &, const CodeValue &bits, Type type)
{
    const Type words = vectorOf(Type::Uint, laneCount(type));
    return CodeWriter::callText("uintBitsToFloat", {*glslRetag(bits, words)});
}

} // namespace eval::gpu
