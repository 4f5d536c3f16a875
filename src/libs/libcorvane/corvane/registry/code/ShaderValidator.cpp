#include <corvane/registry/code/ShaderValidator.h>

#include <shader/ArtifactCache.h>
#include <shader/SpirvCompiler.h>

using namespace Qt::StringLiterals;
using ::shader::ArtifactCache;
using ::shader::Diagnostic;

namespace corvane::shader {

namespace {

QList<Diagnostic> warningsIn(const QString &messages)
{
    QList<Diagnostic> diagnostics = ::shader::parseGlslangErrors(messages);
    diagnostics.removeIf([](const Diagnostic &diagnostic) {
        return diagnostic.severity == Diagnostic::Severity::Error;
    });
    return diagnostics;
}

ValidationResult succeeded(const QByteArray &spirv, const QString &messages)
{
    return {.success = true, .spirv = spirv, .diagnostics = warningsIn(messages)};
}

Diagnostic wholeSourceError(const QString &message, const QString &name)
{
    return {.line = -1,
            .column = 0,
            .message = message,
            .severity = Diagnostic::Severity::Error,
            .filename = name};
}

ValidationResult failed(const QString &messages, const QString &name)
{
    QList<Diagnostic> diagnostics = ::shader::parseGlslangErrors(messages);
    if (diagnostics.isEmpty())
        diagnostics.append(
            wholeSourceError(messages.isEmpty() ? u"Shader compilation failed"_s : messages, name));
    return {.success = false, .spirv = {}, .diagnostics = diagnostics};
}

QString prefixed(const QString &source, const QString &prefix)
{
    if (prefix.isEmpty())
        return source;
    return prefix.endsWith(u'\n') ? prefix + source : prefix + u'\n' + source;
}

} // namespace

QShaderDescription ValidationResult::description() const
{
    return ::shader::describeSpirv(spirv);
}

ValidationResult ShaderValidator::validate(const QString &source, QShader::Stage stage,
                                           const QString &name, const QString &prefix)
{
    if (source.isEmpty())
        return {.success = false,
                .spirv = {},
                .diagnostics = {wholeSourceError(u"Empty shader source"_s, name)}};
    const QString text = prefixed(source, prefix);
    // The name stands in the messages that are kept beside the binary.
    const ArtifactCache &cache = ArtifactCache::instance();
    const QString key = ArtifactCache::shaderKey(text + u'\0' + name, stage);
    if (const auto known = cache.loadSpirv(key))
        return succeeded(known->binary, known->messages);

    const ::shader::SpirvResult result = ::shader::compileToSpirv(text, stage, name);
    if (result.spirv.isEmpty())
        return failed(result.messages, name);
    cache.saveSpirv(key, {.binary = result.spirv, .messages = result.messages});
    return succeeded(result.spirv, result.messages);
}

} // namespace corvane::shader
