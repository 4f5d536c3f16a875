#pragma once

#include <QString>
#include <private/qshader_p.h>

namespace shader {

struct CompileResult
{
    QShader shader;       ///< invalid on failure
    QString errorMessage; ///< the compiler's text; empty on success
};

/// Compiles GLSL 450 for every back-end: SPIR-V, desktop and ES GLSL, HLSL and MSL. Any thread.
///
/// Results are kept in the ArtifactCache under the source, the program's version and the stage, so
/// that the same text is compiled once, also when several threads ask for it at a time. A source
/// beyond the limits of SourceGuard is refused.
/// @param name       stands in messages and in the log; "generated" when empty
/// @param batchable  adds the variant of a vertex shader that the scene graph can batch
[[nodiscard]] CompileResult compileShader(const QString &source, QShader::Stage stage,
                                          const QString &name, bool batchable = false);

} // namespace shader
