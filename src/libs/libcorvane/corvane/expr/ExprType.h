#pragma once

#include <eval/Type.h>

#include <QString>
#include <QVariant>

namespace corvane::expr {

/// The types that a name in an expression can have.
enum class ExprType { Float = 0, Int, Bool, Vec2, Vec3, Vec4, String, Unknown };

/// "float", "int", "bool", "vec2", "vec3", "vec4", "string", "unknown".
QString exprTypeName(ExprType type);
/// Those, and "number" for float, "boolean" for bool, "vector" for vec3. Unknown for any other
/// word.
ExprType exprTypeFromName(const QString &name);

/// The type that a value has in an expression. A number is a float however it was written; a list
/// of two to four numbers is a vector; anything that is no number, bool or vector is a string, and
/// nothing is Unknown.
ExprType exprTypeOfValue(const QVariant &value);
/// The type of a slot that holds it; Void for Unknown.
::eval::Type slotType(ExprType type);
/// Back from the type of an output; integers of any width are Int, what has no counterpart is
/// Unknown.
ExprType exprTypeOfSlot(::eval::Type type);
/// The value in the form that a slot takes: lists of numbers become Qt's vectors.
QVariant slotValue(const QVariant &value, ExprType type);

} // namespace corvane::expr
