// Fields given as formulas, on one small grid, and the surfaces that the extractors find in them.
// Needs corvane_field and mesh.
#pragma once

#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/mesh/DualContouring.h>
#include <corvane/mesh/MarchingCubes.h>
#include <corvane/mesh/OctreeDualContouring.h>
#include <support/MeshChecks.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <span>
#include <vector>

namespace support {

using Field = std::function<float(const QVector3D &)>;

constexpr int gridNodes = 33; // a power of two plus one, as the octree wants it
constexpr float gridCell = 0.1f;
constexpr float gridMargin = 1e-4f; // as a share of the cell
inline const QVector3D gridOrigin{-1.63f, -1.57f, -1.59f};

// ------------------------------------------------------------------ solids

inline Field ball(const QVector3D &centre, float radius)
{
    return [=](const QVector3D &p) { return (p - centre).length() - radius; };
}

inline Field box(const QVector3D &half)
{
    return [=](const QVector3D &p) {
        const QVector3D q{std::abs(p.x()) - half.x(), std::abs(p.y()) - half.y(),
                          std::abs(p.z()) - half.z()};
        const QVector3D out{std::max(q.x(), 0.0f), std::max(q.y(), 0.0f), std::max(q.z(), 0.0f)};
        return out.length() + std::min(std::max({q.x(), q.y(), q.z()}), 0.0f);
    };
}

inline Field unite(Field one, Field other)
{
    return [=](const QVector3D &p) { return std::min(one(p), other(p)); };
}

inline Field intersect(Field one, Field other)
{
    return [=](const QVector3D &p) { return std::max(one(p), other(p)); };
}

inline Field cut(Field base, Field part)
{
    return [=](const QVector3D &p) { return std::max(base(p), -part(p)); };
}

// ------------------------------------------------------------------ sampling

/// A formula in the place of a scene's field; without one it is invalid.
class FormulaEvaluator : public corvane::eval::IFieldEvaluator
{
public:
    explicit FormulaEvaluator(Field field)
        : m_field(std::move(field))
    {}

    bool isValid() const override { return bool(m_field); }
    QString lastError() const override
    {
        return m_field ? QString() : QStringLiteral("no such field");
    }
    QString backendName() const override { return QStringLiteral("formula"); }
    float evaluate(float x, float y, float z) override { return m_field({x, y, z}); }

private:
    const Field m_field;
};

inline corvane::mesh::FieldFunction distanceOf(const Field &field)
{
    return [field](std::span<const QVector3D> points, std::span<float> out) {
        std::transform(points.begin(), points.end(), out.begin(), field);
    };
}

inline corvane::mesh::GradientFunction gradientOf(const Field &field)
{
    const auto at = [field](const QVector3D &p) {
        constexpr float h = 0.001f;
        QVector3D gradient;
        for (int axis = 0; axis < 3; ++axis) {
            QVector3D step;
            step[axis] = h;
            gradient[axis] = (field(p + step) - field(p - step)) / (2 * h);
        }
        return gradient;
    };
    return [at](std::span<const QVector3D> points, std::span<QVector3D> out) {
        std::transform(points.begin(), points.end(), out.begin(), at);
    };
}

inline std::vector<float> sampled(const Field &field)
{
    using corvane::mesh::nodeCoordinate;
    std::vector<float> values;
    for (int k = 0; k < gridNodes; ++k)
        for (int j = 0; j < gridNodes; ++j)
            for (int i = 0; i < gridNodes; ++i)
                values.push_back(field({nodeCoordinate(gridOrigin.x(), gridCell, i),
                                        nodeCoordinate(gridOrigin.y(), gridCell, j),
                                        nodeCoordinate(gridOrigin.z(), gridCell, k)}));
    return values;
}

inline corvane::mesh::ScalarField3D gridOf(const std::vector<float> &values)
{
    return {.values = values.data(),
            .nx = gridNodes,
            .ny = gridNodes,
            .nz = gridNodes,
            .origin = gridOrigin,
            .cellSize = gridCell,
            .crossingMargin = gridMargin};
}

// ------------------------------------------------------------------ surfaces

inline QList<corvane::mesh::Triangle> marching(const Field &field)
{
    const std::vector<float> values = sampled(field);
    QList<corvane::mesh::Triangle> out;
    corvane::mesh::marchingCubes(gridOf(values), out);
    return out;
}

inline QList<corvane::mesh::Triangle> uniform(const Field &field)
{
    const std::vector<float> values = sampled(field);
    QList<corvane::mesh::Triangle> out;
    corvane::mesh::DcState(gridOf(values), distanceOf(field), gradientOf(field)).extract(0, out);
    return out;
}

inline QList<corvane::mesh::Triangle> octree(const Field &field)
{
    corvane::mesh::OtState state;
    state.origin = gridOrigin;
    state.cellSize = gridCell;
    state.errorLimit = corvane::mesh::octreeErrorLimit(gridCell);
    state.vertexMargin = gridMargin * gridCell;
    state.setSide(gridNodes);
    const std::vector<float> values = sampled(field);
    for (int k = 0; k < gridNodes; ++k)
        for (int j = 0; j < gridNodes; ++j)
            state.setRow(
                j, k,
                std::span(values).subspan(std::size_t(j + k * gridNodes) * gridNodes, gridNodes));
    state.field = distanceOf(field);
    state.gradient = gradientOf(field);
    const bool done =
        corvane::mesh::prepareOctree(state) >= 0 && corvane::mesh::extractOctree(state);
    return done ? state.output : QList<corvane::mesh::Triangle>();
}

inline FloatMesh soupOf(const QList<corvane::mesh::Triangle> &triangles)
{
    FloatMesh mesh;
    for (const corvane::mesh::Triangle &triangle : triangles) {
        const int first = int(mesh.vertices.size());
        for (const QVector3D &vertex : triangle.vertices)
            mesh.vertices.append({vertex.x(), vertex.y(), vertex.z()});
        mesh.addElement(mesh::ElementType::Triangle, {first, first + 1, first + 2});
    }
    return mesh;
}

inline FloatMesh meshOf(const QList<corvane::mesh::Triangle> &triangles)
{
    return welded(soupOf(triangles), mesh::process::VertexMerger<float>::defaultTolerance);
}

} // namespace support
