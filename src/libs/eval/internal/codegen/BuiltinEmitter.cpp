#include <eval/internal/codegen/BuiltinEmitter.h>

#include <eval/internal/interpreter/BuiltinFunctions.h>

#include <QVarLengthArray>

#include <algorithm>

namespace eval::internal {

BuiltinEmitter::~BuiltinEmitter() = default;

std::optional<BuiltinEmitter::Call> BuiltinEmitter::emitCall(const Builtin &builtin,
                                                             const QList<CodeValue> &arguments)
{
    if (!std::ranges::all_of(
            arguments, [this](Type type) { return m_writer.isLaneType(type); }, &CodeValue::type))
        return std::nullopt;
    const CodeValue &first = arguments[0];
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
        return Call{anyOrAll(builtin, first), Type::Bool};
    case NativeForm::Negation:
        return Call{negation(builtin, first), first.type};
    case NativeForm::OfMatrix:
        return ofMatrix(builtin, arguments);
    case NativeForm::OuterProduct:
        return outer(arguments);
    case NativeForm::ComponentProduct:
        return componentProduct(builtin, arguments);
    case NativeForm::BitQuestion:
    case NativeForm::FloatBits:
        return ofScalar(builtin, first);
    case NativeForm::BitField:
        return bitField(builtin, arguments);
    case NativeForm::BitsAsFloat: {
        const Type type = vectorOf(Type::Float, laneCount(first.type));
        return isScalarOrVector(first) ? Emitted(Call{bitsAsFloat(builtin, first, type), type})
                                       : std::nullopt;
    }
    case NativeForm::Pack2:
        return pack(builtin, first, 2);
    case NativeForm::Pack4:
        return pack(builtin, first, 4);
    case NativeForm::Unpack:
        return Call{CodeWriter::callText(functionOf(builtin), {ownLaneAs(first, 0, Type::Uint)}),
                    builtinResultType(builtin, {first.type})};
    }
    Q_UNREACHABLE();
}

bool BuiltinEmitter::isPacking(const Builtin &builtin)
{
    return builtin.native.form == NativeForm::Pack2 || builtin.native.form == NativeForm::Pack4;
}

bool BuiltinEmitter::isFloatOnly(const Values &arguments)
{
    return std::ranges::all_of(arguments,
                               [](const CodeValue &a) { return scalarOf(a.type) == Type::Float; });
}

bool BuiltinEmitter::isScalarOrVector(const CodeValue &value)
{
    return isScalar(value.type) || isVector(value.type);
}

QByteArray BuiltinEmitter::ownLaneAs(const CodeValue &value, int lane, Type type) const
{
    return m_writer.castText(m_writer.laneText(value, lane), scalarOf(value.type), type);
}

Type BuiltinEmitter::laneTypeOf(const Builtin &row, const Values &a)
{
    QVarLengthArray<Type, 3> types;
    for (const CodeValue &argument : a)
        types.append(argument.type);
    return laneFunctionType({types.constData(), static_cast<size_t>(types.size())},
                            row.function.integers);
}

BuiltinEmitter::Emitted BuiltinEmitter::refraction(const Builtin &row, const Values &a)
{
    auto vectors = geometric(row, a.first(2), true);
    if (!vectors || scalarOf(a[2].type) == Type::Double)
        return std::nullopt;
    vectors->text.chop(1);
    vectors->text += ", " + ownLaneAs(a[2], 0, Type::Float) + ')';
    return vectors;
}

/// Of a matrix; `transpose` takes any, the others square ones.
BuiltinEmitter::Emitted BuiltinEmitter::ofMatrix(const Builtin &row, const Values &a) const
{
    const int columns = matrixColumns(a[0].type);
    const int rows = matrixRows(a[0].type);
    const bool isTransposed = row.id == BuiltinId::Transpose;
    if (!isMatrix(a[0].type) || (columns != rows && !isTransposed))
        return std::nullopt;
    const bool isNumber = row.id == BuiltinId::Determinant;
    return Call{CodeWriter::callText(functionOf(row), {a[0].text}),
                isNumber ? Type::Float : matrixOf(rows, columns)};
}

BuiltinEmitter::Emitted BuiltinEmitter::outer(const Values &a)
{
    const Type type = matrixOf(laneCount(a[1].type), laneCount(a[0].type));
    if (!isVector(a[0].type) || !isVector(a[1].type) || !isFloatOnly(a) || type == Type::Void)
        return std::nullopt;
    return Call{outerProduct(a, type), type};
}

BuiltinEmitter::Emitted BuiltinEmitter::componentProduct(const Builtin &row, const Values &a) const
{
    if (a[0].type != a[1].type || !isFloatOnly(a))
        return std::nullopt;
    if (!isMatrix(a[0].type))
        return Call{'(' + a[0].text + " * " + a[1].text + ')', a[0].type};
    return Call{CodeWriter::callText(functionOf(row), {a[0].text, a[1].text}), a[0].type};
}

/// A question to the bits of a scalar, or those of a float.
BuiltinEmitter::Emitted BuiltinEmitter::ofScalar(const Builtin &row, const CodeValue &scalar)
{
    if (!isScalar(scalar.type))
        return std::nullopt;
    if (row.native.form == NativeForm::FloatBits)
        return Call{floatBits(row, ownLaneAs(scalar, 0, Type::Float)), Type::Int};
    return Call{CodeWriter::callText(functionOf(row), {ownLaneAs(scalar, 0, Type::Uint)}),
                Type::Int};
}

/// Bits of the first arguments, then two ints.
BuiltinEmitter::Emitted BuiltinEmitter::bitField(const Builtin &row, const Values &a) const
{
    if (!isScalar(a[0].type) || !isIntegerLike(a[0].type))
        return std::nullopt;
    QList<QByteArray> arguments;
    for (qsizetype i = 0; i < a.size(); ++i)
        arguments.append(ownLaneAs(a[i], 0, i < a.size() - 2 ? Type::Uint : Type::Int));
    return Call{
        m_writer.castText(CodeWriter::callText(functionOf(row), arguments), Type::Uint, a[0].type),
        a[0].type};
}

BuiltinEmitter::Call BuiltinEmitter::pack(const Builtin &row, const CodeValue &lanes,
                                          int count) const
{
    QList<QByteArray> arguments;
    for (int i = 0; i < count; ++i)
        arguments.append(ownLaneAs(lanes, i, Type::Float));
    return {CodeWriter::callText(functionOf(row), arguments), Type::Uint};
}

} // namespace eval::internal
