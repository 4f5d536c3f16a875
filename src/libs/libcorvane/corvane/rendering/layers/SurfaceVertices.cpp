#include <corvane/rendering/layers/SurfaceVertices.h>

#include <mesh/process/MeshLODGenerator.h>
#include <mesh/process/MeshVertexExpander.h>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

using Element = ::mesh::ElementData<float>;
using ::mesh::ElementType;

/// What an element adds to the surface: a quad two triangles.
int trianglesOf(const Element &element)
{
    return element.type == ElementType::Triangle ? 1 : element.type == ElementType::Quad ? 2 : 0;
}

bool isUsable(const Element &element, const SurfaceMesh &mesh)
{
    if (element.nodes.size() != ::mesh::nodeCount(element.type))
        return false;
    return std::all_of(element.nodes.begin(), element.nodes.end(), [&mesh](int node) {
        return node >= 0 && node < mesh.vertices.size() && mesh.vertices[node].isFinite();
    });
}

/// The elements that can be drawn, over the same vertices.
SurfaceMesh usablePart(const SurfaceMesh &mesh, SurfaceVertices &result)
{
    SurfaceMesh usable;
    usable.vertices = mesh.vertices;
    usable.normals = mesh.normals;
    usable.vertexAttributes = mesh.vertexAttributes;
    usable.elements.reserve(mesh.elements.size());
    for (const Element &element : mesh.elements) {
        const int triangles = trianglesOf(element);
        if (triangles > 0 && isUsable(element, mesh)) {
            usable.elements.append(element);
            result.trianglesInMesh += triangles;
        } else if (triangles > 0) {
            ++result.unusableElements;
        }
    }
    return usable;
}

qint64 triangleCount(const SurfaceMesh &mesh)
{
    qint64 count = 0;
    for (const Element &element : mesh.elements)
        count += trianglesOf(element);
    return count;
}

BoundingVolume boundsOf(const SurfaceMesh &mesh)
{
    BoundingVolume bounds;
    for (const Element &element : mesh.elements) {
        for (const int node : element.nodes) {
            const auto &vertex = mesh.vertices[node];
            bounds.expand({vertex.x, vertex.y, vertex.z});
        }
    }
    return bounds;
}

// A closed surface crosses about 2 n^2 to 6 n^2 cells of a grid of n^3, with two triangles each.
// Cells that double end with one, in which nothing is left.
SurfaceMesh coarsened(const SurfaceMesh &mesh, qint64 most)
{
    const double cellsAlongSide = std::max(1.0, std::sqrt(double(most) / 8.0));
    double cell = std::max(double(boundsOf(mesh).longestSide()), 1e-30) / cellsAlongSide;
    SurfaceMesh coarse = mesh;
    do {
        coarse = ::mesh::process::MeshLODGenerator::cluster(mesh, float(cell));
        cell *= 1.5;
    } while (triangleCount(coarse) > most && std::isfinite(float(cell)));
    return coarse;
}

quint8 colorByte(float value)
{
    return value > 0.0f ? quint8(std::min(value, 1.0f) * 255.0f + 0.5f) : quint8(0);
}

/// Calls for each vertex of the expanded triangles with the node that it is of: a quad is 0 1 2 and
/// 0 2 3.
template<class Visitor>
void visitCorners(const SurfaceMesh &mesh, SurfaceVertices &result, const Visitor &visit)
{
    qsizetype corner = 0;
    for (const Element &element : mesh.elements) {
        for (int triangle = 0; triangle < trianglesOf(element); ++triangle) {
            for (const int place : {0, triangle + 1, triangle + 2}) {
                if (corner < result.vertices.size())
                    visit(result.vertices[corner++], element.nodes[place]);
            }
        }
    }
}

void takeColors(const SurfaceMesh &mesh, SurfaceVertices &result)
{
    const QList<float> channels[] = {mesh.vertexAttributes.value(u"color_r"_s),
                                     mesh.vertexAttributes.value(u"color_g"_s),
                                     mesh.vertexAttributes.value(u"color_b"_s)};
    result.hasColors = std::all_of(std::begin(channels), std::end(channels), [&](const auto &all) {
        return !all.isEmpty() && all.size() == mesh.vertices.size();
    });
    if (!result.hasColors)
        return;
    visitCorners(mesh, result, [&channels](SurfaceVertex &vertex, int node) {
        for (std::size_t c = 0; c < 3; ++c)
            vertex.color[c] = colorByte(channels[c].at(node));
    });
}

/// The mesh's own normals, where it has them, over those of its faces.
void takeNormals(const SurfaceMesh &mesh, SurfaceVertices &result)
{
    if (mesh.normals.size() != mesh.vertices.size())
        return;
    visitCorners(mesh, result, [&mesh](SurfaceVertex &vertex, int node) {
        const auto normal = mesh.normals.at(node).normalized();
        if (normal.isFinite() && normal.lengthSquared() > 0.5f)
            vertex.normal = {normal.x, normal.y, normal.z};
    });
}

QVector3D placeOf(const SurfaceVertex &vertex)
{
    return {vertex.position[0], vertex.position[1], vertex.position[2]};
}

// They show nothing, and a software rasteriser that joins triangles to rectangles has been seen to
// lose what stands before one.
void dropTrianglesWithoutArea(SurfaceVertices &result)
{
    qsizetype kept = 0;
    for (qsizetype i = 0; i + 2 < result.vertices.size(); i += 3) {
        const QVector3D a = placeOf(result.vertices[i]);
        const QVector3D b = placeOf(result.vertices[i + 1]);
        const QVector3D c = placeOf(result.vertices[i + 2]);
        if (a == b || b == c || c == a)
            continue;
        for (qsizetype corner = 0; corner < 3 && kept < i; ++corner)
            result.vertices[kept + corner] = result.vertices[i + corner];
        kept += 3;
    }
    result.trianglesInMesh -= (result.vertices.size() - kept) / 3;
    result.vertices.resize(kept);
}

} // namespace

SurfaceVertices SurfaceVertices::fromMesh(const SurfaceMesh &mesh, qint64 most)
{
    SurfaceVertices result;
    SurfaceMesh drawn = usablePart(mesh, result);
    if (result.trianglesInMesh > most)
        drawn = coarsened(drawn, most);
    const auto expanded = ::mesh::process::MeshVertexExpander::expand(drawn);
    constexpr int stride = ::mesh::process::ExpandedVertexData::floatsPerVertex;
    result.vertices.reserve(expanded.vertexCount);
    for (qsizetype i = 0; i + stride <= expanded.vertices.size(); i += stride) {
        const float *const f = expanded.vertices.constData() + i;
        result.vertices.append({.position = {f[0], f[1], f[2]}, .normal = {f[3], f[4], f[5]}});
        result.bounds.expand({f[0], f[1], f[2]});
    }
    takeColors(drawn, result);
    takeNormals(drawn, result);
    dropTrianglesWithoutArea(result);
    return result;
}

} // namespace corvane::rendering
