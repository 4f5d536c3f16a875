// The top level: what a source declares is told by its first tokens, without going back. What
// can't be a declaration is the expression.

#include <eval/internal/frontend/Parser.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

constexpr qsizetype maxSourceLength = 64 * 1024 * 1024;

QStringView withinLimit(QStringView source)
{
    return source.size() <= maxSourceLength ? source : QStringView();
}

ParsedSource tooLong(qsizetype length)
{
    ParsedSource result;
    Diagnostic diagnostic;
    diagnostic.category = DiagnosticCategory::Syntax;
    diagnostic.message = u"source has %1 characters, more than %2"_s.arg(
        QString::number(length), QString::number(maxSourceLength));
    result.diagnostics.append(diagnostic);
    return result;
}

} // namespace

Parser::Parser(QStringView source)
    : m_source(source)
    , m_context(withinLimit(source))
    , m_expressions(m_context)
    , m_statements(m_context, m_expressions)
{}

ParsedSource Parser::parse()
{
    if (m_source.size() > maxSourceLength)
        return tooLong(m_source.size());
    while (parseDeclaration()) {
    }
    m_result.root = m_expressions.parse();
    m_result.diagnostics = m_context.finish();
    return std::move(m_result);
}

bool Parser::parseDeclaration()
{
    const TokenStream &tokens = m_context.tokens;
    if (tokens.at(TokenKind::Struct)) {
        if (const AstPtr declaration = parseStruct())
            m_result.structs.append(declaration);
        return true;
    }
    const bool isFunction = tokens.peek(1).is(TokenKind::Identifier) &&
                            tokens.peek(2).is(TokenKind::LeftParen) &&
                            m_context.startsType(tokens.peek());
    if (!isFunction)
        return false;
    if (const AstPtr function = parseFunction())
        m_result.functions.append(function);
    return true;
}

AstPtr Parser::parseStruct()
{
    TokenStream &tokens = m_context.tokens;
    const Token word = tokens.next();
    const Token nameToken = tokens.peek();
    const bool isNamed =
        m_context.expect(TokenKind::Identifier, "expected struct name after 'struct'"_L1);
    const AstPtr node = m_context.make(AstKind::StructDeclaration, isNamed ? nameToken : word);
    if (isNamed) {
        node->name = m_context.name(nameToken.text);
        m_context.structNames.insert(node->name);
    }
    m_context.expect(TokenKind::LeftBrace, "expected '{' after struct name"_L1);
    while (!tokens.at(TokenKind::RightBrace) && !tokens.at(TokenKind::End))
        parseField(*node);
    m_context.expect(TokenKind::RightBrace, "expected '}' at end of struct declaration"_L1);
    m_context.expect(TokenKind::Semicolon, "expected ';' after struct declaration"_L1);
    return m_context.close(node);
}

void Parser::parseField(AstNode &declaration)
{
    TokenStream &tokens = m_context.tokens;
    FunctionParam field;
    const Token typeToken = tokens.peek();
    if (m_context.startsType(typeToken)) {
        m_context.readType(typeToken, field.type, field.structName);
    } else if (typeToken.is(TokenKind::Identifier)) {
        m_context.error(
            typeToken, u"unknown type '%1' in struct '%2'"_s.arg(typeToken.text, declaration.name));
    } else {
        m_context.error(typeToken, u"expected field type in struct '%1'"_s.arg(declaration.name));
        skipField();
        return;
    }
    tokens.next();
    const Token nameToken = tokens.peek();
    if (m_context.accept(TokenKind::Identifier))
        field.name = m_context.name(nameToken.text);
    else
        m_context.error(nameToken, u"expected field name in struct '%1'"_s.arg(declaration.name));
    m_context.expect(TokenKind::Semicolon, "expected ';' after struct field"_L1);
    declaration.params.append(field);
}

void Parser::skipField()
{
    TokenStream &tokens = m_context.tokens;
    while (!tokens.at(TokenKind::RightBrace) && !tokens.at(TokenKind::End)) {
        if (tokens.next().is(TokenKind::Semicolon))
            return;
    }
}

AstPtr Parser::parseFunction()
{
    TokenStream &tokens = m_context.tokens;
    const Token typeToken = tokens.next();
    const Token nameToken = tokens.peek();
    const AstPtr node = m_context.make(AstKind::FunctionDefinition, nameToken);
    m_context.readType(typeToken, node->type, node->structName);
    if (m_context.expect(TokenKind::Identifier, "expected function name"_L1))
        node->name = m_context.name(nameToken.text);
    m_context.expect(TokenKind::LeftParen, "expected '(' after function name"_L1);
    node->params = parseParameters();
    m_context.expect(TokenKind::RightParen, "expected ')' after parameter list"_L1);
    if (tokens.at(TokenKind::LeftBrace))
        node->body = m_statements.parseBlock();
    else
        m_context.error(tokens.peek(), u"expected '{' to open function body"_s);
    return m_context.close(node);
}

QList<FunctionParam> Parser::parseParameters()
{
    QList<FunctionParam> params;
    if (m_context.tokens.at(TokenKind::RightParen))
        return params;
    do {
        params.append(parseParameter());
    } while (m_context.accept(TokenKind::Comma));
    return params;
}

FunctionParam Parser::parseParameter()
{
    TokenStream &tokens = m_context.tokens;
    FunctionParam param;
    param.qualifier = parseQualifier();
    if (m_context.startsType(tokens.peek()))
        m_context.readType(tokens.next(), param.type, param.structName);
    else
        m_context.error(tokens.peek(), u"expected parameter type"_s);
    const Token nameToken = tokens.peek();
    if (m_context.expect(TokenKind::Identifier, "expected parameter name"_L1))
        param.name = m_context.name(nameToken.text);
    if (m_context.accept(TokenKind::LeftBracket)) {
        param.isArray = true;
        m_context.expect(TokenKind::RightBracket, "expected ']' after parameter array brackets"_L1);
    }
    return param;
}

ParamQualifier Parser::parseQualifier()
{
    if (m_context.accept(TokenKind::Out))
        return ParamQualifier::Out;
    if (m_context.accept(TokenKind::InOut))
        return ParamQualifier::InOut;
    if (m_context.accept(TokenKind::Const))
        return ParamQualifier::Const;
    m_context.accept(TokenKind::In);
    return ParamQualifier::ByValue;
}

} // namespace eval::internal
