// Meshes to test with, and what must hold of a result. Needs the mesh library.
#pragma once

#include <mesh/Mesh.h>
#include <mesh/process/VertexMerger.h>

#include <QHash>
#include <QSet>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace support {

using FloatMesh = mesh::Mesh<float>;
using Point = mesh::Vector3<float>;

// ------------------------------------------------------------------ builders

/// An axis-aligned cube of 8 vertices and 12 triangles, normals out.
inline FloatMesh makeCube(float halfExtent = 1.0f, const Point &centre = {})
{
    FloatMesh cube;
    cube.name = QStringLiteral("cube");
    for (int i = 0; i < 8; ++i) {
        const Point corner{i & 1 ? 1.0f : -1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f};
        cube.vertices.append(centre + corner * halfExtent);
    }
    constexpr std::array<std::array<int, 4>, 6> sides = {
        {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}}};
    for (const auto &s : sides) {
        cube.addElement(mesh::ElementType::Triangle, {s[0], s[1], s[2]});
        cube.addElement(mesh::ElementType::Triangle, {s[0], s[2], s[3]});
    }
    return cube;
}

/// Four vertices, four triangles, normals out.
inline FloatMesh makeTetrahedronSurface()
{
    FloatMesh result;
    result.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (const mesh::NodeList &nodes : {mesh::NodeList{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}})
        result.addElement(mesh::ElementType::Triangle, nodes);
    return result;
}

/// The same surface with three vertices of its own for each triangle.
inline FloatMesh asSoup(const FloatMesh &surface)
{
    FloatMesh soup;
    soup.name = surface.name;
    soup.vertices.reserve(surface.elements.size() * 3);
    soup.elements.reserve(surface.elements.size());
    for (const auto &element : surface.elements) {
        const int first = int(soup.vertices.size());
        for (const int node : element.nodes)
            soup.vertices.append(surface.vertices.at(node));
        soup.addElement(element.type, {first, first + 1, first + 2}, element.materialId);
    }
    return soup;
}

/// A sphere of 2 * segments * (rings - 1) triangles about the y axis, indexed, normals out.
inline FloatMesh makeSphere(float radius, int rings, int segments)
{
    FloatMesh sphere;
    sphere.name = QStringLiteral("sphere");
    sphere.vertices.append({0, radius, 0});
    for (int r = 1; r < rings; ++r) {
        const double polar = std::numbers::pi * r / rings;
        for (int s = 0; s < segments; ++s) {
            const double around = 2 * std::numbers::pi * s / segments;
            sphere.vertices.append({float(radius * std::sin(polar) * std::cos(around)),
                                    float(radius * std::cos(polar)),
                                    float(radius * std::sin(polar) * std::sin(around))});
        }
    }
    sphere.vertices.append({0, -radius, 0});
    const int south = int(sphere.vertices.size()) - 1;
    const auto at = [&](int ring, int segment) {
        return ring == 0       ? 0
               : ring == rings ? south
                               : 1 + (ring - 1) * segments + segment % segments;
    };
    sphere.elements.reserve(2 * segments * (rings - 1));
    for (int r = 0; r < rings; ++r)
        for (int s = 0; s < segments; ++s) {
            if (r > 0)
                sphere.addElement(mesh::ElementType::Triangle,
                                  {at(r, s), at(r, s + 1), at(r + 1, s)});
            if (r + 1 < rings)
                sphere.addElement(mesh::ElementType::Triangle,
                                  {at(r, s + 1), at(r + 1, s + 1), at(r + 1, s)});
        }
    return sphere;
}

/// A ring about the y axis of 2 * around * along triangles: `around` sections of `along` sides
/// each.
inline FloatMesh makeTorus(float radius, float tube, int around, int along)
{
    FloatMesh torus;
    for (int i = 0; i < around; ++i) {
        const double a = 2 * std::numbers::pi * i / around;
        for (int j = 0; j < along; ++j) {
            const double b = 2 * std::numbers::pi * j / along;
            const double out = double(radius) + double(tube) * std::cos(b);
            torus.vertices.append(
                {float(out * std::cos(a)), float(tube * std::sin(b)), float(out * std::sin(a))});
        }
    }
    const auto at = [&](int i, int j) { return i % around * along + j % along; };
    for (int i = 0; i < around; ++i)
        for (int j = 0; j < along; ++j) {
            torus.addElement(mesh::ElementType::Triangle,
                             {at(i, j), at(i, j + 1), at(i + 1, j + 1)});
            torus.addElement(mesh::ElementType::Triangle,
                             {at(i, j), at(i + 1, j + 1), at(i + 1, j)});
        }
    return torus;
}

// ------------------------------------------------------------------ checks

/// The mesh with vertices joined that are within `tolerance`; 0 joins equal positions.
inline FloatMesh welded(FloatMesh surface, double tolerance = 0.0)
{
    const auto done = mesh::process::VertexMerger<float>().process(
        surface, {.parameters = {{QStringLiteral("tolerance"), tolerance}}});
    return done ? surface : FloatMesh{};
}

/// The sides of all surface elements, each under its two vertices in the order of the element, with
/// the vertex before them. The checks below count these: were they to ask the library for its
/// half-edges, a mistake there would hide itself.
inline QMultiHash<std::pair<int, int>, int> directedSides(const FloatMesh &surface)
{
    QMultiHash<std::pair<int, int>, int> sides;
    sides.reserve(surface.elements.size() * 3);
    for (const auto &element : surface.elements) {
        const int corners = mesh::dimension(element.type) == 2 ? int(element.nodes.size()) : 0;
        for (int i = 0; i < corners; ++i)
            sides.insert({element.nodes[i], element.nodes[(i + 1) % corners]},
                         element.nodes[(i + corners - 1) % corners]);
    }
    return sides;
}

/// Whether a surface is not empty, and every edge is passed once in each direction. Surfaces may
/// still touch in a vertex.
inline bool hasPairedEdges(const FloatMesh &surface)
{
    const auto sides = directedSides(surface);
    for (auto side = sides.keyBegin(); side != sides.keyEnd(); ++side)
        if (side->first == side->second || sides.count(*side) != 1 ||
            sides.count({side->second, side->first}) != 1)
            return false;
    return !sides.isEmpty();
}

/// Whether an indexed surface is not empty, without boundary, manifold, and wound one way
/// throughout. A soup of triangles goes through welded() first.
inline bool isClosedManifold(const FloatMesh &surface)
{
    if (!hasPairedEdges(surface))
        return false;
    const auto sides = directedSides(surface);
    QHash<int, int> sidesFrom, firstEnd; // by vertex
    for (auto side = sides.keyBegin(); side != sides.keyEnd(); ++side) {
        ++sidesFrom[side->first];
        firstEnd[side->first] = side->second;
    }
    // Turning about a vertex from face to face meets all its faces before it comes round.
    for (auto vertex = firstEnd.cbegin(); vertex != firstEnd.cend(); ++vertex) {
        int met = 0, end = *vertex;
        do {
            end = sides.value({vertex.key(), end});
            ++met;
        } while (end != *vertex);
        if (met != sidesFrom.value(vertex.key()))
            return false;
    }
    return true;
}

/// Vertices less edges plus faces, vertices that no element uses left out: 2 for each sphere, 2
/// less for each handle, 1 less for each hole.
inline qsizetype eulerCharacteristic(const FloatMesh &surface)
{
    const auto sides = directedSides(surface);
    QSet<int> vertices;
    QSet<std::pair<int, int>> edges;
    for (auto side = sides.keyBegin(); side != sides.keyEnd(); ++side) {
        vertices << side->first << side->second;
        edges.insert(std::minmax(side->first, side->second));
    }
    return vertices.size() - edges.size() + surface.elements.size();
}

/// The volume that the surface elements enclose (divergence theorem, elements as fans): positive
/// when normals point out. Means something for closed surfaces, soups too.
inline double signedVolume(const FloatMesh &surface)
{
    double six = 0;
    for (const auto &element : surface.elements) {
        if (mesh::dimension(element.type) != 2)
            continue;
        for (int i = 2; i < element.nodes.size(); ++i) {
            const Point a = surface.vertices.at(element.nodes[0]);
            const Point b = surface.vertices.at(element.nodes[i - 1]);
            const Point c = surface.vertices.at(element.nodes[i]);
            six += double(a.x) * (double(b.y) * c.z - double(b.z) * c.y) +
                   double(a.y) * (double(b.z) * c.x - double(b.x) * c.z) +
                   double(a.z) * (double(b.x) * c.y - double(b.y) * c.x);
        }
    }
    return six / 6;
}

/// The area of the surface elements, as fans.
inline double surfaceArea(const FloatMesh &surface)
{
    double twice = 0;
    for (const auto &element : surface.elements)
        for (int i = 2; mesh::dimension(element.type) == 2 && i < element.nodes.size(); ++i) {
            const Point a = surface.vertices.at(element.nodes[0]);
            const Point b = surface.vertices.at(element.nodes[i - 1]) - a;
            const Point c = surface.vertices.at(element.nodes[i]) - a;
            twice += double(b.cross(c).length());
        }
    return twice / 2;
}

struct Bounds
{
    Point min{std::numeric_limits<float>::max(), std::numeric_limits<float>::max(),
              std::numeric_limits<float>::max()};
    Point max{std::numeric_limits<float>::lowest(), std::numeric_limits<float>::lowest(),
              std::numeric_limits<float>::lowest()};
};

/// The box around all vertices; min above max for none.
inline Bounds bounds(const FloatMesh &surface)
{
    Bounds box;
    for (const Point &p : surface.vertices) {
        box.min = {std::fmin(box.min.x, p.x), std::fmin(box.min.y, p.y), std::fmin(box.min.z, p.z)};
        box.max = {std::fmax(box.max.x, p.x), std::fmax(box.max.y, p.y), std::fmax(box.max.z, p.z)};
    }
    return box;
}

} // namespace support
