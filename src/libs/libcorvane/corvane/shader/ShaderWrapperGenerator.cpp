#include <corvane/shader/ShaderWrapperGenerator.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ShaderCodeAnalyzer.h>
#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/shader/ShaderNodeKinds.h>

#include <QLoggingCategory>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcWrappers, "ondrel.shader.wrappers", QtWarningMsg)

namespace {

bool emitWrapper(MappedText &text, const registry::Definition &definition,
                 const ShaderNodeKind &kind, int index)
{
    if (QStringView(definition.shaderCode).trimmed().isEmpty())
        return false;
    const auto function = shaderFunctionName(definition, kind, index);
    if (!function) {
        qCWarning(lcWrappers).noquote() << "ShaderWrapperGenerator: could not extract"
                                        << kind.missingName << "from" << definition.id;
        return false;
    }
    int slotCount = 0;
    const QString arguments = ShaderCodeAnalyzer::buildParamList(definition, slotCount);
    const QString separator = arguments.isEmpty() ? QString() : u", "_s;
    text.append(QString(kind.wrapper)
                    .arg(commentText(definition.id), QString::number(index), *function, separator,
                         arguments),
                {.definitionId = definition.id,
                 .key = u"parameters"_s,
                 .userNames = {{*function, mainFunctionName(definition)}}});
    text.append(u"\n"_s);
    return true;
}

} // namespace

ShaderWrapperGenerator::Wrappers
ShaderWrapperGenerator::generateWrappers(const ShaderNodeKind &kind,
                                         const ShaderIndexManager &indices,
                                         const registry::Registry &registry)
{
    Wrappers wrappers;
    wrappers.text.append(kind.wrappersBanner + "\n\n"_L1);
    const QList<int> written = writtenIndices(kind, indices, registry);
    for (const int index : written) {
        const auto definition = registry.getDefinition(indices.idAt(kind.type, index));
        if (definition && emitWrapper(wrappers.text, *definition, kind, index))
            wrappers.indices.append(index);
    }
    return wrappers;
}

} // namespace corvane::shader
