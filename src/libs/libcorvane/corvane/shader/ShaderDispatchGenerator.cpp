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

void emitDispatch(QString &text, const ShaderNodeKind &kind, const ShaderIndexManager &indices,
                  const registry::Registry &registry)
{
    const auto wrappers = ShaderWrapperGenerator::generateWrappers(kind, indices, registry);
    if (kind.type == GpuNodeType::Primitive)
        qCInfo(lcDispatch) << "ShaderDispatchGenerator:" << wrappers.count << "primitive wrappers";
    const QString cases = casesOf(kind.dispatchCase, indices.activeIndices(kind.type));
    text += wrappers.text;
    text += kind.dispatchBanner + "\n\n"_L1 + QString(kind.dispatcher).arg(cases) + u'\n';
}

QString blendBody(const registry::Definition &definition)
{
    static const QSet<QString> contract{u"blend"_s, u"d1"_s, u"d2"_s, u"k"_s};
    const QString code = definition.blend.trimmed();
    if (code.isEmpty())
        return defaultBlend;
    const QString own =
        definition.isFromResources() ? code : DefinitionCodeMangler(code, u"b_"_s, contract).code();
    QStringList lines = own.split(u'\n');
    for (QString &line : lines)
        line.prepend("    "_L1);
    return lines.join(u'\n');
}

void emitBlends(QString &text, const ShaderIndexManager &indices,
                const registry::Registry &registry)
{
    const QList<int> active = indices.activeIndices(GpuNodeType::CsgOp);
    text += "// ============= CSG Blend Functions =============\n\n"_L1;
    for (const int index : active) {
        const auto definition = registry.getDefinition(indices.idAt(GpuNodeType::CsgOp, index));
        const QString id = definition ? commentText(definition->id) : QString();
        const QString body = definition ? blendBody(*definition) : QString(defaultBlend);
        text += QString(blendFunction).arg(id, QString::number(index), body);
    }
    text += QString(blendDispatcher).arg(casesOf(blendCase, active));
}

} // namespace

QString ShaderDispatchGenerator::generateDispatchers(const ShaderIndexManager &indices,
                                                     const registry::Registry *registry)
{
    QString text;
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
    QString text;
    if (registry)
        emitDispatch(text, shaderNodeKinds().front(), indices, *registry);
    return text;
}

QString ShaderDispatchGenerator::csgOperations()
{
    return ShaderTemplates::load(u"sdf_csg_ops.glsl"_s);
}

QString ShaderDispatchGenerator::treeEvaluator()
{
    return ShaderTemplates::load(u"sdf_tree_evaluator.glsl"_s);
}

} // namespace corvane::shader
