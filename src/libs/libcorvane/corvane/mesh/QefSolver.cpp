#include "QefSolver.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace corvane::mesh {

namespace {

constexpr int maxRotations = 12;
constexpr double negligible = 1e-12;
// Directions with less than this share of the largest eigenvalue are noise: a flat or straight
// feature does not say where along itself its vertex should lie.
constexpr double smallestShare = 0.1;

using Row = std::array<double, 3>;
using Square = std::array<Row, 3>;

struct EigenSystem
{
    Row values{};
    Square vectors{}; ///< column i belongs to value i
};

void rotate(Square &matrix, Square &vectors, size_t p, size_t q)
{
    const double theta = (matrix[q][q] - matrix[p][p]) / (2.0 * matrix[p][q]);
    const double t =
        (theta >= 0.0 ? 1.0 : -1.0) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
    const double c = 1.0 / std::sqrt(t * t + 1.0);
    const double s = t * c;
    for (size_t i = 0; i < 3; ++i) {
        const double ip = matrix[i][p];
        const double iq = matrix[i][q];
        matrix[i][p] = c * ip - s * iq;
        matrix[i][q] = s * ip + c * iq;
    }
    for (size_t i = 0; i < 3; ++i) {
        const double pi = matrix[p][i];
        const double qi = matrix[q][i];
        matrix[p][i] = c * pi - s * qi;
        matrix[q][i] = s * pi + c * qi;
        const double vp = vectors[i][p];
        const double vq = vectors[i][q];
        vectors[i][p] = c * vp - s * vq;
        vectors[i][q] = s * vp + c * vq;
    }
}

// Jacobi's method for a symmetric matrix.
EigenSystem diagonalised(Square matrix)
{
    constexpr std::array<std::array<size_t, 2>, 3> pairs{{{0, 1}, {0, 2}, {1, 2}}};
    Square vectors{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (int rotation = 0; rotation < maxRotations; ++rotation) {
        const auto largest =
            *std::max_element(pairs.begin(), pairs.end(), [&](const auto &a, const auto &b) {
                return std::abs(matrix[a[0]][a[1]]) < std::abs(matrix[b[0]][b[1]]);
            });
        if (std::abs(matrix[largest[0]][largest[1]]) < negligible)
            break;
        rotate(matrix, vectors, largest[0], largest[1]);
    }
    return {{matrix[0][0], matrix[1][1], matrix[2][2]}, vectors};
}

QVector3D clampedTo(const QVector3D &point, const QVector3D &low, const QVector3D &high)
{
    return {std::clamp(point.x(), low.x(), high.x()), std::clamp(point.y(), low.y(), high.y()),
            std::clamp(point.z(), low.z(), high.z())};
}

} // namespace

void QefSolver::add(const QVector3D &point, const QVector3D &normal)
{
    const double nx = normal.x();
    const double ny = normal.y();
    const double nz = normal.z();
    const double b = nx * point.x() + ny * point.y() + nz * point.z();
    m_a00 += nx * nx;
    m_a01 += nx * ny;
    m_a02 += nx * nz;
    m_a11 += ny * ny;
    m_a12 += ny * nz;
    m_a22 += nz * nz;
    m_atb[0] += nx * b;
    m_atb[1] += ny * b;
    m_atb[2] += nz * b;
    m_btb += b * b;
    for (int axis = 0; axis < 3; ++axis)
        m_positionSum[axis] += point[axis];
    ++m_count;
}

QefSolver &QefSolver::operator+=(const QefSolver &other)
{
    m_a00 += other.m_a00;
    m_a01 += other.m_a01;
    m_a02 += other.m_a02;
    m_a11 += other.m_a11;
    m_a12 += other.m_a12;
    m_a22 += other.m_a22;
    for (int axis = 0; axis < 3; ++axis) {
        m_atb[axis] += other.m_atb[axis];
        m_positionSum[axis] += other.m_positionSum[axis];
    }
    m_btb += other.m_btb;
    m_count += other.m_count;
    return *this;
}

float QefSolver::errorAt(const QVector3D &point) const
{
    const double x = point.x();
    const double y = point.y();
    const double z = point.z();
    const double quadratic = x * (m_a00 * x + m_a01 * y + m_a02 * z) +
                             y * (m_a01 * x + m_a11 * y + m_a12 * z) +
                             z * (m_a02 * x + m_a12 * y + m_a22 * z);
    const double linear = x * m_atb[0] + y * m_atb[1] + z * m_atb[2];
    return float(std::max(quadratic - 2.0 * linear + m_btb, 0.0));
}

QefResult QefSolver::solve(const QVector3D &cellMin, const QVector3D &cellMax) const
{
    QefResult result;
    if (m_count == 0) {
        result.position = (cellMin + cellMax) * 0.5f;
        result.fellBack = true;
        return result;
    }
    const Row mass{m_positionSum[0] / m_count, m_positionSum[1] / m_count,
                   m_positionSum[2] / m_count};
    const EigenSystem eigen =
        diagonalised({{{m_a00, m_a01, m_a02}, {m_a01, m_a11, m_a12}, {m_a02, m_a12, m_a22}}});
    const Row residual{m_atb[0] - (m_a00 * mass[0] + m_a01 * mass[1] + m_a02 * mass[2]),
                       m_atb[1] - (m_a01 * mass[0] + m_a11 * mass[1] + m_a12 * mass[2]),
                       m_atb[2] - (m_a02 * mass[0] + m_a12 * mass[1] + m_a22 * mass[2])};
    double largest = 0.0;
    for (const double value : eigen.values)
        largest = std::max(largest, std::abs(value));
    Row offset{};
    for (size_t i = 0; i < 3 && largest > negligible; ++i) {
        if (std::abs(eigen.values[i]) < smallestShare * largest)
            continue;
        double share = 0.0;
        for (size_t row = 0; row < 3; ++row)
            share += eigen.vectors[row][i] * residual[row];
        for (size_t row = 0; row < 3; ++row)
            offset[row] += share / eigen.values[i] * eigen.vectors[row][i];
        ++result.rank;
    }
    const QVector3D massPoint{float(mass[0]), float(mass[1]), float(mass[2])};
    const QVector3D free{float(mass[0] + offset[0]), float(mass[1] + offset[1]),
                         float(mass[2] + offset[2])};
    const QVector3D candidate = clampedTo(free, cellMin, cellMax);
    result.clamped = candidate != free;
    result.error = errorAt(candidate);
    result.position = candidate;
    if (result.error > errorAt(massPoint)) {
        result.position = clampedTo(massPoint, cellMin, cellMax);
        result.error = errorAt(result.position);
        result.fellBack = true;
    }
    return result;
}

} // namespace corvane::mesh
