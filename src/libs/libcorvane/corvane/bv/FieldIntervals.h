#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/eval/FieldCompiler.h>

#include <atomic>

namespace corvane::bv {

/// What a field is over whole boxes, not only at points. One instance serves one thread.
class FieldIntervals
{
public:
    /// @param field  compiled for Backend::Interpreted or Auto; of any other nothing is known
    explicit FieldIntervals(const eval::CompiledField &field);

    /// A value below or equal to that of every point of the box; minus infinity where nothing is
    /// known. Points that fault, or have no number, are far outside, as they are for a mesher.
    float lowest(const BoundingVolume &box);
    /// The value at a point; eval::farDistance where there is none.
    float at(const QVector3D &point);

    /// What all calls have cost so far, in instructions: the same on every machine. About a
    /// hundred million take a second.
    long long steps() const { return m_steps; }
    /// While the flag is true nothing is known. It must outlive this.
    void setCancelFlag(const std::atomic_bool *cancelled) { m_copy.setCancelFlag(cancelled); }

private:
    QSharedPointer<const ::eval::Program> m_program;
    ::eval::ThreadCopy m_copy;
    ::eval::Handle m_position = 0;
    ::eval::Handle m_distance = 0;
    long long m_steps = 0;
};

} // namespace corvane::bv
