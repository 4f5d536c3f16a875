#pragma once

#include <eval/internal/Arithmetic.h>
#include <eval/internal/LaneValues.h>

namespace eval::internal {

/// Operators as operations on registers, lane by lane.
class ArithmeticLowering
{
public:
    /// @param isChecked  whether a division by zero is a fault
    ArithmeticLowering(CodeBuilder &code, LaneValues &values, bool isChecked)
        : m_code(code)
        , m_values(values)
        , m_isChecked(isChecked)
    {}

    LaneValue binary(BinaryKind kind, const LaneValue &left, const LaneValue &right);
    LaneValue unary(UnaryKind kind, const LaneValue &value);
    /// The value of ++ and --.
    LaneValue stepped(const LaneValue &value, int delta);
    Register compareLanes(BinaryKind kind, Register a, LaneKind kindA, Register b, LaneKind kindB);

private:
    LaneValue comparison(BinaryKind kind, const LaneValue &left, const LaneValue &right);
    LaneValue equality(BinaryKind kind, const LaneValue &left, const LaneValue &right);
    LaneValue bitwise(BinaryKind kind, const LaneValue &left, const LaneValue &right);
    LaneValue scalarArithmetic(BinaryKind kind, const LaneValue &left, const LaneValue &right,
                               Type result);
    LaneValue lanewise(BinaryKind kind, const LaneValue &left, const LaneValue &right,
                       const ArithmeticPlan &plan);
    LaneValue matrixProduct(const LaneValue &left, const LaneValue &right,
                            const ArithmeticPlan &plan);

    CodeBuilder &m_code;
    LaneValues &m_values;
    bool m_isChecked;
};

} // namespace eval::internal
