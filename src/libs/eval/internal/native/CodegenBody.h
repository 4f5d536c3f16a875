#pragma once

#include <eval/internal/codegen/StatementEmitter.h>
#include <eval/internal/native/CodegenExpressions.h>

namespace eval::internal {

/// The parts of a body, made before it.
struct CodegenParts
{
    CodegenParts(CodegenUnit &unit, CodeFunction *function)
        : lines(unit, function)
        , cppExpressions(lines)
    {}

    CodegenWriter lines;
    CodegenExpressions cppExpressions;
};

/// The statements of one function, or of the outputs' expressions, as C++. Loops keep the
/// interpreter's bound.
///
/// For several points at a time both branches of an `if` run one after the other, each for the
/// lanes that take it: an assignment there keeps the other lanes as they are, and a return notes
/// the value of its lanes. Loops go on for the lanes that do. Lanes that are not `active` keep no
/// loop going; what they compute means nothing.
class CodegenBody : private CodegenParts, public StatementEmitter
{
public:
    /// @param function  null for the outputs' expressions
    CodegenBody(CodegenUnit &unit, CodeFunction *function)
        : CodegenParts(unit, function)
        , StatementEmitter(lines, cppExpressions)
        , m_unit(unit)
    {}

    /// All of a function between its braces.
    QByteArray functionText() { return lines.functionText(); }

protected:
    void emitIf(const AstNode &node) override;
    void emitLoop(const AstNode &node) override;
    void emitSwitch(const AstNode &node) override;
    void emitBreak() override;
    void emitContinue() override;
    void emitLeave() override;
    void emitLeaveWith(const QByteArray &value) override;

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

    QByteArray loopHead();

    // For lanes, in CodegenLanes.cpp.
    QByteArray stillOn() const;
    void emitMaskedIf(const AstNode &node, const QByteArray &chosen);
    void emitMaskedLoop(const AstNode &node);
    void emitMaskedLeave(const QByteArray &value);
    void emitMaskedJump(AstKind kind);

    CodegenUnit &m_unit;
    QList<PlainLoop> m_plainLoops; ///< around, innermost last
    QList<LaneLoop> m_laneLoops;   ///< around, innermost last
    int m_breakDepth = 0;          ///< plain loops and switches around
    int m_partLeaves = 0;          ///< jumps of some lanes so far
    int m_partReturns = 0;         ///< those of them that end the function
};

} // namespace eval::internal
