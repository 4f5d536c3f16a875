#include <corvane/shader/ShaderDispatchGenerator.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/DefinitionCodeMangler.h>
#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/shader/ShaderNodeKinds.h>
#include <corvane/shader/ShaderTemplates.h>
#include <corvane/shader/ShaderWrapperGenerator.h>

#include <QLoggingCategory>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcDispatch, "ondrel.shader.dispatch", QtWarningMsg)

namespace {

constexpr auto blendFunction = R"(// %1
float csgBlend_%2(float d1, float d2, float k) {
%3
    return blend;
}

)"_L1;

constexpr int blendHeadLines = 2;

constexpr auto blendDispatcher = R"(// ============= CSG Blend Dispatch =============

float applyCsgBlend(uint csgIndex, float d1, float d2, float k) {
    switch (csgIndex) {
%1        default: return d1 < d2 ? 0.0 : 1.0;
    }
}

)"_L1;

constexpr auto blendCase = "        case %1u: return csgBlend_%1(d1, d2, k);\n"_L1;
constexpr auto defaultBlend = "    float blend = d1 < d2 ? 0.0 : 1.0;"_L1;

QString casesOf(QLatin1String pattern, const QList<int> &indices)
{
    QString cases;
    for (const int index : indices)
        cases += QString(pattern).arg(index);
    return cases;
}

void emitDispatch(MappedText &text, const ShaderNodeKind &kind, const ShaderIndexManager &indices,
                  const registry::Registry &registry)
{
    const auto wrappers = ShaderWrapperGenerator::generateWrappers(kind, indices, registry);
    if (kind.type == GpuNodeType::Primitive)
        qCInfo(lcDispatch) << "ShaderDispatchGenerator:" << wrappers.indices.size()
                           << "primitive wrappers";
    // A definition without a wrapper is unknown to the dispatcher, so that it breaks no other.
    const QString cases = casesOf(kind.dispatchCase, wrappers.indices);
    text.append(wrappers.text);
    text.append(kind.dispatchBanner + "\n\n"_L1 + QString(kind.dispatcher).arg(cases) + u'\n');
}

QString indented(const QString &code)
{
    QStringList lines = code.split(u'\n');
    for (QString &line : lines)
        line.prepend("    "_L1);
    return lines.join(u'\n');
}

void emitBlend(MappedText &text, const registry::Definition &definition, int index)
{
    static const QSet<QString> contract{u"blend"_s, u"d1"_s, u"d2"_s, u"k"_s};
    const QString code = definition.blend.trimmed();
    const auto mangler = definition.isFromResources()
                             ? DefinitionCodeMangler::passThrough(code)
                             : DefinitionCodeMangler(code, u"b_"_s, contract);
    const QString body = code.isEmpty() ? QString(defaultBlend) : indented(mangler.code());
    const int trimmedLines =
        int(definition.blend.left(definition.blend.indexOf(code)).count(u'\n'));
    text.append(
        QString(blendFunction).arg(commentText(definition.id), QString::number(index), body),
        {.definitionId = definition.id,
         .key = u"blend"_s,
         .codeLine = trimmedLines - blendHeadLines + 1,
         .codeLines = int(definition.blend.count(u'\n')) + 1,
         .userNames = mangler.originalNames()});
}

void emitBlends(MappedText &text, const ShaderIndexManager &indices,
                const registry::Registry &registry)
{
    QList<int> emitted;
    const QList<int> active = indices.activeIndices(GpuNodeType::CsgOp);
    text.append(u"// ============= CSG Blend Functions =============\n\n"_s);
    for (const int index : active) {
        const auto definition = registry.getDefinition(indices.idAt(GpuNodeType::CsgOp, index));
        if (!definition)
            continue;
        emitBlend(text, *definition, index);
        emitted.append(index);
    }
    text.append(QString(blendDispatcher).arg(casesOf(blendCase, emitted)));
}

} // namespace

MappedText ShaderDispatchGenerator::generateDispatchers(const ShaderIndexManager &indices,
                                                        const registry::Registry *registry)
{
    MappedText text;
    if (!registry)
        return text;
    for (const ShaderNodeKind &kind : shaderNodeKinds())
        emitDispatch(text, kind, indices, *registry);
    emitBlends(text, indices, *registry);
    return text;
}

QString ShaderDispatchGenerator::generatePrimitiveDispatch(const ShaderIndexManager &indices,
                                                           const registry::Registry *registry)
{
    MappedText text;
    if (registry)
        emitDispatch(text, shaderNodeKinds().front(), indices, *registry);
    return text.text();
}

QString ShaderDispatchGenerator::csgOperations()
{
    return ShaderTemplates::load(u"sdf_csg_ops.glsl"_s);
}

QString ShaderDispatchGenerator::treeEvaluator()
{
    return ShaderTemplates::load(u"sdf_field_value.glsl"_s) + u'\n' +
           ShaderTemplates::load(u"sdf_tree_evaluator.glsl"_s);
}

} // namespace corvane::shader
