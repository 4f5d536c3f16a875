#pragma once

#include <QStringView>

namespace glsl {

/// The kinds of tokens. The parser of the field language computes with the order inside the
/// operator groups, and the tests of Token with that of the words.
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
    Hash,    ///< where a preprocessor line begins
    Quoted,  ///< a text in quotes, which belong to it
    Unknown, ///< a character that begins nothing
    // clang-format on
};
static_assert(static_cast<int>(TokenKind::End) == 73);

/// A token of a source text, which the text's owner has to outlive.
struct Token
{
    TokenKind kind = TokenKind::End;
    QStringView text{};
    int line = 1;
    int column = 1; ///< in UTF-16 units
    int length = 0;
    bool inDirective = false; ///< on a preprocessor line, its "#" included

    bool is(TokenKind wanted) const { return kind == wanted; }
    /// Names and keywords.
    bool isWord() const { return kind >= TokenKind::BoolLiteral && kind <= TokenKind::False; }
    bool isNumber() const { return kind <= TokenKind::DoubleLiteral; }
    bool opens() const
    {
        return is(TokenKind::LeftParen) || is(TokenKind::LeftBrace) || is(TokenKind::LeftBracket);
    }
    bool closes() const
    {
        return is(TokenKind::RightParen) || is(TokenKind::RightBrace) ||
               is(TokenKind::RightBracket);
    }
    /// Whether nothing, not even a blank, stands between this and the token before it.
    bool touches(const Token &before) const
    {
        return text.data() == before.text.data() + before.text.size();
    }
};

} // namespace glsl
