#pragma once

#include <corvane/shader/ShaderSourceMap.h>

#include <shader/Diagnostic.h>

#include <QList>
#include <QString>

namespace corvane::shader {

/// What a compiler has against a definition, in terms of the definition's own text.
struct DefinitionFault
{
    QString definitionId;
    QString key;     ///< of the definition: "shaderCode", "blend" or "parameters"
    int line = 0;    ///< in the key's text, from 1; 0 when it is not known
    QString message; ///< with the names that the user gave, without a full stop
    QString remedy;  ///< what to do about it, likewise

    /// "definitions.gear.shaderCode, line 3"
    [[nodiscard]] QString where() const;
    /// "definitions.gear.shaderCode, line 3: 'x': undeclared identifier. Declare it ..."
    [[nodiscard]] QString toString() const;

    bool operator==(const DefinitionFault &) const = default;
};

/// A diagnostic on one of a definition's lines.
/// @param line  of the definition's text; 0 when it is not known
[[nodiscard]] DefinitionFault faultOf(const ShaderSourceMap::Part &part, int line,
                                      const QString &message);

/// Those diagnostics of a generated shader that lie in a definition, each once. What the compiler
/// says at the end of its list of errors is left out.
[[nodiscard]] QList<DefinitionFault> faultsOf(const QList<::shader::Diagnostic> &diagnostics,
                                              const ShaderSourceMap &map);

} // namespace corvane::shader
