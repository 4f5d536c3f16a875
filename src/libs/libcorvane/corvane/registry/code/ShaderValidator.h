#pragma once

#include <shader/Diagnostic.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <private/qshader_p.h>

namespace corvane::shader {

/// What became of a test compile.
struct ValidationResult
{
    bool success = false;
    QByteArray spirv;
    QList<::shader::Diagnostic> diagnostics; ///< of a success: warnings and notes only

    /// The interface of the shader, read out of `spirv` on each call; empty without success.
    [[nodiscard]] QShaderDescription description() const;
};

/// Compiles GLSL to see whether it does. Stateless; any thread.
///
/// A source that compiled before is answered from the artifact cache. A source beyond the limits of
/// ::shader::SourceGuard is refused with a diagnostic that names its line.
class ShaderValidator
{
public:
    /// @param name    stands in messages; the stage's extension is added when it has no point
    /// @param prefix  put before the source, on lines of its own
    [[nodiscard]] static ValidationResult validate(const QString &source, QShader::Stage stage,
                                                   const QString &name, const QString &prefix = {});
};

} // namespace corvane::shader
