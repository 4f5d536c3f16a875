#include <eval/internal/BuiltinTable.h>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

using R = BuiltinResult;

constexpr auto entries = std::to_array<BuiltinEntry>({
    {"abs"_L1, 1, R::AsFirst},
    {"acos"_L1, 1, R::AsFirst},
    {"acosh"_L1, 1, R::AsFirst},
    {"all"_L1, 1, R::Bool},
    {"any"_L1, 1, R::Bool},
    {"asin"_L1, 1, R::AsFirst},
    {"asinh"_L1, 1, R::AsFirst},
    {"atan"_L1, 1, R::AsFirst},
    {"atanh"_L1, 1, R::AsFirst},
    {"bitCount"_L1, 1, R::AsFirst},
    {"bitfieldExtract"_L1, 3, R::AsFirst},
    {"bitfieldInsert"_L1, 4, R::AsFirst},
    {"ceil"_L1, 1, R::AsFirst},
    {"clamp"_L1, 3, R::AsFirst},
    {"cos"_L1, 1, R::AsFirst},
    {"cosh"_L1, 1, R::AsFirst},
    {"cross"_L1, 2, R::Cross},
    {"degrees"_L1, 1, R::AsFirst},
    {"determinant"_L1, 1, R::Float},
    {"distance"_L1, 2, R::ScalarOfFirst},
    {"dot"_L1, 2, R::ScalarOfFirst},
    {"equal"_L1, 2, R::BoolLanes},
    {"exp"_L1, 1, R::AsFirst},
    {"exp2"_L1, 1, R::AsFirst},
    {"faceforward"_L1, 3, R::AsFirst},
    {"findLSB"_L1, 1, R::AsFirst},
    {"findMSB"_L1, 1, R::AsFirst},
    {"floatBitsToInt"_L1, 1, R::Int},
    {"floor"_L1, 1, R::AsFirst},
    {"fma"_L1, 3, R::AsFirst},
    {"fract"_L1, 1, R::AsFirst},
    {"greaterThan"_L1, 2, R::BoolLanes},
    {"greaterThanEqual"_L1, 2, R::BoolLanes},
    {"intBitsToFloat"_L1, 1, R::Float},
    {"inverse"_L1, 1, R::AsFirst},
    {"inversesqrt"_L1, 1, R::AsFirst},
    {"isinf"_L1, 1, R::BoolLanes},
    {"isnan"_L1, 1, R::BoolLanes},
    {"length"_L1, 1, R::ScalarOfFirst},
    {"lessThan"_L1, 2, R::BoolLanes},
    {"lessThanEqual"_L1, 2, R::BoolLanes},
    {"log"_L1, 1, R::AsFirst},
    {"log2"_L1, 1, R::AsFirst},
    {"matrixCompMult"_L1, 2, R::AsFirst},
    {"max"_L1, 2, R::AsFirst},
    {"min"_L1, 2, R::AsFirst},
    {"mix"_L1, 3, R::AsFirst},
    {"mod"_L1, 2, R::AsFirst},
    {"normalize"_L1, 1, R::AsFirst},
    {"not"_L1, 1, R::AsFirst},
    {"notEqual"_L1, 2, R::BoolLanes},
    {"outerProduct"_L1, 2, R::OuterProduct},
    {"packHalf2x16"_L1, 1, R::Uint},
    {"packSnorm2x16"_L1, 1, R::Uint},
    {"packSnorm4x8"_L1, 1, R::Uint},
    {"packUnorm2x16"_L1, 1, R::Uint},
    {"packUnorm4x8"_L1, 1, R::Uint},
    {"pow"_L1, 2, R::AsFirst},
    {"radians"_L1, 1, R::AsFirst},
    {"reflect"_L1, 2, R::AsFirst},
    {"refract"_L1, 3, R::AsFirst},
    {"round"_L1, 1, R::AsFirst},
    {"roundEven"_L1, 1, R::AsFirst},
    {"sign"_L1, 1, R::AsFirst},
    {"sin"_L1, 1, R::AsFirst},
    {"sinh"_L1, 1, R::AsFirst},
    {"smoothstep"_L1, 3, R::AsFirst},
    {"sqrt"_L1, 1, R::AsFirst},
    {"step"_L1, 2, R::AsFirst},
    {"tan"_L1, 1, R::AsFirst},
    {"tanh"_L1, 1, R::AsFirst},
    {"transpose"_L1, 1, R::AsFirst},
    {"trunc"_L1, 1, R::AsFirst},
    {"unpackHalf2x16"_L1, 1, R::Vec2},
    {"unpackSnorm2x16"_L1, 1, R::Vec2},
    {"unpackSnorm4x8"_L1, 1, R::Vec4},
    {"unpackUnorm2x16"_L1, 1, R::Vec2},
    {"unpackUnorm4x8"_L1, 1, R::Vec4},
});

Type typeAt(const QList<Type> &arguments, qsizetype index)
{
    return arguments.value(index, Type::Float);
}

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

std::span<const BuiltinEntry> builtinTable()
{
    return entries;
}

const BuiltinEntry *findBuiltin(QStringView name)
{
    const auto found = std::lower_bound(entries.begin(), entries.end(), name,
                                        [](const BuiltinEntry &entry, QStringView wanted) {
                                            return wanted.compare(entry.name) > 0;
                                        });
    return found != entries.end() && name == found->name ? &*found : nullptr;
}

bool builtinTakes(const BuiltinEntry &entry, qsizetype argumentCount)
{
    return argumentCount == entry.arity || (argumentCount == 2 && entry.name == "atan"_L1);
}

Type builtinResultType(const BuiltinEntry &entry, const QList<Type> &arguments)
{
    const Type first = typeAt(arguments, 0);
    switch (entry.result) {
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
        return outerProductType(first, typeAt(arguments, 1));
    }
    Q_UNREACHABLE();
}

} // namespace eval::internal
