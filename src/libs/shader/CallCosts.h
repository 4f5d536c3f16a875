#pragma once

#include <shader/Diagnostic.h>

#include "MacroTable.h"

#include <QHash>
#include <QList>

#include <optional>

namespace shader {

struct SourceLimits;

/// Who calls whom in a text, and what that costs the compilers.
///
/// The front end looks for recursion by comparing each call with each other one, and for what is
/// reachable by doing so again for every call of a function that is defined further down: E * E * U
/// for E different calls, of which U follow one another downwards. The translators behind it walk
/// into the body of every call anew: the number of calls that one call stands for, those of its
/// callees included, doubles with each function that calls the one before twice. Both walks
/// recurse.
///
/// Overloads can't be told apart without types: a call is one of each function of its name that is
/// known where it stands. That is more than there is, never less.
class CallCosts
{
public:
    explicit CallCosts(const MacroTable &macros)
        : m_macros(macros)
    {}

    /// Takes the tokens of a text in order.
    /// @param repeats  how often a macro repeats what stands there
    void visit(const glsl::Token &token, int repeats);

    /// What is beyond the limits, once all tokens were taken.
    [[nodiscard]] std::optional<Diagnostic> check(const SourceLimits &limits);

private:
    struct Function
    {
        QStringView name;
        int line = 1;
        QHash<QStringView, qint64> calls; ///< by name, how often; names of no function too
        QList<qsizetype> callees;         ///< what the names stand for
        qsizetype nextCallee = 0;         ///< the first that may not have been summed up
        qint64 expandedCalls = 0;
        int depth = 0;     ///< of calls in one another
        int downwards = 0; ///< of these, to functions defined further down, on one path
        bool isDone = false;
        bool isOpen = false; ///< stands on the path that is being walked
    };

    void visitOutside(const glsl::Token &token);
    void visitCode(Function &caller, const glsl::Token &token, int repeats);
    void visitInitializer(const glsl::Token &token, int repeats);
    void endSignature(const glsl::Token &token);
    void beginFunction(int line);
    void refuse(int line, const QString &message);
    [[nodiscard]] QStringView plainName(QStringView name) const;

    void resolve(const SourceLimits &limits);
    void resolve(Function &function);
    void findCallees(qsizetype index);
    void sumUp(qsizetype root, const SourceLimits &limits);
    void add(Function &caller, qsizetype index, const SourceLimits &limits);

    const MacroTable &m_macros;
    QList<Function> m_functions;
    QHash<QStringView, QList<qsizetype>> m_byName;
    QHash<QStringView, bool> m_isAnnounced; ///< has a prototype
    Function m_globals;                     ///< the calls in initial values of global variables
    qint64 m_calls = 0;                     ///< different ones
    qint64 m_candidates = 0;                ///< the overloads that they may mean
    int m_braces = 0;
    int m_parentheses = 0;     ///< outside of functions
    QStringView m_word;        ///< the token before, when it was a name
    QStringView m_candidate;   ///< the name before the parentheses that were closed last
    bool m_isClosed = false;   ///< the token before closed the parentheses of a signature
    bool m_inFunction = false; ///< else the braces are those of a struct or block
    bool m_inInitializer = false;
    std::optional<Diagnostic> m_refusal;
};

} // namespace shader
