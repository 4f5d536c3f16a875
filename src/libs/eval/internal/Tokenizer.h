#pragma once

#include <eval/internal/DiagnosticList.h>

#include <glsl/Lexer.h>

#include <QList>

namespace eval::internal {

using glsl::Token;
using glsl::TokenKind;

inline SourceSpan spanOf(const Token &token)
{
    return {token.line, token.column, token.length};
}

/// The tokens of the field language, one at a time: those of the lexer, with the keywords of types
/// told from names. Characters that start none are reported and skipped.
///
/// Columns count UTF-16 units. The source must stay alive as long as the tokens are used.
class Tokenizer
{
public:
    explicit Tokenizer(QStringView source)
        : m_lexer(source, glsl::fieldLanguage)
    {}

    /// The next token; End, at the final position, for ever after the last.
    Token next();
    /// All that is left, with End as the last.
    QList<Token> tokenize();

    const DiagnosticList &diagnostics() const { return m_diagnostics; }

private:
    void reportUnexpected(const Token &token);

    glsl::Lexer m_lexer;
    DiagnosticList m_diagnostics;
};

} // namespace eval::internal
