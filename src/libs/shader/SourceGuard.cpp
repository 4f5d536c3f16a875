#include <shader/SourceGuard.h>

#include "CallCosts.h"
#include "MacroTable.h"
#include "SourceScanner.h"
#include "SourceWords.h"
#include "StructWeights.h"

using namespace Qt::StringLiterals;

namespace shader {

namespace {

// Counts what the compiler would recurse over. Operators are counted per expression, which ends at
// a semicolon or a brace; the depth of statements goes on through braces and else branches.
class SourceChecker
{
public:
    SourceChecker(QStringView source, const SourceLimits &limits)
        : m_source(source)
        , m_scanner(source)
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

    void visit(const SourceToken &token);
    void visitWord(const SourceToken &token);
    void visitOperator(const SourceToken &token);
    void visitMacro(const MacroCost &macro, int line);
    void open(const SourceToken &token);
    void close(const SourceToken &token);
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
    SourceScanner m_scanner;
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
        const SourceToken token = m_scanner.next();
        if (token.kind == SourceToken::Kind::End)
            break;
        m_calls.visit(token, m_callFactor);
        visit(token);
    }
    return m_refusal ? m_refusal : m_calls.check(m_limits);
}

void SourceChecker::visit(const SourceToken &token)
{
    if (m_structs.visit(token) > m_limits.structMembers)
        refuse(token.line, u"members in one struct"_s, m_limits.structMembers);
    if (m_statementEnded && token.text != "else"_L1)
        endStatement();
    switch (token.kind) {
    case SourceToken::Kind::Identifier:
        visitWord(token);
        return;
    case SourceToken::Kind::Operator:
        visitOperator(token);
        break;
    case SourceToken::Kind::Bracket:
        if (token.is(u'(') || token.is(u'[') || token.is(u'{'))
            open(token);
        else
            close(token);
        break;
    case SourceToken::Kind::Semicolon:
        endExpression();
        m_statementEnded = !isInParentheses(); // those in the head of a loop end nothing
        break;
    case SourceToken::Kind::Number:
    case SourceToken::Kind::Directive:
    case SourceToken::Kind::End:
        break;
    }
    m_namedMacro = nullptr;
}

void SourceChecker::visitWord(const SourceToken &token)
{
    m_statementEnded = false;
    m_namedMacro = m_macros.find(token.text);
    if (m_namedMacro)
        visitMacro(*m_namedMacro, token.line);
    if (isBranchWord(token.text))
        addBranch(token.line);
    if (isStatementWord(token.text) && ++m_statements > m_limits.nestedStatements)
        refuse(token.line, u"statements in one another"_s, m_limits.nestedStatements);
}

void SourceChecker::visitMacro(const MacroCost &macro, int line)
{
    addOperators(macro.operators + 1, line);
    if (m_open.size() + macro.nesting > m_limits.nestedBrackets)
        refuse(line, u"brackets in one another"_s, m_limits.nestedBrackets);
}

void SourceChecker::visitOperator(const SourceToken &token)
{
    addOperators(1, token.line);
    if (token.is(u'?') || token.is(u'&') || token.is(u'|'))
        addBranch(token.line);
}

void SourceChecker::open(const SourceToken &token)
{
    const bool isCall = token.is(u'(') && m_namedMacro && m_namedMacro->hasParameters;
    if (isCall && m_callFactor > 1 && !m_refusal)
        m_refusal = refusal(token.line, u"Calls of macros must not nest"_s);
    addOperators(1, token.line);
    m_open.append({.isBrace = token.is(u'{'),
                   .statementsOutside = m_statements,
                   .macro = isCall ? m_namedMacro : nullptr});
    if (isCall)
        m_callFactor = m_namedMacro->parameterUses + 1;
    if (m_open.size() > m_limits.nestedBrackets)
        refuse(token.line, u"brackets in one another"_s, m_limits.nestedBrackets);
    if (token.is(u'{'))
        endExpression();
}

void SourceChecker::close(const SourceToken &token)
{
    if (m_open.isEmpty())
        return; // the compiler will say so
    const OpenBracket bracket = m_open.takeLast();
    if (bracket.macro)
        m_callFactor = 1;
    if (!token.is(u'}'))
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
