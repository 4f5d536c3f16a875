#include <eval/internal/ExpressionParser.h>

#include <eval/internal/Builtin.h>
#include <eval/internal/LiteralReader.h>

#include <array>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

struct BinaryOperator
{
    TokenKind token;
    int tightness; ///< operators of one tightness group from the left
    BinaryKind kind;
};

constexpr int loosestBinary = 1;

constexpr auto binaryOperators = std::to_array<BinaryOperator>({
    {TokenKind::OrOr, 1, BinaryKind::LogicalOr},
    // Between the other two, unlike in C: a || b ^^ c is a || (b ^^ c), a ^^ b && c is a ^^ (b &&
    // c).
    {TokenKind::XorXor, 2, BinaryKind::LogicalXor},
    {TokenKind::AndAnd, 3, BinaryKind::LogicalAnd},
    {TokenKind::Or, 4, BinaryKind::BitOr},
    {TokenKind::Xor, 5, BinaryKind::BitXor},
    {TokenKind::And, 6, BinaryKind::BitAnd},
    {TokenKind::EqualEqual, 7, BinaryKind::Equal},
    {TokenKind::NotEqual, 7, BinaryKind::NotEqual},
    {TokenKind::Less, 8, BinaryKind::Less},
    {TokenKind::Greater, 8, BinaryKind::Greater},
    {TokenKind::LessEqual, 8, BinaryKind::LessOrEqual},
    {TokenKind::GreaterEqual, 8, BinaryKind::GreaterOrEqual},
    {TokenKind::ShiftLeft, 9, BinaryKind::ShiftLeft},
    {TokenKind::ShiftRight, 9, BinaryKind::ShiftRight},
    {TokenKind::Plus, 10, BinaryKind::Add},
    {TokenKind::Minus, 10, BinaryKind::Subtract},
    {TokenKind::Star, 11, BinaryKind::Multiply},
    {TokenKind::Slash, 11, BinaryKind::Divide},
    {TokenKind::Percent, 11, BinaryKind::Remainder},
});

const BinaryOperator *binaryOperator(TokenKind token)
{
    if (token < TokenKind::Plus || token > TokenKind::ShiftRight)
        return nullptr;
    for (const BinaryOperator &entry : binaryOperators) {
        if (entry.token == token)
            return &entry;
    }
    return nullptr;
}

std::optional<BinaryKind> assignmentKind(TokenKind token)
{
    if (token < TokenKind::Assign || token > TokenKind::ShiftRightAssign)
        return std::nullopt;
    // Both enumerations list the assignments in the same order.
    const int place = static_cast<int>(token) - static_cast<int>(TokenKind::Assign);
    return static_cast<BinaryKind>(static_cast<int>(BinaryKind::Assign) + place);
}

std::optional<UnaryKind> prefixKind(TokenKind token)
{
    switch (token) {
    case TokenKind::Minus:
        return UnaryKind::Negate;
    case TokenKind::Plus:
        return UnaryKind::Plus;
    case TokenKind::Not:
        return UnaryKind::LogicalNot;
    case TokenKind::Tilde:
        return UnaryKind::BitNot;
    case TokenKind::Increment:
        return UnaryKind::PrefixIncrement;
    case TokenKind::Decrement:
        return UnaryKind::PrefixDecrement;
    default:
        return std::nullopt;
    }
}

bool isLiteral(TokenKind token)
{
    return token <= TokenKind::BoolLiteral;
}

} // namespace

AstPtr ExpressionParser::parse()
{
    const ParseContext::Level level(m_context);
    if (!level)
        return {};
    AstPtr left = parseBinary(loosestBinary);
    if (m_context.tokens.at(TokenKind::Question))
        left = parseTernary(std::move(left));
    if (const auto kind = assignmentKind(m_context.tokens.peek().kind)) {
        const Token token = m_context.tokens.next();
        left = binary(*kind, token, std::move(left), parse());
    }
    return left;
}

AstPtr ExpressionParser::parseTernary(AstPtr condition)
{
    const AstPtr node = m_context.make(AstKind::Ternary, m_context.tokens.next());
    node->condition = std::move(condition);
    node->left = parse();
    m_context.expect(TokenKind::Colon, "expected ':' in ternary expression"_L1);
    node->right = parse();
    return m_context.close(node);
}

AstPtr ExpressionParser::parseBinary(int loosest)
{
    AstPtr left = parseUnary();
    for (;;) {
        const BinaryOperator *const entry = binaryOperator(m_context.tokens.peek().kind);
        if (!entry || entry->tightness < loosest)
            return left;
        const Token token = m_context.tokens.next();
        left = binary(entry->kind, token, std::move(left), parseBinary(entry->tightness + 1));
    }
}

AstPtr ExpressionParser::parseUnary()
{
    const auto kind = prefixKind(m_context.tokens.peek().kind);
    if (!kind)
        return parsePostfix();
    const ParseContext::Level level(m_context);
    if (!level)
        return {};
    const AstPtr node = m_context.make(AstKind::Unary, m_context.tokens.next());
    node->unaryKind = *kind;
    node->left = parseUnary();
    return m_context.close(node);
}

AstPtr ExpressionParser::parsePostfix()
{
    AstPtr node = parsePrimary();
    TokenStream &tokens = m_context.tokens;
    for (;;) {
        const Token token = tokens.peek();
        if (token.is(TokenKind::LeftBracket)) {
            node = parseIndex(std::move(node));
        } else if (token.is(TokenKind::Dot) || atFraction()) {
            node = parseMember(std::move(node));
        } else if (token.is(TokenKind::Increment) || token.is(TokenKind::Decrement)) {
            const AstPtr step = m_context.make(AstKind::Unary, tokens.next());
            step->unaryKind = token.is(TokenKind::Increment) ? UnaryKind::PostfixIncrement
                                                             : UnaryKind::PostfixDecrement;
            step->left = std::move(node);
            node = m_context.close(step);
        } else {
            return node;
        }
    }
}

/// The ".0" of "x.0", which the tokenizer takes for a number: meant as a member, and none.
bool ExpressionParser::atFraction() const
{
    const Token &token = m_context.tokens.peek();
    return token.is(TokenKind::FloatLiteral) && token.text.startsWith(u'.') &&
           m_context.tokens.touchesPrevious();
}

AstPtr ExpressionParser::parseMember(AstPtr object)
{
    if (atFraction()) {
        m_context.error(m_context.tokens.next(), u"expected swizzle or member after '.'"_s);
        return object;
    }
    m_context.tokens.next();
    const Token token = m_context.tokens.peek();
    if (!m_context.expect(TokenKind::Identifier, "expected swizzle or member after '.'"_L1))
        return object;
    const AstPtr node = m_context.make(AstKind::Member, token);
    node->left = std::move(object);
    node->name = m_context.name(token.text);
    return m_context.close(node);
}

AstPtr ExpressionParser::parseIndex(AstPtr object)
{
    const AstPtr node = m_context.make(AstKind::Index, m_context.tokens.next());
    node->left = std::move(object);
    node->right = parse();
    m_context.expect(TokenKind::RightBracket, "expected ']' after index expression"_L1);
    return m_context.close(node);
}

AstPtr ExpressionParser::parsePrimary()
{
    const Token token = m_context.tokens.peek();
    if (isLiteral(token.kind))
        return parseLiteral();
    if (token.is(TokenKind::TypeKeyword))
        return parseConstructor();
    if (token.is(TokenKind::Identifier))
        return parseName();
    if (token.is(TokenKind::LeftParen))
        return parseParenthesised();
    if (m_context.keepsErrors())
        m_context.error(token, u"unexpected token '%1' in expression"_s.arg(token.text));
    m_context.tokens.next();
    return {};
}

AstPtr ExpressionParser::parseLiteral()
{
    const Token token = m_context.tokens.next();
    const AstPtr node = m_context.make(AstKind::Literal, token);
    if (!readLiteral(token, *node))
        m_context.error(token,
                        u"literal '%1' is no number that its type can hold"_s.arg(token.text));
    return m_context.close(node);
}

AstPtr ExpressionParser::parseConstructor()
{
    const Token token = m_context.tokens.next();
    const AstPtr node = m_context.make(AstKind::Constructor, token);
    node->name = m_context.name(token.text);
    m_context.readType(token, node->type, node->structName);
    if (m_context.expect(TokenKind::LeftParen, "expected '(' after type constructor"_L1))
        node->arguments = parseArguments("expected ')' after constructor arguments"_L1);
    return m_context.close(node);
}

AstPtr ExpressionParser::parseName()
{
    const Token token = m_context.tokens.next();
    const bool isCall = m_context.accept(TokenKind::LeftParen);
    const bool isStruct = isCall && m_context.startsType(token);
    const AstKind kind = isStruct ? AstKind::Constructor
                         : isCall ? AstKind::Call
                                  : AstKind::Identifier;
    const AstPtr node = m_context.make(kind, token);
    node->name = m_context.name(token.text);
    if (isStruct)
        m_context.readType(token, node->type, node->structName);
    if (isCall)
        node->arguments = parseArguments("expected ')' after function arguments"_L1);
    if (kind == AstKind::Call)
        node->builtin = findBuiltin(node->name, node->arguments.size());
    return m_context.close(node);
}

AstPtr ExpressionParser::parseParenthesised()
{
    m_context.tokens.next();
    AstPtr inner = parse();
    m_context.expect(TokenKind::RightParen, "expected ')' after parenthesised expression"_L1);
    return inner;
}

QList<AstPtr> ExpressionParser::parseArguments(QLatin1StringView closingMessage)
{
    QList<AstPtr> arguments;
    if (m_context.accept(TokenKind::RightParen))
        return arguments;
    do {
        arguments.append(parse());
    } while (m_context.accept(TokenKind::Comma));
    m_context.expect(TokenKind::RightParen, closingMessage);
    return arguments;
}

AstPtr ExpressionParser::binary(BinaryKind kind, const Token &token, AstPtr left, AstPtr right)
{
    const AstPtr node = m_context.make(AstKind::Binary, token);
    node->binaryKind = kind;
    node->left = std::move(left);
    node->right = std::move(right);
    return m_context.close(node);
}

} // namespace eval::internal
