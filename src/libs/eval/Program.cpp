#include <eval/Program.h>

#include <eval/internal/CompiledProgram.h>
#include <eval/internal/EvaluationState.h>

namespace eval {

using internal::CompiledProgram;
using internal::EvaluationState;

// A default-made copy has no state: handles are unknown to it and every evaluation succeeds with
// nothing.

ThreadCopy::ThreadCopy() = default;
ThreadCopy::ThreadCopy(ThreadCopy &&) noexcept = default;
ThreadCopy &ThreadCopy::operator=(ThreadCopy &&) noexcept = default;
ThreadCopy::~ThreadCopy() = default;

ThreadCopy::ThreadCopy(QSharedPointer<const CompiledProgram> program)
{
    if (program)
        m_state = std::make_unique<EvaluationState>(std::move(program));
}

void ThreadCopy::set(Handle handle, const QVariant &value)
{
    if (m_state)
        m_state->set(handle, value);
}

void ThreadCopy::setFloats(Handle handle, std::span<const float> components)
{
    if (m_state)
        m_state->setFloats(handle, components);
}

void ThreadCopy::bindArray(Handle handle, std::span<const float> values)
{
    if (m_state)
        m_state->bindArray(handle, values);
}

void ThreadCopy::setCancelFlag(const std::atomic_bool *cancelled)
{
    if (m_state)
        m_state->setCancelFlag(cancelled);
}

Result<void> ThreadCopy::evaluate()
{
    if (evaluateQuick())
        return {};
    return Result<void>::failure(m_state->faults());
}

bool ThreadCopy::evaluateQuick()
{
    return !m_state || m_state->evaluate();
}

QVariant ThreadCopy::get(Handle handle) const
{
    return m_state ? m_state->get(handle) : QVariant();
}

float ThreadCopy::getFloat(Handle handle) const
{
    return m_state ? m_state->getFloat(handle) : 0.0f;
}

bool ThreadCopy::evaluateRow(Handle input, std::span<const float> xs, float y, float z,
                             Handle output, std::span<float> out, float failed)
{
    const size_t count = std::min(xs.size(), out.size());
    if (m_state)
        return m_state->evaluateRun(input, {xs.first(count), {&y, 1}, {&z, 1}}, output,
                                    out.first(count), failed);
    std::fill(out.begin(), out.end(), failed);
    return false;
}

bool ThreadCopy::evaluatePoints(Handle input, std::span<const float> xs, std::span<const float> ys,
                                std::span<const float> zs, Handle output, std::span<float> out,
                                float failed)
{
    const size_t count = std::min({xs.size(), ys.size(), zs.size(), out.size()});
    if (m_state)
        return m_state->evaluateRun(input, {xs.first(count), ys.first(count), zs.first(count)},
                                    output, out.first(count), failed);
    std::fill(out.begin(), out.end(), failed);
    return false;
}

IntervalResult ThreadCopy::evaluateInterval(Handle input, const Interval &x, const Interval &y,
                                            const Interval &z, Handle output)
{
    return m_state ? m_state->evaluateInterval(input, {x, y, z}, output)
                   : IntervalResult{.value = {}, .mayFault = true, .steps = 1};
}

Diagnostic ThreadCopy::firstFault() const
{
    return m_state ? m_state->faults().value(0) : Diagnostic();
}

Program::Program() = default;
Program::Program(Program &&) noexcept = default;
Program &Program::operator=(Program &&) noexcept = default;
Program::~Program() = default;

Program::Program(QSharedPointer<const CompiledProgram> program)
    : m_program(std::move(program))
    , m_own(std::make_unique<ThreadCopy>(m_program))
{}

Program::Program(const Program &other)
    : Program(other.m_program)
{}

Program &Program::operator=(const Program &other)
{
    if (this != &other)
        *this = Program(other);
    return *this;
}

bool Program::isValid() const
{
    return !m_program.isNull();
}

Backend Program::backend() const
{
    return m_program ? m_program->backend : Backend::Interpreted;
}

bool Program::isFromCache() const
{
    return m_program && m_program->fromCache;
}

void Program::set(Handle handle, const QVariant &value)
{
    if (m_own)
        m_own->set(handle, value);
}

void Program::bindArray(Handle handle, std::span<const float> values)
{
    if (m_own)
        m_own->bindArray(handle, values);
}

void Program::setCancelFlag(const std::atomic_bool *cancelled)
{
    if (m_own)
        m_own->setCancelFlag(cancelled);
}

Result<void> Program::evaluate()
{
    return m_own ? m_own->evaluate() : Result<void>();
}

QVariant Program::get(Handle handle) const
{
    return m_own ? m_own->get(handle) : QVariant();
}

float Program::getFloat(Handle handle) const
{
    return m_own ? m_own->getFloat(handle) : 0.0f;
}

Type Program::slotType(Handle handle) const
{
    if (!m_program)
        return Type::Void;
    const CompiledProgram::SlotPlace place = m_program->placeOf(handle);
    if (place.index < 0)
        return Type::Void;
    return (place.isInput ? m_program->inputs : m_program->outputs)[place.index].type;
}

Handle Program::handleOf(const QString &name) const
{
    if (!m_program)
        return 0;
    for (const QList<internal::SlotBinding> *side : {&m_program->inputs, &m_program->outputs}) {
        for (const internal::SlotBinding &binding : *side) {
            if (binding.name == name)
                return binding.handle;
        }
    }
    return 0;
}

Result<void> Program::evaluateBatch(std::span<const float> input, std::span<float> output,
                                    qsizetype count, qsizetype stride)
{
    if (!m_own || !m_own->m_state)
        return {};
    return m_own->m_state->evaluateBatch(input, output, count, stride);
}

Result<void> Program::evaluateGrid(std::span<const float> xs, std::span<const float> ys,
                                   std::span<const float> zs, std::span<float> output)
{
    if (!m_own || !m_own->m_state)
        return {};
    return m_own->m_state->evaluateGrid({xs, ys, zs}, output);
}

ThreadCopy Program::threadCopy() const
{
    return ThreadCopy(m_program);
}

} // namespace eval
