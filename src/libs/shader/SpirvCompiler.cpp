#include <shader/SpirvCompiler.h>

#include <shader/ArtifactCache.h>
#include <shader/CompileMark.h>

#include "CompileThread.h"
#include "SourceGuard.h"

#include <private/qspirvcompiler_p.h>
#include <private/qspirvshader_p.h>

using namespace Qt::StringLiterals;

namespace shader {

namespace {

QLatin1StringView extensionOf(QShader::Stage stage)
{
    switch (stage) {
    case QShader::VertexStage:
        return ".vert"_L1;
    case QShader::TessellationControlStage:
        return ".tesc"_L1;
    case QShader::TessellationEvaluationStage:
        return ".tese"_L1;
    case QShader::GeometryStage:
        return ".geom"_L1;
    case QShader::FragmentStage:
        return ".frag"_L1;
    case QShader::ComputeStage:
        return ".comp"_L1;
    }
    return ".glsl"_L1;
}

} // namespace

SpirvResult compileToSpirv(const QString &source, QShader::Stage stage, const QString &name)
{
    const QString fileName = name.contains(u'.') ? name : name + extensionOf(stage);
    if (const QString refusal = sourceRefusal(source, fileName); !refusal.isEmpty())
        return {.spirv = {}, .messages = refusal};
    QString error;
    const auto compiled = runOnCompileThread<SpirvResult>(
        [source, stage, fileName] {
            const CompileMark mark(Compiler::Glsl, ArtifactCache::shaderKey(source, stage),
                                   fileName);
            if (!mark.refusal().isEmpty())
                return SpirvResult{.spirv = {}, .messages = mark.refusal()};
            QSpirvCompiler compiler;
            compiler.setSourceString(source.toUtf8(), stage, fileName);
            const QByteArray spirv = compiler.compileToSpirv();
            return SpirvResult{.spirv = spirv, .messages = compiler.errorMessage()};
        },
        error);
    return compiled.value_or(SpirvResult{.spirv = {}, .messages = error});
}

QShaderDescription describeSpirv(const QByteArray &spirv)
{
    if (spirv.isEmpty())
        return {};
    QSpirvShader shader;
    shader.setSpirvBinary(spirv);
    return shader.shaderDescription();
}

} // namespace shader
