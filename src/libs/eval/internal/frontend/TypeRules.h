#pragma once

#include <eval/Type.h>
#include <eval/internal/frontend/Ast.h>

#include <QList>
#include <QString>

namespace eval::internal {

/// A type with what travels beside it.
struct TypeRef
{
    Type type = Type::Float;
    QString structName;             ///< when type is Struct
    Type elementType = Type::Float; ///< when type is Array

    bool operator==(const TypeRef &) const = default;
};

/// The type of a checked expression; float for a null node.
TypeRef typeOf(const AstPtr &node);
TypeRef typeOf(const FunctionParam &param);
/// For messages: the keyword, a struct's name, or the element type with "[]".
QString displayName(const TypeRef &type);
QString displayNames(const QList<TypeRef> &types);

/// The type of an arithmetic operation. Never fails: odd pairs take the left type.
Type commonType(Type left, Type right);
/// The type of a product: linear algebra where a matrix meets a vector or a matrix.
Type productType(Type left, Type right);
/// Whether a value of one type may stand where another is declared: int to float and the like.
/// False for equal types.
bool isAllowedConversion(Type from, Type to);
/// Equal, or an allowed conversion.
bool isCompatible(const TypeRef &from, const TypeRef &to);

} // namespace eval::internal
