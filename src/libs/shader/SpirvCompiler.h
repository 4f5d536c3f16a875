#pragma once

#include <QByteArray>
#include <QString>
#include <private/qshader_p.h>

namespace shader {

struct SpirvResult
{
    QByteArray spirv; ///< empty on failure
    QString messages; ///< the compiler's text: errors, or the warnings of a success
};

/// Compiles GLSL 450 to SPIR-V, nothing kept. Any thread; the source need not be trustworthy, see
/// SourceGuard.
/// @param name  stands in the messages; the stage's extension is added when it has no point
[[nodiscard]] SpirvResult compileToSpirv(const QString &source, QShader::Stage stage,
                                         const QString &name);

/// The interface that a SPIR-V binary declares.
[[nodiscard]] QShaderDescription describeSpirv(const QByteArray &spirv);

} // namespace shader
