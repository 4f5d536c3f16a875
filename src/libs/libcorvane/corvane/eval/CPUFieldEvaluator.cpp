#include <corvane/eval/CPUFieldEvaluator.h>

#include <corvane/eval/FieldCompiler.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ShaderIndexManager.h>

namespace corvane::eval {

using namespace Qt::StringLiterals;

CPUFieldEvaluator::CPUFieldEvaluator(const QList<shader::SDFNode> &nodes, int rootIndex)
{
    const registry::Registry &registry = registry::Registry::instance();
    shader::ShaderIndexManager indices;
    indices.rebuildIndices(&registry);
    compile(nodes, rootIndex, DefinitionTable::collect(nodes, registry, indices));
}

CPUFieldEvaluator::CPUFieldEvaluator(const QList<shader::SDFNode> &nodes, int rootIndex,
                                     const DefinitionTable &definitions)
{
    compile(nodes, rootIndex, definitions);
}

void CPUFieldEvaluator::compile(const QList<shader::SDFNode> &nodes, int rootIndex,
                                const DefinitionTable &definitions)
{
    auto scene = SdfSceneGraphBuilder::build(nodes, rootIndex, definitions);
    if (!scene.error.isEmpty()) {
        m_error = u"CPUFieldEvaluator: SdfSceneGraphBuilder failed: %1"_s.arg(scene.error);
        return;
    }
    const CompiledField field = compileFieldNativeFirst(scene);
    if (!field.program) {
        m_error = u"CPUFieldEvaluator: eval compile failed: %1"_s.arg(field.error);
        return;
    }
    m_field = std::make_unique<EvalFieldEvaluator>(field.program, field.positionHandle,
                                                   field.distanceHandle);
    m_gradient = AnalyticGradient::compile(nodes, rootIndex, definitions);
}

bool CPUFieldEvaluator::isValid() const
{
    return m_field && m_field->isValid();
}

QString CPUFieldEvaluator::lastError() const
{
    return m_field ? m_field->lastError() : m_error;
}

float CPUFieldEvaluator::evaluate(float x, float y, float z)
{
    return m_field ? m_field->evaluate(x, y, z) : farDistance;
}

DistanceGradient CPUFieldEvaluator::evaluateWithGradient(float x, float y, float z)
{
    if (m_field && m_gradient.isValid())
        return m_gradient.evalCompiled(x, y, z);
    return IFieldEvaluator::evaluateWithGradient(x, y, z);
}

QString CPUFieldEvaluator::backendName() const
{
    return u"libeval (CPUFieldEvaluator)"_s;
}

void CPUFieldEvaluator::evaluateRow(std::span<const float> xs, float y, float z,
                                    std::span<float> out)
{
    if (m_field)
        m_field->evaluateRow(xs, y, z, out);
    else
        std::fill(out.begin(), out.end(), farDistance);
}

void CPUFieldEvaluator::evaluatePoints(std::span<const float> xs, std::span<const float> ys,
                                       std::span<const float> zs, std::span<float> out)
{
    if (m_field)
        m_field->evaluatePoints(xs, ys, zs, out);
    else
        std::fill(out.begin(), out.end(), farDistance);
}

void CPUFieldEvaluator::evaluateWithGradients(std::span<const float> xs, std::span<const float> ys,
                                              std::span<const float> zs,
                                              std::span<DistanceGradient> out)
{
    if (!m_field || !m_gradient.isValid()) {
        IFieldEvaluator::evaluateWithGradients(xs, ys, zs, out);
        return;
    }
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = m_gradient.evalCompiled(xs[i], ys[i], zs[i]);
}

void CPUFieldEvaluator::setCancelFlag(const std::atomic_bool *cancelled)
{
    if (m_field)
        m_field->setCancelFlag(cancelled);
}

} // namespace corvane::eval
