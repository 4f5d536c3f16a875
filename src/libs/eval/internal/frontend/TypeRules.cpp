// The rules that the checker and the evaluations share: conversions, common types, and how a
// type is shown to a user.

#include <eval/internal/frontend/TypeRules.h>

#include <QStringList>

#include <array>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

struct Conversion
{
    Type from;
    Type to;
};

constexpr auto conversions = std::to_array<Conversion>({
    {Type::Int, Type::Float},
    {Type::Int, Type::Double},
    {Type::Int, Type::Uint},
    {Type::Int, Type::Int64},
    {Type::Int, Type::Uint64},
    {Type::Uint, Type::Float},
    {Type::Uint, Type::Double},
    {Type::Uint, Type::Uint64},
    {Type::Float, Type::Double},
    {Type::Vec2, Type::DVec2},
    {Type::Vec3, Type::DVec3},
    {Type::Vec4, Type::DVec4},
    {Type::IVec2, Type::Vec2},
    {Type::IVec3, Type::Vec3},
    {Type::IVec4, Type::Vec4},
    {Type::IVec2, Type::DVec2},
    {Type::IVec3, Type::DVec3},
    {Type::IVec4, Type::DVec4},
});

/// The scalar ranks from the one that wins down; what is not listed yields to all of these.
constexpr std::array scalarRanks{Type::Double, Type::Float, Type::Int64, Type::Uint64, Type::Uint};

bool isPlain(Type type)
{
    return isScalar(type) || isVector(type);
}

} // namespace

TypeRef typeOf(const AstPtr &node)
{
    return node ? TypeRef{node->type, node->structName, node->elementType} : TypeRef{};
}

TypeRef typeOf(const FunctionParam &param)
{
    if (param.isArray)
        return {Type::Array, param.structName, param.type};
    return {param.type, param.structName, Type::Float};
}

QString displayName(const TypeRef &type)
{
    if (type.type == Type::Struct)
        return type.structName;
    return type.type == Type::Array ? typeName(type.elementType) + u"[]"_s : typeName(type.type);
}

QString displayNames(const QList<TypeRef> &types)
{
    QStringList names;
    for (const TypeRef &type : types)
        names.append(displayName(type));
    return names.join(u", "_s);
}

Type commonType(Type left, Type right)
{
    if (left == right)
        return left;
    if (isMatrix(left) && isPlain(right))
        return left;
    if (isMatrix(right) && isPlain(left))
        return right;
    if (isVector(left) && isScalar(right))
        return left;
    if (isVector(right) && isScalar(left))
        return right;
    for (const Type rank : scalarRanks) {
        if (left == rank || right == rank)
            return rank;
    }
    return left;
}

Type productType(Type left, Type right)
{
    if (isMatrix(left) && isMatrix(right))
        return left;
    if ((isMatrix(left) && isVector(right)) || (isVector(left) && isMatrix(right))) {
        const Type vector = isVector(left) ? left : right;
        return vectorOf(Type::Float, vectorComponentCount(vector));
    }
    return commonType(left, right);
}

bool isAllowedConversion(Type from, Type to)
{
    for (const Conversion &entry : conversions) {
        if (entry.from == from && entry.to == to)
            return true;
    }
    return false;
}

bool isCompatible(const TypeRef &from, const TypeRef &to)
{
    return from == to || isAllowedConversion(from.type, to.type);
}

} // namespace eval::internal
