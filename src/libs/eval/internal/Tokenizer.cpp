#include <eval/internal/Tokenizer.h>

#include <eval/Type.h>

using namespace Qt::StringLiterals;

namespace eval::internal {

Token Tokenizer::next()
{
    Token token = m_lexer.next();
    for (; token.is(TokenKind::Unknown); token = m_lexer.next())
        reportUnexpected(token);
    if (token.is(TokenKind::Identifier)) {
        const std::optional<Type> type = typeFromKeyword(token.text);
        if (type && *type != Type::String)
            token.kind = TokenKind::TypeKeyword;
    }
    return token;
}

QList<Token> Tokenizer::tokenize()
{
    QList<Token> tokens;
    do {
        tokens.append(next());
    } while (!tokens.last().is(TokenKind::End));
    return tokens;
}

void Tokenizer::reportUnexpected(const Token &token)
{
    if (m_diagnostics.hasRoom())
        m_diagnostics.add(DiagnosticCategory::Syntax, {token.line, token.column, 1},
                          u"unexpected character '%1'"_s.arg(token.text));
}

} // namespace eval::internal
