#include "MacroTable.h"

#include <glsl/Lexer.h>
#include <glsl/Words.h>

#include "refusal.h"

using namespace Qt::StringLiterals;

namespace shader {

using glsl::Lexer;
using glsl::Token;
using glsl::TokenKind;

namespace {

constexpr int unbalanced = -1;

// The names between the parentheses that follow a macro's name; `lexer` stands behind them then.
QList<QStringView> readParameters(Lexer &lexer)
{
    QList<QStringView> parameters;
    for (Token token = lexer.next(); !token.is(TokenKind::End) && !token.is(TokenKind::RightParen);
         token = lexer.next()) {
        if (token.isWord())
            parameters.append(token.text);
    }
    return parameters;
}

// Counts what stands behind name and parameters.
MacroCost costOfBody(Lexer &lexer, const QList<QStringView> &parameters)
{
    MacroCost cost;
    QHash<QStringView, int> uses;
    int depth = 0;
    for (Token token = lexer.next(); !token.is(TokenKind::End); token = lexer.next()) {
        cost.operators += operatorsIn(token);
        if (token.isWord())
            cost.words.append(token.text);
        if (parameters.contains(token.text))
            cost.parameterUses = std::max(cost.parameterUses, ++uses[token.text]);
        depth += token.opens() ? 1 : token.closes() ? -1 : 0;
        if (depth < 0)
            break;
        cost.nesting = std::max(cost.nesting, depth);
    }
    if (depth != 0)
        cost.nesting = unbalanced;
    return cost;
}

// Tokens that stand for more than an expression, or make names that no scan sees.
bool isBeyondExpression(const Token &token)
{
    return token.is(TokenKind::Semicolon) || token.is(TokenKind::LeftBrace) ||
           token.is(TokenKind::RightBrace) || token.is(TokenKind::Struct) || token.text == u"#" ||
           glsl::rolesOf(token.text).testFlag(glsl::WordRole::Nests);
}

// Two names in a row declare something, and could hide the name of a function.
bool declares(const Token &token, const Token &before)
{
    return token.isWord() && before.isWord() &&
           !glsl::rolesOf(before.text).testFlag(glsl::WordRole::Qualifies);
}

} // namespace

int operatorsIn(const Token &token)
{
    const bool isOther = token.isWord() || token.isNumber() || token.is(TokenKind::Semicolon);
    return isOther ? 0 : static_cast<int>(token.text.size());
}

std::optional<Diagnostic> MacroTable::read(QStringView source, int maxDirectives)
{
    if (!source.contains(u'#'))
        return std::nullopt;
    Lexer lexer(source, glsl::shaderText);
    int directives = 0;
    Token hash;          // that the line begins with
    QStringView content; // of the line behind it
    for (Token token = lexer.next();; token = lexer.next()) {
        const bool begins = token.is(TokenKind::Hash);
        if (begins || !token.inDirective || token.is(TokenKind::End)) {
            define(content, hash.line);
            content = {};
        }
        if (token.is(TokenKind::End))
            break;
        if (begins && ++directives > maxDirectives)
            return refusal(token.line, u"More than %1 preprocessor lines"_s.arg(maxDirectives));
        if (begins)
            hash = token;
        else if (token.inDirective)
            content = QStringView(hash.text.end(), token.text.end());
    }
    for (const Macro &macro : std::as_const(m_macros)) {
        if (const auto problem = check(macro))
            return problem;
    }
    return std::nullopt;
}

const MacroCost *MacroTable::find(QStringView name) const
{
    const auto cost = m_costs.constFind(name);
    return cost == m_costs.constEnd() ? nullptr : &*cost;
}

void MacroTable::define(QStringView directive, int line)
{
    Lexer lexer(directive, glsl::shaderText);
    if (lexer.next().text != "define"_L1)
        return;
    const QStringView name = lexer.next().text;
    if (name.isEmpty())
        return;
    Macro macro;
    macro.name = name;
    macro.line = line;
    macro.body = QStringView(name.data() + name.size(), directive.data() + directive.size());
    // Only a parenthesis right behind the name makes a macro with parameters.
    const bool hasParameters = macro.body.startsWith(u'(');
    macro.cost = costOfBody(lexer, hasParameters ? readParameters(lexer) : QList<QStringView>());
    macro.cost.hasParameters = hasParameters;
    merge(macro);
    m_macros.append(macro);
}

// Of several definitions of one name the dearest counts.
void MacroTable::merge(const Macro &macro)
{
    MacroCost &cost = m_costs[macro.name];
    cost.operators = std::max(cost.operators, macro.cost.operators);
    cost.nesting = std::max(cost.nesting, macro.cost.nesting);
    cost.parameterUses = std::max(cost.parameterUses, macro.cost.parameterUses);
    cost.hasParameters = cost.hasParameters || macro.cost.hasParameters;
    cost.words.append(macro.cost.words);
}

std::optional<Diagnostic> MacroTable::check(const Macro &macro) const
{
    if (macro.cost.nesting == unbalanced)
        return refusal(macro.line, u"The brackets of a macro do not match"_s);
    Lexer lexer(macro.body, glsl::shaderText);
    Token before;
    for (Token token = lexer.next(); !token.is(TokenKind::End);
         before = std::exchange(token, lexer.next())) {
        if (isBeyondExpression(token) || declares(token, before))
            return refusal(macro.line, u"A macro must stand for an expression"_s);
        if (token.isWord() && m_costs.contains(token.text))
            return refusal(macro.line, u"A macro must not stand for another macro, '%1'"_s.arg(
                                           token.text.toString()));
    }
    return std::nullopt;
}

} // namespace shader
