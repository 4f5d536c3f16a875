#include <corvane/shader/ShaderFunctionGenerator.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/shader/ShaderNodeKinds.h>

#include <QLoggingCategory>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcFunctions, "ondrel.shader.functions", QtWarningMsg)

namespace {

void emitFunction(MappedText &text, const registry::Definition &definition,
                  const ShaderNodeKind &kind, int index)
{
    const auto function = shaderFunction(definition, kind, index);
    if (!function) {
        qCWarning(lcFunctions).noquote() << "ShaderFunctionGenerator: could not extract"
                                         << kind.missingName << "from" << definition.id;
        return;
    }
    const QString comment =
        QString(kind.functionComment).arg(commentText(definition.name), QString::number(index));
    text.append(comment + u'\n');
    text.append(function->code, {.definitionId = definition.id,
                                 .key = u"shaderCode"_s,
                                 .codeLine = function->firstLine,
                                 .codeLines = int(definition.shaderCode.count(u'\n')) + 1,
                                 .userNames = function->userNames});
    text.append(u"\n\n"_s);
}

void emitSection(MappedText &text, const ShaderNodeKind &kind, const ShaderIndexManager &indices,
                 const registry::Registry &registry)
{
    const QList<int> written = writtenIndices(kind, indices, registry);
    if (kind.isOfUsersOnly && written.isEmpty())
        return;
    text.append(u"%1\n// Generated from %2 %3\n\n"_s.arg(
        kind.functionsBanner, QString::number(indices.count(kind.type)), kind.definitionWords));
    for (const int index : written)
        emitFunction(text, *registry.getDefinition(indices.idAt(kind.type, index)), kind, index);
}

} // namespace

MappedText ShaderFunctionGenerator::generateSDFFunctions(const ShaderIndexManager &indices,
                                                         const registry::Registry *registry)
{
    MappedText text;
    if (!registry)
        return text;
    for (const ShaderNodeKind &kind : shaderNodeKinds())
        emitSection(text, kind, indices, *registry);
    return text;
}

} // namespace corvane::shader
