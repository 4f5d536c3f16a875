#pragma once

#include <corvane/eval/IFieldEvaluator.h>

#include <eval/Program.h>

#include <QSharedPointer>

#include <atomic>

namespace corvane::eval {

/// A field that a compiled eval::Program computes, from an input of type vec3 to an output of type
/// float.
///
/// The program is shared; the slot values are this instance's own. One instance serves one thread.
class EvalFieldEvaluator : public IFieldEvaluator
{
public:
    /// Without a program or with a handle of 0 the evaluator is invalid and lastError() says why.
    EvalFieldEvaluator(QSharedPointer<const ::eval::Program> program, ::eval::Handle positionHandle,
                       ::eval::Handle distanceHandle);

    bool isValid() const override { return m_valid; }
    QString lastError() const override { return m_lastError; }
    float evaluate(float x, float y, float z) override;
    QString backendName() const override;
    void evaluateRow(std::span<const float> xs, float y, float z, std::span<float> out) override;
    void evaluatePoints(std::span<const float> xs, std::span<const float> ys,
                        std::span<const float> zs, std::span<float> out) override;

    /// While the flag is true evaluations fail soon, even inside a loop that does not end. It must
    /// outlive the evaluator.
    void setCancelFlag(const std::atomic_bool *cancelled);

private:
    void keepFirstError();

    QSharedPointer<const ::eval::Program> m_program;
    ::eval::ThreadCopy m_copy;
    ::eval::Handle m_position = 0;
    ::eval::Handle m_distance = 0;
    QString m_lastError;
    bool m_valid = false;
};

} // namespace corvane::eval
