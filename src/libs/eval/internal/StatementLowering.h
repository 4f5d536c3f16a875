#pragma once

#include <eval/internal/LoweringContext.h>

namespace eval::internal {

class ExpressionLowering;

/// The bodies of functions as code. Each statement answers whether control goes on behind it.
class StatementLowering : private LoweringPart
{
public:
    StatementLowering(LoweringContext &context, ExpressionLowering &expressions)
        : LoweringPart(context)
        , m_expressions(expressions)
    {}

    /// A body, out of the loops that may be around its call.
    bool lowerBody(const AstNode &body);

private:
    struct LoopTargets
    {
        Join *onBreak = nullptr;
        Join *onContinue = nullptr; ///< of the innermost loop, also inside a switch
    };

    bool lower(const AstNode &node);
    bool lowerNode(const AstNode &node);
    bool lowerBranch(const AstNode *node);
    bool block(const AstNode &node);
    bool declaration(const AstNode &node);
    bool ifStatement(const AstNode &node);
    bool selectIf(const AstNode &node, Register condition);
    bool branchIf(const AstNode &node, Register condition);
    bool joinWithoutElse(Join &end, CodeBuilder::Label otherwise,
                         const std::vector<LoweredVariable> &afterThen,
                         const std::vector<LoweredVariable> &before);
    bool loop(const AstNode &node);
    void leaveUnless(const AstNode &condition, Join &exit);
    bool switchStatement(const AstNode &node);
    void jumpIfCase(const AstNode &caseBlock, Register number, CodeBuilder::Label label);
    bool returnStatement(const AstNode &node);
    bool leaveFor(Join *join);
    bool discard();

    ExpressionLowering &m_expressions;
    LoopTargets m_targets;
};

} // namespace eval::internal
