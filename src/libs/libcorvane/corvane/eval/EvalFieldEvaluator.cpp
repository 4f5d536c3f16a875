#include <corvane/eval/EvalFieldEvaluator.h>

#include <array>
#include <utility>

namespace corvane::eval {

using namespace Qt::StringLiterals;

EvalFieldEvaluator::EvalFieldEvaluator(QSharedPointer<const ::eval::Program> program,
                                       ::eval::Handle positionHandle, ::eval::Handle distanceHandle)
    : m_program(std::move(program))
    , m_position(positionHandle)
    , m_distance(distanceHandle)
{
    if (!m_program || !m_program->isValid()) {
        m_lastError = u"EvalFieldEvaluator: null program"_s;
    } else if (m_position == 0 || m_distance == 0) {
        m_lastError = u"EvalFieldEvaluator: invalid sample-position or distance handle"_s;
    } else {
        m_copy = m_program->threadCopy();
        m_valid = true;
    }
}

float EvalFieldEvaluator::evaluate(float x, float y, float z)
{
    if (!m_valid)
        return farDistance;
    m_copy.setFloats(m_position, std::array{x, y, z});
    if (m_copy.evaluateQuick())
        return m_copy.getFloat(m_distance);
    keepFirstError();
    return farDistance;
}

QString EvalFieldEvaluator::backendName() const
{
    switch (m_program ? m_program->backend() : ::eval::Backend::Auto) {
    case ::eval::Backend::Interpreted:
        return u"libeval (Interpreted)"_s;
    case ::eval::Backend::Native:
        return u"libeval (Native JIT)"_s;
    case ::eval::Backend::Gpu:
        return u"libeval (Gpu compute)"_s;
    case ::eval::Backend::Auto:
        break;
    }
    return u"libeval (Auto)"_s;
}

void EvalFieldEvaluator::evaluateRow(std::span<const float> xs, float y, float z,
                                     std::span<float> out)
{
    if (!m_valid)
        std::fill(out.begin(), out.end(), farDistance);
    else if (!m_copy.evaluateRow(m_position, xs, y, z, m_distance, out, farDistance))
        keepFirstError();
}

void EvalFieldEvaluator::evaluatePoints(std::span<const float> xs, std::span<const float> ys,
                                        std::span<const float> zs, std::span<float> out)
{
    if (!m_valid)
        std::fill(out.begin(), out.end(), farDistance);
    else if (!m_copy.evaluatePoints(m_position, xs, ys, zs, m_distance, out, farDistance))
        keepFirstError();
}

void EvalFieldEvaluator::setCancelFlag(const std::atomic_bool *cancelled)
{
    m_copy.setCancelFlag(cancelled);
}

void EvalFieldEvaluator::keepFirstError()
{
    if (m_lastError.isEmpty())
        m_lastError = m_copy.firstFault().message;
}

} // namespace corvane::eval
