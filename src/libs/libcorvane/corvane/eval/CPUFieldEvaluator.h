#pragma once

#include <corvane/eval/AnalyticGradient.h>
#include <corvane/eval/DefinitionTable.h>
#include <corvane/eval/EvalFieldEvaluator.h>

#include <memory>

namespace corvane::eval {

/// A field that owns everything it needs: for callers that have a scene in hand and want one
/// evaluator.
///
/// It asks for native code and takes the interpreter where there is none. Gradients are exact where
/// AnalyticGradient can compile the scene, else they come from samples.
class CPUFieldEvaluator : public IFieldEvaluator
{
public:
    /// Looks definitions up in the registry: main thread only.
    CPUFieldEvaluator(const QList<shader::SDFNode> &nodes, int rootIndex);
    CPUFieldEvaluator(const QList<shader::SDFNode> &nodes, int rootIndex,
                      const DefinitionTable &definitions);

    bool isValid() const override;
    QString lastError() const override;
    float evaluate(float x, float y, float z) override;
    DistanceGradient evaluateWithGradient(float x, float y, float z) override;
    QString backendName() const override;
    void evaluateRow(std::span<const float> xs, float y, float z, std::span<float> out) override;
    void evaluatePoints(std::span<const float> xs, std::span<const float> ys,
                        std::span<const float> zs, std::span<float> out) override;
    void evaluateWithGradients(std::span<const float> xs, std::span<const float> ys,
                               std::span<const float> zs, std::span<DistanceGradient> out) override;

    /// As EvalFieldEvaluator::setCancelFlag().
    void setCancelFlag(const std::atomic_bool *cancelled);

    const AnalyticGradient &analyticGradient() const { return m_gradient; }

private:
    void compile(const QList<shader::SDFNode> &nodes, int rootIndex,
                 const DefinitionTable &definitions);

    std::unique_ptr<EvalFieldEvaluator> m_field;
    AnalyticGradient m_gradient;
    QString m_error;
};

} // namespace corvane::eval
