#include <corvane/bv/FieldIntervals.h>

#include <array>
#include <cmath>

namespace corvane::bv {

FieldIntervals::FieldIntervals(const eval::CompiledField &field)
    : m_program(field.program)
    , m_position(field.positionHandle)
    , m_distance(field.distanceHandle)
{
    if (m_program)
        m_copy = m_program->threadCopy();
}

float FieldIntervals::lowest(const BoundingVolume &box)
{
    const auto side = [&box](int axis) {
        return ::eval::Interval::of(box.minimum()[axis], box.maximum()[axis]);
    };
    const ::eval::IntervalResult result =
        m_copy.evaluateInterval(m_position, side(0), side(1), side(2), m_distance);
    m_steps += result.steps;
    return result.value.low;
}

float FieldIntervals::at(const QVector3D &point)
{
    constexpr long long stepsOfPoint = 20; // with all that goes with it
    m_steps += stepsOfPoint;
    m_copy.setFloats(m_position, std::array{point.x(), point.y(), point.z()});
    const float value = m_copy.evaluateQuick() ? m_copy.getFloat(m_distance) : eval::farDistance;
    return std::isnan(value) ? eval::farDistance : value;
}

} // namespace corvane::bv
