#pragma once

#include <eval/internal/native/CodegenExpressions.h>

namespace eval::internal {

/// The statements of one function, or of the outputs' expressions, as C++. Loops keep the
/// interpreter's bound.
///
/// For several points at a time both branches of an `if` run one after the other, each for the
/// lanes that take it: an assignment there keeps the other lanes as they are, and a return notes
/// the value of its lanes. Loops go on for the lanes that do. Lanes that are not `active` keep no
/// loop going; what they compute means nothing.
class CodegenBody
{
public:
    /// @param function  null for the outputs' expressions
    CodegenBody(CodegenUnit &unit, CodegenFunction *function)
        : m_unit(unit)
        , m_writer(unit, function)
        , m_expressions(m_writer)
    {}

    CodegenWriter &writer() { return m_writer; }
    Operand emitExpression(const AstNode &node) { return m_expressions.emitExpression(node); }
    void emitStatement(const AstNode &node);

private:
    /// A loop that each lane leaves by itself: variables for those that are in it, and for those of
    /// them that are through with this round.
    struct LaneLoop
    {
        QByteArray on, skipped;
    };
    /// A loop that all lanes leave together.
    struct PlainLoop
    {
        QByteArray continueLabel;
        bool isContinued = false;
    };

    void emitBlock(const AstNode &node);
    void emitDeclaration(const AstNode &node);
    void emitIf(const AstNode &node);
    void emitLoop(const AstNode &node);
    QByteArray loopHead();
    void emitSwitch(const AstNode &node);
    void emitReturn(const AstNode &node);
    void emitLeave();
    void emitBreak();
    void emitContinue();

    // For lanes, in CodegenLanes.cpp.
    QByteArray stillOn() const;
    void emitMaskedIf(const AstNode &node, const QByteArray &chosen);
    void emitMaskedLoop(const AstNode &node);
    void emitMaskedLeave(const QByteArray &value);
    void emitMaskedJump(AstKind kind);

    CodegenUnit &m_unit;
    CodegenWriter m_writer;
    CodegenExpressions m_expressions;
    QList<PlainLoop> m_plainLoops; ///< around, innermost last
    QList<LaneLoop> m_laneLoops;   ///< around, innermost last
    int m_breakDepth = 0;          ///< plain loops and switches around
    int m_partLeaves = 0;          ///< jumps of some lanes so far
    int m_partReturns = 0;         ///< those of them that end the function
};

} // namespace eval::internal
