#pragma once

#include <shader/Diagnostic.h>

#include <QString>

#include <optional>

namespace shader {

/// What a GLSL text may hold. The compiler behind compileShader() builds trees and graphs and walks
/// them by recursion, and it expands macros without bound: a text of 100,000 terms, or of 16 macros
/// that double, overflows its stack. These limits lie far above what definitions need, and what
/// they allow fits in the stack of a CompileThread and takes seconds, where 200 functions that all
/// call one another would take minutes (see CallCosts).
struct SourceLimits
{
    qsizetype characters = 4 * 1024 * 1024;
    int nestedBrackets = 200;           ///< of all kinds
    int nestedStatements = 2000;        ///< if, else and loops, with or without braces
    int operatorsPerExpression = 10000; ///< macros expanded; commas and member accesses count
    int branchesPerFunction = 20000;    ///< statements and operators that the flow divides at
    int preprocessorLines = 256;
    int structMembers = 4096; ///< of one struct, those of the structs in it included
    int calls = 3000;         ///< from one function to another, each pair once
    int functions = 20000;    ///< times `calls`: so many functions may there be to so many calls
    int nestedCalls = 200;    ///< functions that call one another in a row
    int downwardCalls = 16;   ///< of these, to functions that are defined further down
    qint64 expandedCalls = 250000; ///< of one call, those in the functions called included
};

/// Looks through a text once, without compiling it, and names the first place that is beyond the
/// limits, line -1 where no one place is to blame; none when it may be compiled. A macro may stand
/// for an expression, not for a statement nor for another macro, and calls of macros must not nest.
/// Linear in the text; any thread.
[[nodiscard]] std::optional<Diagnostic> checkSourceLimits(QStringView source,
                                                          const SourceLimits &limits = {});

/// The same as the compiler would put it, "ERROR: name:12: message"; empty when it may be compiled.
[[nodiscard]] QString sourceRefusal(QStringView source, const QString &name);

} // namespace shader
