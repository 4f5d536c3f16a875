// Surfaces with large flat faces, as a grid finds them. Needs the mesh library.
#pragma once

#include <mesh/Mesh.h>

#include <QRandomGenerator>

#include <array>
#include <functional>
#include <map>

namespace support {

/// Whether the unit cell at a place is solid; false outside of what a builder asks about.
using Voxels = std::function<bool(int x, int y, int z)>;

/// The surface of all solid cells within `size` cells a side, cells of unit size: two triangles for
/// each side of a cell, vertices shared, normals out.
inline mesh::Mesh<float> makeVoxelSurface(const std::array<int, 3> &size, const Voxels &isSolid)
{
    mesh::Mesh<float> surface;
    std::map<std::array<int, 3>, int> numbers;
    const auto number = [&](const std::array<int, 3> &p) {
        const auto [it, isNew] = numbers.try_emplace(p, int(surface.vertices.size()));
        if (isNew)
            surface.vertices.append({float(p[0]), float(p[1]), float(p[2])});
        return it->second;
    };
    const auto at = [&](const std::array<int, 3> &c) {
        for (size_t i = 0; i < 3; ++i)
            if (c[i] < 0 || c[i] >= size[i])
                return false;
        return isSolid(c[0], c[1], c[2]);
    };
    const auto addSide = [&](const std::array<int, 3> &cell, size_t axis, bool high) {
        const size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
        std::array<int, 4> corner{};
        for (size_t i = 0; i < 4; ++i) {
            auto p = cell;
            p[axis] += high ? 1 : 0;
            p[high ? u : v] += i == 1 || i == 2 ? 1 : 0;
            p[high ? v : u] += i >= 2 ? 1 : 0;
            corner[i] = number(p);
        }
        surface.addElement(mesh::ElementType::Triangle, {corner[0], corner[1], corner[2]});
        surface.addElement(mesh::ElementType::Triangle, {corner[0], corner[2], corner[3]});
    };
    for (int z = 0; z < size[2]; ++z)
        for (int y = 0; y < size[1]; ++y)
            for (int x = 0; x < size[0]; ++x)
                for (size_t axis = 0; axis < 3 && at({x, y, z}); ++axis)
                    for (const bool high : {false, true}) {
                        std::array<int, 3> beside{x, y, z};
                        beside[axis] += high ? 1 : -1;
                        if (!at(beside))
                            addSide({x, y, z}, axis, high);
                    }
    return surface;
}

/// Each vertex moved by up to `by` along each axis, the same on every run.
inline FloatMesh shaken(FloatMesh surface, float by)
{
    QRandomGenerator random(5);
    for (Point &p : surface.vertices) {
        const auto number = [&] { return by * (float(random.bounded(2001)) / 1000 - 1); };
        p += Point{number(), number(), number()};
    }
    return surface;
}

} // namespace support
