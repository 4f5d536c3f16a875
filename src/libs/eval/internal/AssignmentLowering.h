#pragma once

#include <eval/internal/LoweringContext.h>

namespace eval::internal {

class ExpressionLowering;

/// Assignments, ++ and --. A variable's lanes are replaced by the registers of what is written:
/// only where ways of control join does anything have to move.
class AssignmentLowering : private LoweringPart
{
public:
    AssignmentLowering(LoweringContext &context, ExpressionLowering &expressions)
        : LoweringPart(context)
        , m_expressions(expressions)
    {}

    LaneValue assignment(const AstNode &node);
    LaneValue step(const AstNode &node);

private:
    using LaneNumbers = ShortList<int>;

    /// Where an assignment writes to. An index that is only known at run time gives several places.
    struct Place
    {
        Register condition = noRegister; ///< that this is the place; noRegister: it always is
        LaneNumbers lanes;               ///< of the variable
    };
    struct Target
    {
        bool isValid = false;
        int variable = -1;
        Type type = Type::Float;
        QString structName;
        std::vector<Place> places;
    };

    static LaneNumbers composed(const LaneNumbers &whole, const LaneNumbers &part);
    Target target(const AstNode &node);
    Target variableTarget(const AstNode &node);
    Target partTarget(const AstNode &node);
    Target indexTarget(const AstNode &node);
    LaneValue readPlaces(const Target &target);
    LaneValue writePlaces(const Target &target, const LaneValue &value);

    ExpressionLowering &m_expressions;
};

} // namespace eval::internal
