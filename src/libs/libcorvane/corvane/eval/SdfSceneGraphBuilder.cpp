#include <corvane/eval/SdfSceneGraphBuilder.h>

#include <corvane/eval/FieldTextBuilder.h>
#include <corvane/registry/Definition.h>
#include <corvane/shader/ParameterSlots.h>
#include <corvane/shader/ShaderCodeAnalyzer.h>

#include <QRegularExpression>

namespace corvane::eval {

using namespace Qt::StringLiterals;

namespace {

bool isIdentity(const std::array<float, 16> &matrix)
{
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        const float expected = i % 5 == 0 ? 1.0f : 0.0f;
        if (!(std::fabs(matrix[i] - expected) <= 1e-6f))
            return false;
    }
    return true;
}

// Every line stays where it is, for the sake of diagnostics.
QString withoutComments(const QString &code)
{
    QString text;
    text.reserve(code.size());
    for (qsizetype i = 0; i < code.size();) {
        const QStringView rest = QStringView(code).sliced(i);
        if (rest.startsWith("//"_L1)) {
            const qsizetype end = code.indexOf(u'\n', i);
            i = end < 0 ? code.size() : end;
        } else if (rest.startsWith("/*"_L1)) {
            const qsizetype end = code.indexOf("*/"_L1, i + 2);
            const qsizetype behind = end < 0 ? code.size() : end + 2;
            const auto comment = QStringView(code).sliced(i, behind - i);
            text += u' ' + QString(comment.count(u'\n'), u'\n');
            i = behind;
        } else {
            text += code.at(i++);
        }
    }
    return text;
}

QString vectorLiteral(std::span<const float> values, std::size_t slot, int count)
{
    QStringList components;
    for (std::size_t i = slot; i < slot + static_cast<std::size_t>(count); ++i)
        components.append(SdfSceneGraphBuilder::floatLit(i < values.size() ? values[i] : 0.0f));
    return u"vec%1(%2)"_s.arg(QString::number(count), components.join(", "_L1));
}

} // namespace

SdfSceneGraphBuilder::Result
SdfSceneGraphBuilder::build(const QList<shader::SDFNode> &nodes, int rootIndex,
                            const registry::Registry &registry,
                            const shader::ShaderIndexManager &shaderIndexManager)
{
    return build(nodes, rootIndex, DefinitionTable::collect(nodes, registry, shaderIndexManager));
}

SdfSceneGraphBuilder::Result SdfSceneGraphBuilder::build(const QList<shader::SDFNode> &nodes,
                                                         int rootIndex,
                                                         const DefinitionTable &definitions)
{
    FieldTextBuilder text(nodes, definitions);
    Result result;
    result.source = text.build(rootIndex);
    result.error = text.error();
    result.positionHandle = result.graph.declareInput(u"p"_s, ::eval::Type::Vec3);
    result.distanceHandle = result.graph.declareOutput(u"d"_s, result.source);
    return result;
}

QString SdfSceneGraphBuilder::formatParamsForCall(const registry::Definition &definition,
                                                  std::span<const float> values)
{
    QStringList arguments;
    std::size_t slot = 0;
    for (const registry::ParameterDef &parameter : definition.parameters) {
        if (parameter.isChildParameter())
            continue;
        if (slot >= shader::parameterSlotCount)
            break;
        const int width = shader::parameterFloatCount(parameter.type);
        if (width == 1)
            arguments.append(floatLit(slot < values.size() ? values[slot] : 0.0f));
        else
            arguments.append(vectorLiteral(
                values, slot,
                shader::ShaderCodeAnalyzer::argumentWidth(definition, arguments.size())));
        slot += static_cast<std::size_t>(width);
    }
    return arguments.join(", "_L1);
}

QString SdfSceneGraphBuilder::floatLit(float value)
{
    QString text = QString::number(value, 'g', 9);
    if (!text.contains(u'.') && !text.contains(u'e'))
        text += ".0"_L1;
    return text + u'f';
}

QString SdfSceneGraphBuilder::applyInvTransform(const std::array<float, 16> &matrix,
                                                const QString &positionExpr)
{
    if (isIdentity(matrix))
        return positionExpr;
    QStringList entries;
    for (const float entry : matrix)
        entries.append(QString::number(entry, 'g', 9) + u'f');
    return u"(mat4(%1) * vec4(%2, 1.0f)).xyz"_s.arg(entries.join(", "_L1), positionExpr);
}

QString SdfSceneGraphBuilder::fieldCode(const QString &shaderCode)
{
    static const QRegularExpression constQualifier(uR"(\bconst\b[ \t]+)"_s);
    return withoutComments(shaderCode).remove(constQualifier);
}

} // namespace corvane::eval
