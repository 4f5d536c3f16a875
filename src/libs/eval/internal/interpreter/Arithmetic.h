#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/interpreter/Value.h>

namespace eval::internal {

/// What an arithmetic operator makes of two tags. Both the walk and the lowered form decide by
/// these.
enum class ArithmeticForm {
    Scalar,   ///< in double, rounded to the common type; only here is a zero divisor a fault
    Lanewise, ///< per lane, a scalar side broadcast; lanes that one side lacks come out as zero
    MatrixProduct, ///< rows times columns, with a vector as row on the left and as column on the
                   ///< right
};

struct ArithmeticPlan
{
    ArithmeticForm form = ArithmeticForm::Scalar;
    Type result = Type::Float;
    bool inFloat = false; ///< lanes are read as float and computed in float, otherwise in double
};

/// Add to Remainder only.
ArithmeticPlan planArithmetic(BinaryKind kind, Type left, Type right);
/// The type that two scalars meet in.
Type commonScalar(Type left, Type right);
/// What a branch of ?: is converted to, given its own tag and the type that the checker found for
/// both: the same shape with wider lanes, or a scalar spread over the lanes; never fewer lanes and
/// never narrower ones.
Type ternaryType(Type branch, Type checked);

/// The plain operator behind a compound assignment, kind itself for everything else; `isAssignment`
/// tells whether `kind` assigns at all.
BinaryKind operatorOfAssignment(BinaryKind kind);
bool isAssignment(BinaryKind kind);

enum class ArithmeticFault { None, DivisionByZero, ModuloByZero };

/// One operator on two values, assignments excepted. With `checked` a zero divisor of scalars sets
/// `fault` and gives float zero; without it division follows IEEE and remainder gives 0.
Value applyBinary(BinaryKind kind, const Value &left, const Value &right, bool checked,
                  ArithmeticFault &fault);
Value applyUnary(UnaryKind kind, const Value &operand);
/// The value plus `delta` in every lane, as ++ and -- do it.
Value incremented(const Value &value, int delta);

} // namespace eval::internal
