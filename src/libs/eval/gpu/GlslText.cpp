#include <eval/gpu/GlslText.h>

#include <cmath>

namespace eval::gpu {

namespace {

bool isLaneScalar(Type type)
{
    return type == Type::Float || type == Type::Int || type == Type::Uint || type == Type::Bool;
}

QByteArray floatLiteral(float value)
{
    if (std::isnan(value))
        return "uintBitsToFloat(0x7fc00000u)";
    if (std::isinf(value))
        return value > 0 ? "uintBitsToFloat(0x7f800000u)" : "uintBitsToFloat(0xff800000u)";
    QByteArray text = QByteArray::number(static_cast<double>(value), 'g', 9);
    if (!text.contains('.') && !text.contains('e'))
        text += ".0";
    return std::signbit(value) ? '(' + text + ')' : text;
}

QByteArray intLiteral(int value)
{
    // The smallest int has no literal of its own.
    return value >= 0 ? QByteArray::number(value) : '(' + QByteArray::number(value + 1) + " - 1)";
}

} // namespace

bool isGlslType(Type type)
{
    if (isMatrix(type))
        return scalarOf(type) == Type::Float;
    return (isScalar(type) || isVector(type)) && isLaneScalar(scalarOf(type));
}

QByteArray glslTypeName(Type type)
{
    return isGlslType(type) || type == Type::Void ? typeName(type).toLatin1() : QByteArray();
}

QByteArray glslLiteral(const QVariant &value, Type type)
{
    switch (type) {
    case Type::Bool:
        return value.toBool() ? "true" : "false";
    case Type::Int:
        return intLiteral(value.toInt());
    case Type::Uint:
        return QByteArray::number(value.toUInt()) + 'u';
    default:
        return floatLiteral(value.toFloat());
    }
}

QByteArray glslZero(Type type)
{
    if (!isScalar(type))
        return glslTypeName(type) + '(' + glslZero(scalarOf(type)) + ')';
    return glslLiteral(0, type);
}

QByteArray glslLane(const internal::CodeValue &value, int lane)
{
    if (lane >= laneCount(value.type))
        return glslZero(scalarOf(value.type));
    if (isMatrix(value.type)) {
        const int rows = matrixRows(value.type);
        return value.text + '[' + QByteArray::number(lane / rows) + "]." + "xyzw"[lane % rows];
    }
    return isVector(value.type) ? value.text + '.' + "xyzw"[lane] : value.text;
}

QByteArray glslCast(const QByteArray &scalar, Type from, Type to)
{
    if (from == to)
        return scalar;
    if (to == Type::Bool)
        return '(' + scalar + " != " + glslZero(from) + ')';
    if (from == Type::Float && to == Type::Int)
        return "evalInt(" + scalar + ')';
    if (from == Type::Float && to == Type::Uint)
        return "evalUint(" + scalar + ')';
    return glslTypeName(to) + '(' + scalar + ')';
}

std::optional<QByteArray> glslRetag(const internal::CodeValue &value, Type type)
{
    if (value.type == type)
        return value.text;
    if (!isGlslType(value.type) || !isGlslType(type))
        return std::nullopt;
    const Type from = scalarOf(value.type);
    const Type to = scalarOf(type);
    if (isScalar(type))
        return glslCast(glslLane(value, 0), from, to);
    if (isScalar(value.type))
        return glslTypeName(type) + '(' + glslCast(value.text, from, to) + ')';
    if (isMatrix(value.type) || isMatrix(type))
        return std::nullopt;
    const int given = laneCount(value.type);
    const int wanted = laneCount(type);
    QByteArray lanes =
        given > wanted ? value.text + '.' + QByteArray("xyzw").first(wanted) : value.text;
    for (int i = given; i < wanted; ++i)
        lanes += ", " + glslZero(to);
    return given > wanted && from == to ? lanes : glslTypeName(type) + '(' + lanes + ')';
}

} // namespace eval::gpu
