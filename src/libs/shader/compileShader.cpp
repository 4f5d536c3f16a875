#include <shader/compileShader.h>

#include <shader/ArtifactCache.h>
#include <shader/CompileMark.h>

#include "CompileThread.h"
#include "CompilesInFlight.h"
#include "SourceGuard.h"

#include <QLoggingCategory>
#include <private/qshaderbaker_p.h>

using namespace Qt::StringLiterals;

namespace shader {

Q_LOGGING_CATEGORY(lcShaderCompile, "ondrel.shader.compile", QtWarningMsg)

namespace {

constexpr int shownSourceLength = 500;

// One file serves every back-end, so that a cache can be carried to another machine.
QList<QShaderBaker::GeneratedShader> bakeTargets()
{
    return {{QShader::SpirvShader, QShaderVersion(100)},
            {QShader::GlslShader, QShaderVersion(450)},
            {QShader::GlslShader, QShaderVersion(430)},
            {QShader::GlslShader, QShaderVersion(320, QShaderVersion::GlslEs)},
            {QShader::GlslShader, QShaderVersion(310, QShaderVersion::GlslEs)},
            {QShader::HlslShader, QShaderVersion(50)},
            {QShader::MslShader, QShaderVersion(12)}};
}

bool needsBatchable(QShader::Stage stage, bool batchable)
{
    return stage == QShader::VertexStage && batchable;
}

// The variant is no part of the key, so a known shader may lack it.
bool hasBatchable(const QShader &shader)
{
    const QList<QShaderKey> variants = shader.availableShaders();
    return std::any_of(variants.cbegin(), variants.cend(), [](const QShaderKey &variant) {
        return variant.sourceVariant() == QShader::BatchableVertexShader;
    });
}

CompileResult bake(const QString &key, const QString &source, QShader::Stage stage,
                   const QString &name, bool batchable)
{
    if (const QString refusal = sourceRefusal(source, name); !refusal.isEmpty())
        return {.shader = {}, .errorMessage = refusal};
    QString error;
    const auto baked = runOnCompileThread<CompileResult>(
        [key, source, stage, name, batchable] {
            const CompileMark mark(Compiler::Glsl, key, name);
            if (!mark.refusal().isEmpty())
                return CompileResult{.shader = {}, .errorMessage = mark.refusal()};
            QShaderBaker baker;
            baker.setSourceString(source.toUtf8(), stage, name);
            baker.setGeneratedShaders(bakeTargets());
            QList<QShader::Variant> variants{QShader::StandardShader};
            if (needsBatchable(stage, batchable))
                variants.append(QShader::BatchableVertexShader);
            baker.setGeneratedShaderVariants(variants);
            const QShader shader = baker.bake();
            return CompileResult{.shader = shader,
                                 .errorMessage =
                                     shader.isValid() ? QString() : baker.errorMessage()};
        },
        error);
    return baked.value_or(CompileResult{.shader = {}, .errorMessage = error});
}

CompileResult bakeAndKeep(const QString &key, const QString &source, QShader::Stage stage,
                          const QString &name, bool batchable)
{
    const CompileResult result =
        bake(key, source, stage, name.isEmpty() ? u"generated"_s : name, batchable);
    if (result.shader.isValid()) {
        qCInfo(lcShaderCompile).noquote() << "Successfully compiled shader:" << name;
        ArtifactCache::instance().saveShader(key, result.shader);
    } else {
        qCWarning(lcShaderCompile).noquote() << "Failed to compile shader:" << result.errorMessage;
        qCWarning(lcShaderCompile).noquote()
            << "Source (first 500 chars):" << source.left(shownSourceLength);
    }
    return result;
}

} // namespace

CompileResult compileShader(const QString &source, QShader::Stage stage, const QString &name,
                            bool batchable)
{
    const QString key = ArtifactCache::shaderKey(source, stage);
    if (const QShader known = ArtifactCache::instance().loadShader(key);
        known.isValid() && (!needsBatchable(stage, batchable) || hasBatchable(known)))
        return {.shader = known, .errorMessage = {}};
    const QString flight = needsBatchable(stage, batchable) ? key + u'b' : key;
    return CompilesInFlight::instance().compileOnce(
        flight, [&] { return bakeAndKeep(key, source, stage, name, batchable); });
}

} // namespace shader
