#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/interpreter/Interpreter.h>

#include <QHash>

namespace eval::internal {

/// How many rounds of loops a piece of code runs at most, as far as its text says so.
///
/// A `for` with a literal start, limit and step whose body leaves its counter alone is evident;
/// every other loop may run to the bound of the language, and loops within each other without end
/// for all that a user would wait for.
class LoopRounds
{
public:
    /// What runs in a few milliseconds at worst.
    static constexpr qint64 few = 65'536;

    /// Whether a loop is over after few rounds, those within it and within what it calls included.
    bool areFew(const AstNode &loop, const FunctionTable &functions);

private:
    qint64 roundsIn(const AstNode *node, const FunctionTable &functions);
    qint64 roundsOfCall(const AstNode &call, const FunctionTable &functions);
    qint64 roundsOfLoop(const AstNode &loop, const FunctionTable &functions);

    QHash<const AstNode *, qint64> m_known; ///< of loops and functions
    int m_callDepth = 0;
};

} // namespace eval::internal
