#pragma once

#include <corvane/eval/IFieldEvaluator.h>

#include <mesh/Mesh.h>

#include <QLatin1String>
#include <QVariant>

#include <atomic>
#include <limits>
#include <span>

namespace corvane::bench {

/// How well a mesh stands for a field. What could not be measured is no number. Lengths are in
/// scene units; yes and no are 1 and 0.
struct MeshMetrics
{
    static constexpr double none = std::numeric_limits<double>::quiet_NaN();

    double surfaceMean = none, surfaceP95 = none, surfaceMax = none; ///< |field| at the vertices
    double featureMean = none, featureP95 = none, featureMax = none; ///< |field| at sharp edges
    double featureSamples = none;                                    ///< sharp edges
    double normalMeanDeg = none, normalP95Deg = none, normalMaxDeg = none;
    double minAngleMeanDeg = none, minAngleWorstDeg = none; ///< of the triangles
    double closed = none, manifold = none, orientable = none;
    double boundaryEdges = none; ///< edges of one triangle
    double triangleCount = none, vertexCount = none;
    double exportSeconds = none, metricsSeconds = none;
    double cellSize = none; ///< of the grid that the mesh was made on
};

/// One metric: its column in the results database, and where it stands in the record.
struct MetricColumn
{
    QLatin1String name;
    double MeshMetrics::*value;
};

/// All metrics in the order of their columns.
std::span<const MetricColumn> metricColumns();

/// A metric for a database or a JSON file: null for what is no number.
QVariant metricValue(double value);

/// The gradient of a field by a central difference, not normalised.
::mesh::Vector3<float> fdGradient(eval::IFieldEvaluator &field, const ::mesh::Vector3<float> &point,
                                  float step = 0.001f);

/// Measures a mesh against the field that it was made from.
///
/// The mesh is measured as a reader takes it that joins equal positions, so that a soup of
/// triangles is judged by its shape. vertexCount is that of the mesh as it came.
///
/// Surface: the distance of each vertex to the surface.
///
/// Feature: an edge at whose two triangles the normals differ by more than 25 degrees is sharp. Of
/// each the worst of three distances counts: at its middle, and at two probes from there into the
/// triangles, 0.05 of the edge's length across it. An edge that follows a crease of the field has 0
/// everywhere; the edges of a bevel in its place have probes off the surface.
///
/// Normal: the angle between a triangle and the field's gradient at its centre. Mean and p95 weigh
/// triangles by area, so that slivers count for what can be seen of them. Triangles of no area, and
/// points where the field has no gradient, are left out.
///
/// p95 is the smallest value that 95 of a hundred samples do not exceed. Times and cellSize are
/// left to the caller. A cancel ends it early, with metrics of no use.
MeshMetrics computeMeshMetrics(const ::mesh::Mesh<float> &mesh, eval::IFieldEvaluator &field,
                               const std::atomic_bool &cancelFlag);

} // namespace corvane::bench
