#include "MacroTable.h"

#include "SourceScanner.h"
#include "SourceWords.h"

using namespace Qt::StringLiterals;

namespace shader {

namespace {

constexpr int unbalanced = -1;

// The names between the parentheses that follow a macro's name; `scanner` stands behind them then.
QList<QStringView> readParameters(SourceScanner &scanner)
{
    QList<QStringView> parameters;
    for (SourceToken token = scanner.next();
         token.kind != SourceToken::Kind::End && !token.is(u')'); token = scanner.next()) {
        if (token.kind == SourceToken::Kind::Identifier)
            parameters.append(token.text);
    }
    return parameters;
}

// Counts what stands behind name and parameters.
MacroCost costOfBody(SourceScanner &scanner, const QList<QStringView> &parameters)
{
    MacroCost cost;
    QHash<QStringView, int> uses;
    int depth = 0;
    for (SourceToken token = scanner.next(); token.kind != SourceToken::Kind::End;
         token = scanner.next()) {
        if (token.kind == SourceToken::Kind::Operator || token.kind == SourceToken::Kind::Bracket)
            ++cost.operators;
        if (token.kind == SourceToken::Kind::Identifier)
            cost.words.append(token.text);
        if (parameters.contains(token.text))
            cost.parameterUses = std::max(cost.parameterUses, ++uses[token.text]);
        if (token.kind == SourceToken::Kind::Bracket)
            depth += token.is(u'(') || token.is(u'[') || token.is(u'{') ? 1 : -1;
        if (depth < 0)
            break;
        cost.nesting = std::max(cost.nesting, depth);
    }
    if (depth != 0)
        cost.nesting = unbalanced;
    return cost;
}

// Tokens that stand for more than an expression, or make names that no scan sees.
bool isBeyondExpression(const SourceToken &token)
{
    return token.kind == SourceToken::Kind::Semicolon ||
           token.kind == SourceToken::Kind::Directive || token.is(u'#') || token.is(u'{') ||
           token.is(u'}') || isStatementWord(token.text) || token.text == "struct"_L1;
}

constexpr QLatin1StringView qualifiers[] = {"const"_L1, "in"_L1,      "out"_L1, "inout"_L1,
                                            "highp"_L1, "mediump"_L1, "lowp"_L1};

// Two names in a row declare something, and could hide the name of a function.
bool declares(const SourceToken &token, const SourceToken &before)
{
    return token.kind == SourceToken::Kind::Identifier &&
           before.kind == SourceToken::Kind::Identifier &&
           std::find(std::begin(qualifiers), std::end(qualifiers), before.text) ==
               std::end(qualifiers);
}

} // namespace

std::optional<Diagnostic> MacroTable::read(QStringView source, int maxDirectives)
{
    if (!source.contains(u'#'))
        return std::nullopt;
    SourceScanner scanner(source);
    int directives = 0;
    for (SourceToken token = scanner.next(); token.kind != SourceToken::Kind::End;
         token = scanner.next()) {
        if (token.kind != SourceToken::Kind::Directive)
            continue;
        if (++directives > maxDirectives)
            return refusal(token.line, u"More than %1 preprocessor lines"_s.arg(maxDirectives));
        define(token.text, token.line);
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
    SourceScanner scanner(directive, line);
    if (scanner.next().text != "define"_L1)
        return;
    const QStringView name = scanner.next().text;
    if (name.isEmpty())
        return;
    Macro macro;
    macro.name = name;
    macro.line = line;
    macro.body = QStringView(name.data() + name.size(), directive.data() + directive.size());
    // Only a parenthesis right behind the name makes a macro with parameters.
    const bool hasParameters = macro.body.startsWith(u'(');
    macro.cost =
        costOfBody(scanner, hasParameters ? readParameters(scanner) : QList<QStringView>());
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
    SourceScanner scanner(macro.body, macro.line);
    SourceToken before;
    for (SourceToken token = scanner.next(); token.kind != SourceToken::Kind::End;
         before = std::exchange(token, scanner.next())) {
        if (isBeyondExpression(token) || declares(token, before))
            return refusal(macro.line, u"A macro must stand for an expression"_s);
        if (token.kind == SourceToken::Kind::Identifier && m_costs.contains(token.text))
            return refusal(macro.line, u"A macro must not stand for another macro, '%1'"_s.arg(
                                           token.text.toString()));
    }
    return std::nullopt;
}

} // namespace shader
