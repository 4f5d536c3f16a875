#pragma once

#include <QVector3D>

#include <algorithm>

namespace corvane {

/// An axis-aligned box in scene units. A default one holds nothing, and the first point makes it
/// that point.
class BoundingVolume
{
public:
    BoundingVolume() = default;
    BoundingVolume(const QVector3D &minimum, const QVector3D &maximum)
        : m_minimum(minimum)
        , m_maximum(maximum)
        , m_empty(false)
    {}

    bool isEmpty() const { return m_empty; }
    const QVector3D &minimum() const { return m_minimum; }
    const QVector3D &maximum() const { return m_maximum; }
    QVector3D center() const { return (m_minimum + m_maximum) * 0.5f; }
    QVector3D extent() const { return m_maximum - m_minimum; }

    /// Makes the box hold a point.
    void expand(const QVector3D &point)
    {
        if (m_empty) {
            *this = BoundingVolume(point, point);
            return;
        }
        for (int axis = 0; axis < 3; ++axis) {
            m_minimum[axis] = std::min(m_minimum[axis], point[axis]);
            m_maximum[axis] = std::max(m_maximum[axis], point[axis]);
        }
    }
    /// The box grown by a margin on both sides of each axis.
    BoundingVolume grownBy(const QVector3D &margin) const
    {
        return m_empty ? *this : BoundingVolume(m_minimum - margin, m_maximum + margin);
    }
    /// What both hold; empty when they do not meet.
    BoundingVolume intersected(const BoundingVolume &other) const
    {
        if (m_empty || other.m_empty)
            return {};
        BoundingVolume common = *this;
        for (int axis = 0; axis < 3; ++axis) {
            common.m_minimum[axis] = std::max(m_minimum[axis], other.m_minimum[axis]);
            common.m_maximum[axis] = std::min(m_maximum[axis], other.m_maximum[axis]);
            if (common.m_minimum[axis] > common.m_maximum[axis])
                return {};
        }
        return common;
    }
    /// The smallest box that holds both.
    BoundingVolume united(const BoundingVolume &other) const
    {
        BoundingVolume both = *this;
        if (!other.m_empty) {
            both.expand(other.m_minimum);
            both.expand(other.m_maximum);
        }
        return both;
    }
    float longestSide() const
    {
        const QVector3D sides = extent();
        return std::max({sides.x(), sides.y(), sides.z()});
    }
    /// Moves one of the six planes; for boxes that are not empty.
    void setFace(int axis, bool positive, float coordinate)
    {
        (positive ? m_maximum : m_minimum)[axis] = coordinate;
    }
    float face(int axis, bool positive) const { return (positive ? m_maximum : m_minimum)[axis]; }

    bool operator==(const BoundingVolume &) const = default;

private:
    QVector3D m_minimum;
    QVector3D m_maximum;
    bool m_empty = true;
};

} // namespace corvane
