// Recursive descent, one function a statement. A statement in error answers with what it has,
// and the block goes on behind it: the rest of a body is still worth reading for its errors.

#include <eval/internal/frontend/StatementParser.h>

#include <eval/internal/frontend/LiteralReader.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

AstPtr StatementParser::parse()
{
    const ParseContext::Level level(m_context);
    if (!level)
        return {};
    const Token token = m_context.tokens.peek();
    if (token.is(TokenKind::LeftBrace))
        return parseBlock();
    if (atDeclaration())
        return parseDeclaration();
    return parseKeyword(token);
}

AstPtr StatementParser::parseKeyword(const Token &token)
{
    switch (token.kind) {
    case TokenKind::If:
        return parseIf();
    case TokenKind::For:
        return parseFor();
    case TokenKind::While:
        return parseWhile();
    case TokenKind::Do:
        return parseDoWhile();
    case TokenKind::Switch:
        return parseSwitch();
    case TokenKind::Break:
        return parseJump(AstKind::Break, "expected ';' after break"_L1);
    case TokenKind::Continue:
        return parseJump(AstKind::Continue, "expected ';' after continue"_L1);
    case TokenKind::Discard:
        return parseJump(AstKind::Discard, "expected ';' after discard"_L1);
    case TokenKind::Return:
        return parseReturn();
    default:
        return parseExpressionStatement("expected ';' after expression statement"_L1);
    }
}

AstPtr StatementParser::parseBlock()
{
    const AstPtr block = m_context.make(AstKind::Block, m_context.tokens.next());
    while (!m_context.tokens.at(TokenKind::RightBrace) && !m_context.tokens.at(TokenKind::End)) {
        if (const AstPtr statement = parse())
            block->statements.append(statement);
    }
    m_context.expect(TokenKind::RightBrace, "expected '}' to close block"_L1);
    return m_context.close(block);
}

bool StatementParser::atDeclaration() const
{
    const Token &first = m_context.tokens.peek();
    return first.is(TokenKind::TypeKeyword) ||
           (m_context.tokens.peek(1).is(TokenKind::Identifier) && m_context.startsType(first));
}

AstPtr StatementParser::parseDeclaration()
{
    const Token typeToken = m_context.tokens.next();
    const AstPtr list = m_context.make(AstKind::Block, typeToken);
    do {
        const Token nameToken = m_context.tokens.peek();
        const AstPtr node = m_context.make(AstKind::VariableDeclaration, nameToken);
        m_context.readType(typeToken, node->type, node->structName);
        if (m_context.expect(TokenKind::Identifier, "expected declarator name"_L1))
            node->name = m_context.name(nameToken.text);
        if (m_context.accept(TokenKind::Assign))
            node->left = m_expressions.parse();
        if (const AstPtr closed = m_context.close(node))
            list->statements.append(closed);
    } while (m_context.accept(TokenKind::Comma));
    m_context.expect(TokenKind::Semicolon, "expected ';' after declaration"_L1);
    return list->statements.size() == 1 ? list->statements.first() : m_context.close(list);
}

AstPtr StatementParser::parseIf()
{
    const AstPtr node = m_context.make(AstKind::If, m_context.tokens.next());
    m_context.expect(TokenKind::LeftParen, "expected '(' after 'if'"_L1);
    node->condition = m_expressions.parse();
    m_context.expect(TokenKind::RightParen, "expected ')' after if condition"_L1);
    node->left = parse();
    if (m_context.accept(TokenKind::Else))
        node->right = parse();
    return m_context.close(node);
}

AstPtr StatementParser::parseFor()
{
    const AstPtr node = m_context.make(AstKind::For, m_context.tokens.next());
    m_context.expect(TokenKind::LeftParen, "expected '(' after 'for'"_L1);
    node->left = parseForInit();
    node->condition = m_expressions.parse();
    m_context.expect(TokenKind::Semicolon, "expected ';' after for-condition"_L1);
    node->right = m_expressions.parse();
    m_context.expect(TokenKind::RightParen, "expected ')' after for-step"_L1);
    node->body = parse();
    return m_context.close(node);
}

AstPtr StatementParser::parseForInit()
{
    if (m_context.accept(TokenKind::Semicolon))
        return {};
    if (atDeclaration())
        return parseDeclaration();
    return parseExpressionStatement("expected ';' after for-init"_L1);
}

AstPtr StatementParser::parseWhile()
{
    const AstPtr node = m_context.make(AstKind::While, m_context.tokens.next());
    m_context.expect(TokenKind::LeftParen, "expected '(' after 'while'"_L1);
    node->condition = m_expressions.parse();
    m_context.expect(TokenKind::RightParen, "expected ')' after while-condition"_L1);
    node->body = parse();
    return m_context.close(node);
}

AstPtr StatementParser::parseDoWhile()
{
    const AstPtr node = m_context.make(AstKind::DoWhile, m_context.tokens.next());
    node->body = parse();
    m_context.expect(TokenKind::While, "expected 'while' in do-while"_L1);
    m_context.expect(TokenKind::LeftParen, "expected '(' after 'while' in do-while"_L1);
    node->condition = m_expressions.parse();
    m_context.expect(TokenKind::RightParen, "expected ')' after do-while condition"_L1);
    m_context.expect(TokenKind::Semicolon, "expected ';' after do-while"_L1);
    return m_context.close(node);
}

AstPtr StatementParser::parseSwitch()
{
    TokenStream &tokens = m_context.tokens;
    const AstPtr node = m_context.make(AstKind::Switch, tokens.next());
    m_context.expect(TokenKind::LeftParen, "expected '(' after 'switch'"_L1);
    node->condition = m_expressions.parse();
    m_context.expect(TokenKind::RightParen, "expected ')' after switch expression"_L1);
    m_context.expect(TokenKind::LeftBrace, "expected '{' after switch (...)"_L1);
    AstPtr section;
    const auto closeSection = [&] {
        const AstPtr closed = section ? m_context.close(section) : AstPtr();
        if (closed)
            node->statements.append(closed);
    };
    while (!tokens.at(TokenKind::RightBrace) && !tokens.at(TokenKind::End)) {
        if (tokens.at(TokenKind::Case) || tokens.at(TokenKind::Default)) {
            closeSection();
            section = parseCaseLabel();
            continue;
        }
        if (!section)
            m_context.error(tokens.peek(), u"statement outside any case in switch"_s);
        const AstPtr statement = parse();
        if (section && statement)
            section->statements.append(statement);
    }
    closeSection();
    m_context.expect(TokenKind::RightBrace, "expected '}' to close switch"_L1);
    return m_context.close(node);
}

AstPtr StatementParser::parseCaseLabel()
{
    TokenStream &tokens = m_context.tokens;
    const Token word = tokens.next();
    const AstPtr section = m_context.make(AstKind::Block, word);
    if (word.is(TokenKind::Default)) {
        section->name = u"default"_s;
        m_context.expect(TokenKind::Colon, "expected ':' after default"_L1);
        return section;
    }
    const Token label = tokens.peek();
    if (label.is(TokenKind::UnsignedLiteral) || label.is(TokenKind::IntLiteral)) {
        // In decimal whatever the source has, so that a label is read in one way only.
        section->name = QString::number(readInteger(label.text).value_or(0));
        tokens.next();
    } else {
        m_context.error(label, u"expected case label"_s);
    }
    m_context.expect(TokenKind::Colon, "expected ':' after case label"_L1);
    return section;
}

AstPtr StatementParser::parseJump(AstKind kind, QLatin1StringView message)
{
    const AstPtr node = m_context.make(kind, m_context.tokens.next());
    m_context.expect(TokenKind::Semicolon, message);
    return m_context.close(node);
}

AstPtr StatementParser::parseReturn()
{
    const AstPtr node = m_context.make(AstKind::Return, m_context.tokens.next());
    if (!m_context.tokens.at(TokenKind::Semicolon))
        node->left = m_expressions.parse();
    m_context.expect(TokenKind::Semicolon, "expected ';' after return"_L1);
    return m_context.close(node);
}

AstPtr StatementParser::parseExpressionStatement(QLatin1StringView message)
{
    const Token first = m_context.tokens.peek();
    AstPtr expression = m_expressions.parse();
    m_context.expect(TokenKind::Semicolon, message);
    if (!expression)
        return {};
    const AstPtr node = m_context.make(AstKind::ExpressionStatement, first);
    node->left = std::move(expression);
    return m_context.close(node);
}

} // namespace eval::internal
