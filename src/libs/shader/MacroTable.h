#pragma once

#include <shader/Diagnostic.h>

#include <glsl/Token.h>

#include <QHash>
#include <QList>
#include <QStringView>

#include <optional>

namespace shader {

/// What a use of a macro stands for.
struct MacroCost
{
    int operators = 0;     ///< in the body
    int nesting = 0;       ///< of brackets in the body
    int parameterUses = 1; ///< how often the body repeats one argument at most
    bool hasParameters = false;
    QList<QStringView> words{}; ///< the names in the body
};

/// How many operators a token counts for: those of several characters for each of them, brackets
/// for one, and so does a character that means nothing.
[[nodiscard]] int operatorsIn(const glsl::Token &token);

/// The macros of a text, read off its "#define" lines before anything else, since a macro may be
/// used by one that is defined above it.
class MacroTable
{
public:
    /// Reads all directives of the text. Answers what is wrong with them: too many, a macro that
    /// stands for another macro or for more than an expression.
    [[nodiscard]] std::optional<Diagnostic> read(QStringView source, int maxDirectives);

    /// Null for a name that is no macro.
    [[nodiscard]] const MacroCost *find(QStringView name) const;

private:
    struct Macro
    {
        QStringView name;
        QStringView body; ///< with its parameters
        MacroCost cost;
        int line = 1;
    };
    void define(QStringView directive, int line);
    void merge(const Macro &macro);
    [[nodiscard]] std::optional<Diagnostic> check(const Macro &macro) const;

    QHash<QStringView, MacroCost> m_costs;
    QList<Macro> m_macros; ///< one for each definition
};

} // namespace shader
