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

bool emitWrapper(QString &text, const registry::Definition &definition, const ShaderNodeKind &kind,
                 int index)
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
    text += QString(kind.wrapper)
                .arg(commentText(definition.id), QString::number(index), *function, separator,
                     arguments) +
            u'\n';
    return true;
}

} // namespace

ShaderWrapperGenerator::Wrappers
ShaderWrapperGenerator::generateWrappers(const ShaderNodeKind &kind,
                                         const ShaderIndexManager &indices,
                                         const registry::Registry &registry)
{
    Wrappers wrappers{.text = kind.wrappersBanner + "\n\n"_L1, .count = 0};
    const QList<int> active = indices.activeIndices(kind.type);
    for (const int index : active) {
        const auto definition = registry.getDefinition(indices.idAt(kind.type, index));
        if (definition && emitWrapper(wrappers.text, *definition, kind, index))
            ++wrappers.count;
    }
    return wrappers;
}

} // namespace corvane::shader
