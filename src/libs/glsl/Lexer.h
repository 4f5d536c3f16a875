#pragma once

#include <glsl/Token.h>

namespace glsl {

/// What a text may hold beside words, numbers and operators.
struct Dialect
{
    bool comments = true;    ///< passed over; otherwise their text is read like any other
    bool directives = false; ///< "#" begins a preprocessor line, a backslash carries a line on
    bool quotes = false;     ///< "a text" is one token
    /// Numbers end where the grammar ends them, and names are letters, digits and "_". Otherwise
    /// whatever letters follow a number belong to it, and marks such as accents to a name: the text
    /// is to be understood, and somebody else judges it.
    bool strict = false;
};
inline constexpr Dialect fieldLanguage{.strict = true};
inline constexpr Dialect shaderText{.directives = true};
inline constexpr Dialect expressionText{.quotes = true};
inline constexpr Dialect plainText{.comments = false};

/// Cuts a text in the manner of GLSL into tokens, one at a time: the one place that knows where a
/// name, a number, a comment and a preprocessor line end. It refuses nothing, allocates nothing,
/// and is linear in the text, which has to live as long as the tokens.
///
/// Words are letters in the sense of Unicode. Operators are the longest that fit.
class Lexer
{
public:
    explicit Lexer(QStringView source, Dialect dialect)
        : m_source(source)
        , m_dialect(dialect)
    {}

    /// The next token; End, at the final position, for ever after the last.
    [[nodiscard]] Token next();

private:
    [[nodiscard]] QChar at(qsizetype offset) const
    {
        const qsizetype position = m_position + offset;
        return position < m_source.size() ? m_source[position] : QChar();
    }
    void advance(qsizetype count) { m_position += count; }
    void skipBlank();
    bool skipContinuation();
    void skipLineComment();
    void skipBlockComment();
    void countLineBreak();
    [[nodiscard]] Token take(TokenKind kind, qsizetype length);
    [[nodiscard]] Token takeNumber();
    [[nodiscard]] Token takeWord();
    [[nodiscard]] Token takeQuoted();
    [[nodiscard]] Token takeOperator();
    [[nodiscard]] Token takeUnknown();
    [[nodiscard]] qsizetype digitsFrom(qsizetype offset) const;
    [[nodiscard]] bool continuesWord(QChar c) const;
    [[nodiscard]] TokenKind readSuffix(qsizetype &length, bool isFraction) const;

    QStringView m_source;
    Dialect m_dialect;
    qsizetype m_position = 0;
    qsizetype m_lineStart = 0;
    int m_line = 1;
    bool m_lineIsEmpty = true; ///< so far, and so a "#" may begin a directive
    bool m_inDirective = false;
};

} // namespace glsl
