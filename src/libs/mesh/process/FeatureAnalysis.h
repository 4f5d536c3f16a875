#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>
#include <mesh/process/EdgeTable.h>

#include <array>
#include <functional>
#include <span>

namespace mesh::process {

/// A signed distance field at one point: negative inside; the gradient points out.
template<typename T>
struct SdfSample
{
    T distance{};
    Vector3<T> gradient{};
};

/// The field of a step, called on the thread of the step. Values that are no number, or beyond 1e9
/// in size, count as "no field here".
template<typename T>
using FieldSampler = std::function<SdfSample<T>(const Vector3<T> &)>;

/// The same field at many points at once, which it may compute faster: samples[i] is that at
/// points[i], as many of each.
template<typename T>
using BlockSampler =
    std::function<void(std::span<const Vector3<T>> points, std::span<SdfSample<T>> samples)>;

/// Asks for one point after the other; null where the sampler is.
template<typename T>
BlockSampler<T> pointByPoint(FieldSampler<T> sampler);

/// How freely a vertex may move: anywhere on the surface, along a sharp line, not at all.
enum class VertexClass : quint8 { Smooth = 0, Crease = 1, Corner = 2 };

/// What is sharp about the triangles of a mesh. Lists by face run along Mesh::elements; what is no
/// triangle has no edges and the normal zero.
template<typename T>
struct FeatureAnalysis
{
    /// A triangle of at most this doubled area is degenerate.
    static constexpr double degenerateDoubledArea = 1.1920929e-7;

    QList<Vector3<T>> faceNormals; ///< unit; zero for a degenerate triangle
    EdgeTable edges;
    QList<bool> featureEdges;        ///< by edge: sharp, or with one face or more than two
    QList<VertexClass> vertexClass;  ///< on no feature edge, on exactly two, otherwise
    QList<Vector3<T>> vertexNormals; ///< unit, of the faces around, larger ones weighing more
    QList<std::array<int, 2>> creaseNeighbours; ///< along the crease; -1 for what is none
    AdjacencyList neighbours;                   ///< the vertices around a vertex, ascending
    AdjacencyList vertexFaces;                  ///< the triangles around a vertex, ascending

    /// Classes and crease neighbours anew, after featureEdges were changed.
    void classifyVertices();
};

/// Whether all elements are triangles of three nodes within the vertices.
template<typename T>
bool isTriangleMesh(const Mesh<T> &mesh);

/// The nodes of all triangles, three for each element; -1 three times for what is no triangle.
template<typename T>
QList<int> triangleNodes(const Mesh<T> &mesh);

/// The edges at which faces meet at more than an angle, and what follows from them. Linear time but
/// for the edges of one vertex, which are sorted. A progress that answers false ends it early, with
/// an analysis of no use.
template<typename T>
FeatureAnalysis<T> analyzeFeatures(const Mesh<T> &mesh, double angleDegrees,
                                   const io::Progress &progress = {});

/// Takes back the edges that are sharp on a mesh but not in the field that it came from, such as
/// the steps of a grid: those at whose two sides, `probeDistance` away on the surface, the
/// gradients agree to 0.9 of the angle. Open edges stay, and those where the field gives no answer.
/// False when cancelled, with the features as they were.
template<typename T>
bool confirmFeaturesAgainstField(const Mesh<T> &mesh, FeatureAnalysis<T> &features,
                                 const FieldSampler<T> &sampler, T probeDistance,
                                 double angleDegrees, const io::Progress &progress = {});
template<typename T>
bool confirmFeaturesAgainstField(const Mesh<T> &mesh, FeatureAnalysis<T> &features,
                                 const BlockSampler<T> &sampler, T probeDistance,
                                 double angleDegrees, const io::Progress &progress = {});

/// A sample of the field that is to be used: finite, and not so large that it means "failed".
template<typename T>
bool isUsable(const SdfSample<T> &sample)
{
    return sample.gradient.isFinite() && std::abs(sample.distance) < T(1e9);
}

/// Makes features of the edges between faces of different materials.
template<typename T>
void addMaterialBorders(const Mesh<T> &mesh, FeatureAnalysis<T> &features);

/// Over the edges of all triangles, each once; 0 without any.
template<typename T>
T meanEdgeLength(const Mesh<T> &mesh, const EdgeTable &edges);

/// Whether a face around a vertex would turn by a right angle or more, or shrink to nothing, if the
/// vertex went to `newPosition`.
template<typename T>
bool moveFlipsFace(const Mesh<T> &mesh, const FeatureAnalysis<T> &features, int vertex,
                   const Vector3<T> &newPosition);

} // namespace mesh::process
