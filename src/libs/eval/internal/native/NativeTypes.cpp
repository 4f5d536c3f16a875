// Values and conversions as C++ text. Every conversion is spelled out, so that the rules of C++
// for mixing types never apply.

#include <eval/internal/native/NativeTypes.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace eval::internal {

namespace {

QByteArray call(const char *function, const QByteArray &argument)
{
    return function + ('(' + argument + ')');
}

QByteArray staticCast(Type type, const QByteArray &argument)
{
    return "static_cast<" + nativeTypeName(type) + ">(" + argument + ')';
}

bool isWide(Type type)
{
    return type == Type::Int64 || type == Type::Uint64;
}

QByteArray realLiteral(double value, int digits, const char *suffix, const char *infinity)
{
    if (std::isinf(value))
        return (value < 0 ? "-" : "") + QByteArray(infinity);
    QByteArray text = QByteArray::number(value, 'g', digits);
    if (!text.contains('.') && !text.contains('e'))
        text += ".0";
    return text + suffix;
}

} // namespace

bool isNativeLaneType(Type type)
{
    return isNativeVariableType(type) || (isVector(type) && scalarOf(type) == Type::Bool);
}

bool isNativeVariableType(Type type)
{
    return isScalar(type) || ((isVector(type) || isMatrix(type)) && scalarOf(type) == Type::Float);
}

QByteArray nativeTypeName(Type type)
{
    switch (type) {
    case Type::Double:
        return "double";
    case Type::Int:
        return "Int";
    case Type::Uint:
        return "unsigned";
    case Type::Int64:
        return "long long";
    case Type::Uint64:
        return "unsigned long long";
    case Type::Bool:
        return "Bool";
    default:
        break;
    }
    if (isMatrix(type))
        return "Matrix<" + QByteArray::number(matrixColumns(type)) + ", " +
               QByteArray::number(matrixRows(type)) + '>';
    if (isVector(type))
        return (scalarOf(type) == Type::Bool ? 'B' : 'V') + QByteArray::number(laneCount(type));
    return "Float";
}

QByteArray nativeInteger(qint64 value)
{
    if (value == std::numeric_limits<qint64>::min())
        return "(-9223372036854775807ll - 1)";
    if (value < 0)
        return '(' + QByteArray::number(value) + "ll)";
    return QByteArray::number(value) + "ll";
}

QByteArray nativeLiteral(const QVariant &value, Type type)
{
    switch (type) {
    case Type::Float:
        return realLiteral(static_cast<double>(value.toFloat()), 9, "f", "__builtin_inff()");
    case Type::Double:
        return realLiteral(value.toDouble(), 17, "", "__builtin_inf()");
    case Type::Bool:
        return value.toBool() ? "true" : "false";
    case Type::Uint:
        return QByteArray::number(value.toUInt()) + 'u';
    case Type::Int:
        // The smallest int has no literal of its own.
        return value.toInt() >= 0 ? QByteArray::number(value.toInt())
                                  : '(' + QByteArray::number(value.toInt() + 1) + " - 1)";
    default:
        return nativeInteger(static_cast<qint64>(value.typeId() == QMetaType::ULongLong
                                                     ? static_cast<qint64>(value.toULongLong())
                                                     : value.toLongLong()));
    }
}

QByteArray nativeZero(Type type)
{
    const bool isOneWord = type == Type::Float || type == Type::Int || type == Type::Bool;
    return isOneWord ? nativeTypeName(type) + "{}" : staticCast(type, "0");
}

QByteArray nativeLane(const CodeValue &value, int lane)
{
    if (lane >= laneCount(value.type))
        return nativeZero(scalarOf(value.type));
    if (isMatrix(value.type))
        return value.text + ".m[" + QByteArray::number(lane) + ']';
    return isVector(value.type) ? value.text + '.' + "xyzw"[lane] : value.text;
}

QByteArray nativeBroadcastLane(const CodeValue &value, int lane)
{
    return nativeLane(value, isScalar(value.type) ? 0 : lane);
}

QByteArray nativeCast(const QByteArray &scalar, Type from, Type to)
{
    if (from == to)
        return scalar;
    const bool fromReal = from == Type::Float || from == Type::Double;
    switch (to) {
    case Type::Bool:
        return '(' + scalar + " != " + nativeZero(from) + ')';
    case Type::Float:
        if (from == Type::Int || from == Type::Bool)
            return call(from == Type::Int ? "toFloat" : "boolToFloat", scalar);
        // Through double, as everything of 64 bits: rounded twice, like the reference.
        return staticCast(to, isWide(from) ? staticCast(Type::Double, scalar) : scalar);
    case Type::Int:
        if (from == Type::Bool)
            return call("boolToInt", scalar);
        return fromReal ? call("toInt", scalar) : staticCast(to, scalar);
    case Type::Uint:
        return fromReal ? call("toUint", scalar) : staticCast(to, scalar);
    case Type::Int64:
        return fromReal ? call("toInt64", scalar) : staticCast(to, scalar);
    case Type::Uint64:
        return fromReal ? call("toUint64", scalar) : staticCast(to, scalar);
    default:
        return staticCast(to, scalar);
    }
}

QByteArray nativeCompose(Type type, const QList<QByteArray> &lanes)
{
    if (isScalar(type))
        return lanes.value(0);
    const QByteArray list = lanes.join(", ");
    return nativeTypeName(type) + (isMatrix(type) ? "{{" + list + "}}" : '{' + list + '}');
}

QByteArray nativeRetag(const CodeValue &value, Type type)
{
    if (value.type == type)
        return value.text;
    const Type from = scalarOf(value.type);
    const Type to = scalarOf(type);
    const int rows = matrixRows(type);
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        const bool isFilled =
            isScalar(value.type) ? rows == 0 || i / rows == i % rows : i < laneCount(value.type);
        lanes.append(isFilled ? nativeCast(nativeBroadcastLane(value, i), from, to)
                              : nativeZero(to));
    }
    return nativeCompose(type, lanes);
}

} // namespace eval::internal
