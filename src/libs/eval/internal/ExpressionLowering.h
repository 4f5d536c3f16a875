#pragma once

#include <eval/internal/AssignmentLowering.h>
#include <eval/internal/CallLowering.h>

namespace eval::internal {

/// Expressions as code: each answers the registers that its value is in.
class ExpressionLowering : private LoweringPart
{
public:
    explicit ExpressionLowering(LoweringContext &context)
        : LoweringPart(context)
        , m_assignments(context, *this)
        , m_calls(context, *this)
    {}

    LaneValue lower(const AstNode &node);
    /// The condition of an if, a loop or a choice.
    Register condition(const AstNode &node);
    LaneValue identifier(const AstNode &node);

private:
    LaneValue lowerNode(const AstNode &node);
    std::vector<LaneValue> arguments(const AstNode &node);
    LaneValue literal(const AstNode &node);
    LaneValue binary(const AstNode &node);
    LaneValue ternary(const AstNode &node);
    LaneValue ternaryBranch(const AstNode &node, const AstNode &branch);
    LaneValue branchTernary(const AstNode &node, Register chosen);
    LaneValue constructor(const AstNode &node);
    LaneValue constructStruct(const AstNode &node, const std::vector<LaneValue> &parts);
    LaneValue matrixFromMatrix(const LaneValue &source, Type type);
    LaneValue member(const AstNode &node);
    LaneValue structField(const AstNode &node);
    LaneValue index(const AstNode &node);

    AssignmentLowering m_assignments;
    CallLowering m_calls;
};

} // namespace eval::internal
