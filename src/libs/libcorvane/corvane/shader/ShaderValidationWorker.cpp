#include <corvane/shader/ShaderValidationWorker.h>

#include <corvane/registry/code/ParameterExtractor.h>

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

QVariantMap toMap(const ::shader::Diagnostic &diagnostic)
{
    return {{u"line"_s, diagnostic.line},
            {u"column"_s, diagnostic.column},
            {u"message"_s, diagnostic.message},
            {u"severity"_s, int(diagnostic.severity)},
            {u"filename"_s, diagnostic.filename}};
}

QVariantMap toMap(const registry::ParameterDef &parameter)
{
    return {{u"name"_s, parameter.name},
            {u"type"_s, int(parameter.type)},
            {u"displayName"_s, parameter.displayName},
            {u"description"_s, parameter.description},
            {u"unit"_s, parameter.unit},
            {u"defaultValue"_s, parameter.defaultValue},
            {u"minValue"_s, parameter.minValue},
            {u"maxValue"_s, parameter.maxValue},
            {u"uiHint"_s, int(parameter.uiHint)}};
}

template<typename Record>
QVariantList toMaps(const QList<Record> &records)
{
    QVariantList maps;
    for (const Record &record : records)
        maps.append(toMap(record));
    return maps;
}

QList<registry::ParameterDef> parametersOf(const ValidationResult &validation,
                                           const QString &userSource)
{
    if (!validation.success)
        return {};
    const QList<registry::ParameterDef> reflected =
        ParameterExtractor::extractParameters(validation.description(), {}, userSource);
    return reflected.isEmpty()
               ? ParameterExtractor::extractParametersFromFunctionSignature(userSource)
               : reflected;
}

} // namespace

ShaderValidationWorker::ShaderValidationWorker(ShaderValidationContextStore *contexts,
                                               QObject *parent)
    : ShaderJobWorker({.workerId = u"corvane/shader_validation_worker"_s,
                       .jobType = u"corvane/shader_validation"_s,
                       .tags = {u"corvane"_s, u"shader"_s, u"validation"_s},
                       .mostAtOnce = 2,
                       .missingContext = u"Missing shader validation context for snapshot: "_s,
                       .startLine = u"Starting shader validation..."_s},
                      parent)
    , m_contexts(contexts)
{}

ShaderValidationWorker::~ShaderValidationWorker()
{
    waitForCompiles();
}

std::optional<ShaderJobWorker::Compile> ShaderValidationWorker::prepare(const QString &snapshotId,
                                                                        const QVariantMap &)
{
    const auto context = m_contexts->lookup(snapshotId);
    if (!context)
        return std::nullopt;
    return [this, context = *context] {
        const ValidationResult validation = doValidate(context);
        return Answer{
            .isGood = validation.success,
            .result = {{u"success"_s, validation.success},
                       {u"diagnostics"_s, toMaps(validation.diagnostics)},
                       {u"extractedParams"_s, toMaps(parametersOf(validation, context.userSource))},
                       {u"wrapperLineOffset"_s, context.wrapperLineOffset}}};
    };
}

void ShaderValidationWorker::announceEnd(quint64 jobId, bool success)
{
    emit validationFinished(jobId, success);
}

ValidationResult ShaderValidationWorker::doValidate(const ShaderValidationContext &context)
{
    return ShaderValidator::validate(context.source, context.stage, u"shader"_s);
}

} // namespace corvane::shader
