#include "CallCosts.h"

#include <shader/SourceGuard.h>

#include "refusal.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace shader {

using glsl::Token;
using glsl::TokenKind;

void CallCosts::visit(const Token &token, int repeats)
{
    if (m_inInitializer)
        visitInitializer(token, repeats);
    else if (m_braces == 0)
        visitOutside(token);
    else if (m_inFunction)
        visitCode(m_functions.last(), token, repeats);
    if (token.is(TokenKind::LeftBrace))
        ++m_braces;
    else if (token.is(TokenKind::RightBrace))
        m_braces = std::max(0, m_braces - 1);
    m_word = token.isWord() ? token.text : QStringView();
}

// A signature is a name and parentheses; a body or a semicolon follows.
void CallCosts::visitOutside(const Token &token)
{
    if (std::exchange(m_isClosed, false))
        endSignature(token);
    else if (token.is(TokenKind::LeftBrace))
        m_inFunction = false;
    if (token.is(TokenKind::LeftParen) && m_parentheses++ == 0) {
        m_candidate = m_word;
    } else if (token.is(TokenKind::RightParen)) {
        m_parentheses = std::max(0, m_parentheses - 1);
        m_isClosed = m_parentheses == 0;
    } else if (token.is(TokenKind::Assign) && m_parentheses == 0) {
        m_inInitializer = true;
    }
}

void CallCosts::visitInitializer(const Token &token, int repeats)
{
    visitCode(m_globals, token, repeats);
    if (token.is(TokenKind::Semicolon))
        m_inInitializer = false;
}

void CallCosts::endSignature(const Token &token)
{
    m_inFunction = token.is(TokenKind::LeftBrace);
    if (m_inFunction)
        beginFunction(token.line);
    else if (token.is(TokenKind::Semicolon))
        m_isAnnounced[plainName(m_candidate)] = true;
}

void CallCosts::beginFunction(int line)
{
    const QStringView name = plainName(m_candidate);
    if (name.isEmpty())
        refuse(line, u"The name of a function must not come from a macro with arguments"_s);
    Function function;
    function.name = name;
    function.line = line;
    m_byName[name].append(m_functions.size());
    m_functions.append(function);
}

// What a macro stands for is called wherever the macro is named; and so may be a function whose
// name is an argument of a macro.
void CallCosts::visitCode(Function &caller, const Token &token, int repeats)
{
    const bool isArgument = repeats > 1;
    if (token.is(TokenKind::LeftParen) && !m_word.isEmpty() && !isArgument)
        ++caller.calls[m_word];
    if (!token.isWord())
        return;
    if (isArgument)
        caller.calls[token.text] += repeats;
    if (const MacroCost *macro = m_macros.find(token.text)) {
        for (const QStringView word : macro->words)
            caller.calls[word] += repeats;
    }
}

QStringView CallCosts::plainName(QStringView name) const
{
    const MacroCost *macro = m_macros.find(name);
    if (!macro)
        return name;
    return macro->words.size() == 1 && !macro->hasParameters ? macro->words.first() : QStringView();
}

std::optional<Diagnostic> CallCosts::check(const SourceLimits &limits)
{
    m_functions.append(m_globals);
    if (!m_refusal)
        resolve(limits);
    for (qsizetype i = 0; i < m_functions.size() && !m_refusal; ++i)
        sumUp(i, limits);
    return m_refusal;
}

// The limits of the whole text blame no line.
void CallCosts::resolve(const SourceLimits &limits)
{
    const auto refuseAll = [this](const QString &what, qint64 limit) {
        refuse(-1, u"More than %1 %2"_s.arg(QString::number(limit), what));
    };
    for (Function &function : m_functions) {
        resolve(function);
        if (m_calls > limits.calls)
            return refuseAll(u"calls from one function to another"_s, limits.calls);
        if (m_candidates > limits.functions)
            return refuseAll(u"overloads of functions that are called"_s, limits.functions);
    }
    if (m_calls * m_functions.size() > qint64(limits.calls) * limits.functions)
        refuseAll(u"functions that call one another"_s, limits.functions);
}

void CallCosts::resolve(Function &function)
{
    QHash<QStringView, qint64> calls;
    for (auto call = function.calls.cbegin(); call != function.calls.cend(); ++call) {
        const auto overloads = m_byName.constFind(call.key());
        if (overloads == m_byName.constEnd())
            continue;
        calls.insert(call.key(), call.value());
        m_calls += std::min<qint64>(call.value(), overloads->size());
        m_candidates += overloads->size();
    }
    function.calls = calls;
}

// Only what stands above, or has a prototype, is known to a function. Of its own name it means an
// overload; if it means itself, the compiler says so.
void CallCosts::findCallees(qsizetype index)
{
    Function &function = m_functions[index];
    for (auto call = function.calls.cbegin(); call != function.calls.cend(); ++call) {
        const bool isAnnounced = m_isAnnounced.value(call.key());
        const QList<qsizetype> overloads = m_byName.value(call.key());
        for (const qsizetype callee : overloads) {
            if (callee < index || (isAnnounced && callee != index))
                function.callees.append(callee);
        }
    }
}

// Depth first with a path of its own: a chain of calls is as long as its text.
void CallCosts::sumUp(qsizetype root, const SourceLimits &limits)
{
    QList<qsizetype> path;
    if (!m_functions.at(root).isDone)
        path.append(root);
    while (!path.isEmpty() && !m_refusal) {
        const qsizetype index = path.constLast();
        Function &function = m_functions[index];
        if (!std::exchange(function.isOpen, true))
            findCallees(index);
        qsizetype &next = function.nextCallee;
        while (next < function.callees.size() && m_functions.at(function.callees.at(next)).isDone)
            ++next;
        if (next == function.callees.size()) {
            add(function, index, limits);
            path.removeLast();
        } else if (m_functions.at(function.callees.at(next)).isOpen) {
            refuse(function.line, u"'%1' calls itself, directly or by way of others: recursion is "
                                  "not possible"_s.arg(function.name.toString()));
        } else {
            path.append(function.callees.at(next));
        }
    }
}

void CallCosts::add(Function &caller, qsizetype index, const SourceLimits &limits)
{
    QHash<QStringView, qint64> dearest; // of the overloads of a name
    for (const qsizetype i : std::as_const(caller.callees)) {
        const Function &callee = m_functions.at(i);
        qint64 &most = dearest[callee.name];
        most = std::max(most, 1 + callee.expandedCalls);
        caller.depth = std::max(caller.depth, 1 + callee.depth);
        caller.downwards = std::max(caller.downwards, callee.downwards + (i > index ? 1 : 0));
    }
    for (auto callee = dearest.cbegin(); callee != dearest.cend(); ++callee) {
        const qint64 times = std::min(caller.calls.value(callee.key()), limits.expandedCalls + 1);
        caller.expandedCalls =
            std::min(caller.expandedCalls + times * *callee, limits.expandedCalls + 1);
    }
    caller.isOpen = false;
    caller.isDone = true;
    const QString name = caller.name.toString();
    if (caller.expandedCalls > limits.expandedCalls)
        refuse(caller.line, u"More than %1 calls in one of '%2', those in the functions that it "
                            "calls included"_s.arg(QString::number(limits.expandedCalls), name));
    else if (caller.depth > limits.nestedCalls)
        refuse(caller.line, u"More than %1 calls in one another, from '%2' on"_s.arg(
                                QString::number(limits.nestedCalls), name));
    else if (caller.downwards > limits.downwardCalls)
        refuse(caller.line,
               u"More than %1 calls in one another to functions that are defined "
               "further down, from '%2' on"_s.arg(QString::number(limits.downwardCalls), name));
}

void CallCosts::refuse(int line, const QString &message)
{
    if (!m_refusal)
        m_refusal = refusal(line, message);
}

} // namespace shader
