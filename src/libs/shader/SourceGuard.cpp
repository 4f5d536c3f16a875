#include <shader/SourceGuard.h>

#include <glsl/Lexer.h>
#include <glsl/Words.h>

#include "CallCosts.h"
#include "MacroTable.h"
#include "StructWeights.h"
#include "refusal.h"

using namespace Qt::StringLiterals;

namespace shader {

using glsl::Token;
using glsl::TokenKind;

namespace {

// Counts what the compiler would recurse over. Operators are counted per expression, which ends at
// a semicolon or a brace; the depth of statements goes on through braces and else branches.
class SourceChecker
{
public:
    SourceChecker(QStringView source, const SourceLimits &limits)
        : m_source(source)
        , m_lexer(source, glsl::shaderText)
        , m_limits(limits)
    {}

    std::optional<Diagnostic> check();

private:
    struct OpenBracket
    {
        bool isBrace = false;
        int statementsOutside = 0;        ///< depth of statements that this bracket stands in
        const MacroCost *macro = nullptr; ///< whose call this parenthesis opens
    };

    void visit(const Token &token);
    void visitWord(const Token &token);
    void visitOperator(const Token &token);
    void visitMacro(const MacroCost &macro, int line);
    void open(const Token &token);
    void close(const Token &token);
    void endStatement();
    void endExpression() { m_operators = 0; }
    void addOperators(qint64 count, int line);
    void addBranch(int line);
    void refuse(int line, const QString &what, qint64 limit);
    [[nodiscard]] bool isInParentheses() const
    {
        return !m_open.isEmpty() && !m_open.constLast().isBrace;
    }

    QStringView m_source;
    glsl::Lexer m_lexer;
    const SourceLimits m_limits;
    MacroTable m_macros;
    StructWeights m_structs;
    CallCosts m_calls{m_macros};
    QList<OpenBracket> m_open;
    qint64 m_operators = 0;
    int m_branches = 0;
    int m_statements = 0;
    bool m_statementEnded = false; ///< an "else" may still go on with it
    int m_callFactor = 1;          ///< how often the macro around repeats what stands here
    const MacroCost *m_namedMacro = nullptr; ///< the token before was the name of this macro
    std::optional<Diagnostic> m_refusal;
};

std::optional<Diagnostic> SourceChecker::check()
{
    if (m_source.size() > m_limits.characters) {
        refuse(1, u"characters in the source"_s, m_limits.characters);
        return m_refusal;
    }
    m_refusal = m_macros.read(m_source, m_limits.preprocessorLines);
    while (!m_refusal) {
        const Token token = m_lexer.next();
        if (token.is(TokenKind::End))
            break;
        if (token.inDirective)
            continue; // the table of macros has read it
        m_calls.visit(token, m_callFactor);
        visit(token);
    }
    return m_refusal ? m_refusal : m_calls.check(m_limits);
}

void SourceChecker::visit(const Token &token)
{
    if (m_structs.visit(token) > m_limits.structMembers)
        refuse(token.line, u"members in one struct"_s, m_limits.structMembers);
    if (m_statementEnded && !token.is(TokenKind::Else))
        endStatement();
    if (token.isWord()) {
        visitWord(token);
        return;
    }
    if (token.opens()) {
        open(token);
    } else if (token.closes()) {
        close(token);
    } else if (token.is(TokenKind::Semicolon)) {
        endExpression();
        m_statementEnded = !isInParentheses(); // those in the head of a loop end nothing
    } else if (!token.isNumber()) {
        visitOperator(token);
    }
    m_namedMacro = nullptr;
}

void SourceChecker::visitWord(const Token &token)
{
    m_statementEnded = false;
    m_namedMacro = m_macros.find(token.text);
    if (m_namedMacro)
        visitMacro(*m_namedMacro, token.line);
    const glsl::WordRoles roles = glsl::rolesOf(token.text);
    if (roles.testAnyFlags(glsl::WordRole::Nests | glsl::WordRole::Jumps))
        addBranch(token.line);
    if (roles.testFlag(glsl::WordRole::Nests) && ++m_statements > m_limits.nestedStatements)
        refuse(token.line, u"statements in one another"_s, m_limits.nestedStatements);
}

void SourceChecker::visitMacro(const MacroCost &macro, int line)
{
    addOperators(macro.operators + 1, line);
    if (m_open.size() + macro.nesting > m_limits.nestedBrackets)
        refuse(line, u"brackets in one another"_s, m_limits.nestedBrackets);
}

void SourceChecker::visitOperator(const Token &token)
{
    addOperators(operatorsIn(token), token.line);
    for (const QChar c : token.text) {
        if (c == u'?' || c == u'&' || c == u'|')
            addBranch(token.line);
    }
}

void SourceChecker::open(const Token &token)
{
    const bool isCall =
        token.is(TokenKind::LeftParen) && m_namedMacro && m_namedMacro->hasParameters;
    if (isCall && m_callFactor > 1 && !m_refusal)
        m_refusal = refusal(token.line, u"Calls of macros must not nest"_s);
    addOperators(1, token.line);
    m_open.append({.isBrace = token.is(TokenKind::LeftBrace),
                   .statementsOutside = m_statements,
                   .macro = isCall ? m_namedMacro : nullptr});
    if (isCall)
        m_callFactor = m_namedMacro->parameterUses + 1;
    if (m_open.size() > m_limits.nestedBrackets)
        refuse(token.line, u"brackets in one another"_s, m_limits.nestedBrackets);
    if (token.is(TokenKind::LeftBrace))
        endExpression();
}

void SourceChecker::close(const Token &token)
{
    if (m_open.isEmpty())
        return; // the compiler will say so
    const OpenBracket bracket = m_open.takeLast();
    if (bracket.macro)
        m_callFactor = 1;
    if (!token.is(TokenKind::RightBrace))
        return;
    endExpression();
    m_statements = bracket.statementsOutside;
    m_statementEnded = true;
    if (m_open.isEmpty())
        m_branches = 0;
}

// What follows stands in the innermost block again.
void SourceChecker::endStatement()
{
    m_statementEnded = false;
    m_statements = m_open.isEmpty() ? 0 : m_open.constLast().statementsOutside;
}

void SourceChecker::addOperators(qint64 count, int line)
{
    m_operators += count * m_callFactor;
    if (m_operators > m_limits.operatorsPerExpression)
        refuse(line, u"operators in one expression"_s, m_limits.operatorsPerExpression);
}

void SourceChecker::addBranch(int line)
{
    if (++m_branches > m_limits.branchesPerFunction)
        refuse(line, u"branches in one function"_s, m_limits.branchesPerFunction);
}

void SourceChecker::refuse(int line, const QString &what, qint64 limit)
{
    if (!m_refusal)
        m_refusal = refusal(line, u"More than %1 %2"_s.arg(QString::number(limit), what));
}

} // namespace

std::optional<Diagnostic> checkSourceLimits(QStringView source, const SourceLimits &limits)
{
    return SourceChecker(source, limits).check();
}

QString sourceRefusal(QStringView source, const QString &name)
{
    const auto refused = checkSourceLimits(source);
    if (!refused)
        return {};
    return refused->line < 0
               ? refused->message
               : u"ERROR: %1:%2: %3"_s.arg(name, QString::number(refused->line), refused->message);
}

} // namespace shader
