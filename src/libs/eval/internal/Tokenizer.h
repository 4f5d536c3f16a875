#pragma once

#include <eval/internal/DiagnosticList.h>

#include <QList>
#include <QStringView>

namespace eval::internal {

/// The kinds of tokens. The parser computes with the order inside the operator groups.
enum class TokenKind {
    // clang-format off
    IntLiteral = 0, UnsignedLiteral, Int64Literal, Unsigned64Literal, FloatLiteral, DoubleLiteral,
    BoolLiteral, Identifier, TypeKeyword,
    If, Else, For, While, Do, Switch, Case, Default, Break, Continue, Return, Discard,
    In, Out, InOut, Const, Struct, True, False,
    LeftParen, RightParen, LeftBrace, RightBrace, LeftBracket, RightBracket, Comma, Semicolon, Colon,
    Question, Dot,
    Plus, Minus, Star, Slash, Percent,
    EqualEqual, NotEqual, Less, Greater, LessEqual, GreaterEqual,
    AndAnd, OrOr, XorXor, Not,
    And, Or, Xor, Tilde, ShiftLeft, ShiftRight,
    Assign, PlusAssign, MinusAssign, StarAssign, SlashAssign, PercentAssign, AndAssign, OrAssign,
    XorAssign, ShiftLeftAssign, ShiftRightAssign,
    Increment, Decrement,
    End,
    // clang-format on
};
static_assert(static_cast<int>(TokenKind::End) == 73);

/// A token of a source text, which the text's owner has to outlive.
struct Token
{
    TokenKind kind = TokenKind::End;
    QStringView text;
    int line = 1;
    int column = 1;
    int length = 0;

    SourceSpan span() const { return {line, column, length}; }
    bool is(TokenKind wanted) const { return kind == wanted; }
};

/// Cuts a source text into tokens, one at a time. Characters that start none are reported and
/// skipped.
///
/// Columns count UTF-16 units. The source must stay alive as long as the tokens are used.
class Tokenizer
{
public:
    explicit Tokenizer(QStringView source);

    /// The next token; End, at the final position, for ever after the last.
    Token next();
    /// All that is left, with End as the last.
    QList<Token> tokenize();

    const DiagnosticList &diagnostics() const { return m_diagnostics; }

private:
    QChar at(qsizetype offset) const;
    void advance(qsizetype count) { m_position += count; }
    void skipSpace();
    void skipLineComment();
    void skipBlockComment();
    void countLineBreak();
    void skipDigits();
    Token take(TokenKind kind, qsizetype start) const;
    Token readNumber();
    TokenKind readNumberSuffix(bool isFraction);
    Token readWord();
    bool readOperator(Token &token);
    void reportUnexpected();
    int column(qsizetype position) const;

    QStringView m_source;
    qsizetype m_position = 0;
    qsizetype m_lineStart = 0;
    int m_line = 1;
    DiagnosticList m_diagnostics;
};

} // namespace eval::internal
