#pragma once

#include <QList>
#include <QString>

#include <tuple>

namespace shader {

/// One message of the GLSL compiler.
struct Diagnostic
{
    enum class Severity { Error = 0, Warning = 1, Info = 2 };

    int line = -1; ///< from 1; -1 when unknown
    int column = 0;
    QString message;
    Severity severity = Severity::Error;
    QString filename;

    bool operator==(const Diagnostic &) const = default;
    /// By line, then column.
    bool operator<(const Diagnostic &other) const
    {
        return std::tie(line, column) < std::tie(other.line, other.column);
    }
};

/// Reads diagnostics off the compiler's text: "ERROR: 0:12: 'x' : undeclared identifier". A text
/// that is not of this form is one diagnostic at line -1; an empty text is none.
[[nodiscard]] QList<Diagnostic> parseGlslangErrors(const QString &text);

} // namespace shader
