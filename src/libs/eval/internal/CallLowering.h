#pragma once

#include <eval/internal/StatementLowering.h>

namespace eval::internal {

/// Calls. A user function is expanded where it is called, with a frame of its own.
class CallLowering : private LoweringPart
{
public:
    CallLowering(LoweringContext &context, ExpressionLowering &expressions)
        : LoweringPart(context)
        , m_statements(context, expressions)
    {}

    LaneValue lower(const AstNode &node, const std::vector<LaneValue> &arguments);

private:
    LaneValue userCall(const AstNode &node, const std::vector<LaneValue> &arguments);
    const AstNode *pickOverload(const AstNode &node, const std::vector<LaneValue> &arguments) const;
    LaneValue expand(const AstNode &function, const std::vector<LaneValue> &arguments,
                     LoweringFrame &callee);
    void expandBody(const AstNode &function, LoweringFrame &callee);
    void copyBack(const AstNode &call, const AstNode &function, LoweringFrame &callee);

    StatementLowering m_statements;
    std::vector<const AstNode *> m_open; ///< functions being expanded, outermost first
};

} // namespace eval::internal
