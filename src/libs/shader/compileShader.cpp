#include <shader/compileShader.h>

#include <shader/ArtifactCache.h>
#include <shader/CompileMark.h>

#include "CompileThread.h"
#include "CompilesInFlight.h"
#include "SourceGuard.h"

#include <concurrency/BackgroundQueue.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <private/qshaderbaker_p.h>

#include <mutex>

using namespace Qt::StringLiterals;

namespace shader {

Q_LOGGING_CATEGORY(lcShaderCompile, "ondrel.shader.compile", QtWarningMsg)

namespace {

constexpr int shownSourceLength = 500;
/// With no new compile for so long, what is left of the old ones is made.
constexpr std::chrono::seconds quietBeforeRest{1};
constexpr std::size_t mostIncomplete = 64;
/// At the lowest priority, on a machine that has other things to do.
constexpr std::chrono::minutes restTimeLimit{10};

struct Request
{
    QString key;
    QString source;
    QShader::Stage stage;
    QString name;
    bool batchable = false; ///< for a vertex shader only

    QString flight() const { return batchable ? key + u'b' : key; }
};

Request requestOf(const QString &source, QShader::Stage stage, const QString &name, bool batchable)
{
    return {.key = ArtifactCache::shaderKey(source, stage),
            .source = source,
            .stage = stage,
            .name = name.isEmpty() ? u"generated"_s : name,
            .batchable = batchable && stage == QShader::VertexStage};
}

// The variant is no part of the key, so a known shader may lack it.
bool hasBatchable(const QShader &shader)
{
    const QList<QShaderKey> held = shader.availableShaders();
    return std::any_of(held.cbegin(), held.cend(), [](const QShaderKey &key) {
        return key.sourceVariant() == QShader::BatchableVertexShader;
    });
}

CompileResult bakeHere(const Request &request, Targets targets)
{
    const CompileMark mark(Compiler::Glsl, request.key, request.name);
    if (!mark.refusal().isEmpty())
        return {.shader = {}, .errorMessage = mark.refusal()};
    QList<QShaderBaker::GeneratedShader> codes;
    const QList<TargetCode> wanted = codesOf(targets);
    for (const TargetCode &code : wanted)
        codes.append({code.language, code.version});
    QShaderBaker baker;
    baker.setSourceString(request.source.toUtf8(), request.stage, request.name);
    baker.setGeneratedShaders(codes);
    QList<QShader::Variant> variants{QShader::StandardShader};
    if (request.batchable)
        variants.append(QShader::BatchableVertexShader);
    baker.setGeneratedShaderVariants(variants);
    const QShader shader = baker.bake();
    return {.shader = shader, .errorMessage = shader.isValid() ? QString() : baker.errorMessage()};
}

CompileResult bake(const Request &request, Targets targets, std::chrono::milliseconds limit)
{
    if (const QString refusal = sourceRefusal(request.source, request.name); !refusal.isEmpty())
        return {.shader = {}, .errorMessage = refusal};
    QString error;
    const auto baked = runOnCompileThread<CompileResult>(
        [request, targets] { return bakeHere(request, targets); }, error, limit);
    return baked.value_or(CompileResult{.shader = {}, .errorMessage = error});
}

// ------------------------------------------------------------------ what is made behind

concurrency::BackgroundQueue &rests()
{
    static concurrency::BackgroundQueue queue("Ondrel.shaders", quietBeforeRest, mostIncomplete);
    return queue;
}

/// The compiler keeps things of its own in static objects, which are gone before the queue is.
void stopWithApplication()
{
    static std::once_flag once;
    std::call_once(once, [] { qAddPostRoutine([] { rests().stop(); }); });
}

// One file serves every back-end, so that a cache can be carried to another machine.
void complete(Request request)
{
    const QShader known = ArtifactCache::instance().loadShader(request.key);
    request.batchable = request.batchable || hasBatchable(known);
    if (known.isValid() && covers(known, allTargets, request.batchable))
        return;
    const CompileResult result = bake(request, allTargets, restTimeLimit);
    if (result.shader.isValid())
        ArtifactCache::instance().saveShader(request.key, result.shader);
    else
        qCInfo(lcShaderCompile).noquote()
            << "Not compiled for all back-ends:" << request.name << result.errorMessage;
}

void completeLater(const Request &request)
{
    stopWithApplication();
    rests().add(request.flight(), [request] { complete(request); });
}

// ------------------------------------------------------------------ what is waited for

CompileResult bakeAndKeep(const Request &request, Targets targets)
{
    const CompileResult result = bake(request, targets, compileTimeLimit);
    if (result.shader.isValid()) {
        qCInfo(lcShaderCompile).noquote() << "Successfully compiled shader:" << request.name;
        ArtifactCache::instance().saveShader(request.key, result.shader);
    } else {
        qCWarning(lcShaderCompile).noquote() << "Failed to compile shader:" << result.errorMessage;
        qCWarning(lcShaderCompile).noquote()
            << "Source (first 500 chars):" << request.source.left(shownSourceLength);
    }
    return result;
}

/// What a shader holds already, to be kept when it is made anew for more.
Targets heldBy(const QShader &shader)
{
    Targets held;
    for (const Target target :
         {Target::Spirv, Target::DesktopGlsl, Target::EsGlsl, Target::Hlsl, Target::Msl}) {
        if (shader.isValid() && covers(shader, target, false))
            held |= target;
    }
    return held;
}

CompileResult compile(Request request, Targets targets)
{
    const QShader known = ArtifactCache::instance().loadShader(request.key);
    if (known.isValid() && covers(known, targets, request.batchable))
        return {.shader = known, .errorMessage = {}};
    const Targets wanted = targets | heldBy(known);
    request.batchable = request.batchable || hasBatchable(known);
    return CompilesInFlight::instance().compileOnce(request.flight() +
                                                        QString::number(wanted.toInt()),
                                                    [&] { return bakeAndKeep(request, wanted); });
}

} // namespace

CompileResult compileShader(const QString &source, QShader::Stage stage, const QString &name,
                            bool batchable)
{
    const Request request = requestOf(source, stage, name, batchable);
    const CompileResult result = compile(request, runningTargets());
    if (result.shader.isValid() && !covers(result.shader, allTargets, request.batchable))
        completeLater(request);
    return result;
}

CompileResult compileFor(Targets targets, const QString &source, QShader::Stage stage,
                         const QString &name)
{
    return compile(requestOf(source, stage, name, false), targets);
}

bool finishCompiles(std::chrono::milliseconds limit)
{
    return rests().finish(limit);
}

} // namespace shader
