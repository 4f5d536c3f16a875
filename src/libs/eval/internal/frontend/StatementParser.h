#pragma once

#include <eval/internal/frontend/ExpressionParser.h>

namespace eval::internal {

/// Parses the statements of function bodies.
class StatementParser
{
public:
    StatementParser(ParseContext &context, ExpressionParser &expressions)
        : m_context(context)
        , m_expressions(expressions)
    {}

    /// Null after an error that left nothing to keep.
    AstPtr parse();
    /// A block, from its opening brace on.
    AstPtr parseBlock();

private:
    AstPtr parseKeyword(const Token &token);
    AstPtr parseDeclaration();
    AstPtr parseIf();
    AstPtr parseFor();
    AstPtr parseForInit();
    AstPtr parseWhile();
    AstPtr parseDoWhile();
    AstPtr parseSwitch();
    AstPtr parseCaseLabel();
    AstPtr parseJump(AstKind kind, QLatin1StringView message);
    AstPtr parseReturn();
    AstPtr parseExpressionStatement(QLatin1StringView message);
    bool atDeclaration() const;

    ParseContext &m_context;
    ExpressionParser &m_expressions;
};

} // namespace eval::internal
