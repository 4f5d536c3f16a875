#pragma once

#include <QVector3D>

namespace corvane::mesh {

/// Where a quadratic error function has its minimum.
struct QefResult
{
    QVector3D position{};
    int rank = 0;          ///< directions that the planes really determine
    float error = 0.0f;    ///< sum of squared distances to the planes
    bool clamped = false;  ///< the minimum lay outside the box
    bool fellBack = false; ///< the mass point, or the middle of the box, was taken
};

/// The sum of squared distances to a set of planes (Ju et al. 2002, "Dual contouring of Hermite
/// data").
///
/// Additive: the sum of two solvers is the solver of both sets of planes. Held in double precision,
/// since the error is the small difference of terms that grow with the square of the distance from
/// the origin.
class QefSolver
{
public:
    /// Adds the plane through `point` with a normal of unit length.
    void add(const QVector3D &point, const QVector3D &normal);
    QefSolver &operator+=(const QefSolver &other);

    int count() const { return m_count; }
    /// The minimum within a box.
    QefResult solve(const QVector3D &cellMin, const QVector3D &cellMax) const;
    float errorAt(const QVector3D &point) const;

private:
    double m_a00 = 0.0, m_a01 = 0.0, m_a02 = 0.0, m_a11 = 0.0, m_a12 = 0.0, m_a22 = 0.0;
    double m_atb[3] = {0.0, 0.0, 0.0};
    double m_btb = 0.0;
    double m_positionSum[3] = {0.0, 0.0, 0.0};
    int m_count = 0;
};

} // namespace corvane::mesh
