#pragma once

#include <eval/internal/frontend/ParseContext.h>

namespace eval::internal {

/// Parses expressions by precedence climbing: one loop for all binary levels, so that a level of
/// parentheses costs few frames of the stack.
class ExpressionParser
{
public:
    explicit ExpressionParser(ParseContext &context)
        : m_context(context)
    {}

    /// An expression of the loosest level, assignments included. Null after an error.
    AstPtr parse();

private:
    AstPtr parseTernary(AstPtr condition);
    AstPtr parseBinary(int loosest);
    AstPtr parseUnary();
    AstPtr parsePostfix();
    bool atFraction() const;
    AstPtr parseMember(AstPtr object);
    AstPtr parseIndex(AstPtr object);
    AstPtr parsePrimary();
    AstPtr parseLiteral();
    AstPtr parseConstructor();
    AstPtr parseName();
    AstPtr parseParenthesised();
    QList<AstPtr> parseArguments(QLatin1StringView closingMessage);
    AstPtr binary(BinaryKind kind, const Token &token, AstPtr left, AstPtr right);

    ParseContext &m_context;
};

} // namespace eval::internal
