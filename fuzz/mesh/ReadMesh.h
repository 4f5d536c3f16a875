// What every mesh reader must do with any bytes: give an error, or a mesh whose parts fit each
// other.
#pragma once

#include <mesh/io/Importer.h>

#include <QBuffer>

#include <cstdint>
#include <cstdlib>

template<typename T>
void requireConsistent(const mesh::Mesh<T> &surface, qint64 mostElements)
{
    const qsizetype vertices = surface.vertices.size();
    bool holds = surface.elements.size() <= mostElements &&
                 (surface.normals.isEmpty() || surface.normals.size() == vertices);
    for (const auto &point : surface.vertices)
        holds = holds && point.isFinite();
    for (const auto &element : surface.elements)
        for (const int node : element.nodes)
            holds = holds && node >= 0 && node < vertices;
    for (const auto &values : surface.vertexAttributes)
        holds = holds && values.size() == vertices;
    for (const auto &values : surface.elementAttributes)
        holds = holds && values.size() == surface.elements.size();
    if (!holds)
        std::abort();
}

template<typename Importer>
int readAnyBytes(const uint8_t *data, size_t size)
{
    const mesh::io::ImportOptions options{.recalculateNormals = size % 2 == 1,
                                          .maxTriangles = 20'000};
    QBuffer buffer;
    buffer.setData(reinterpret_cast<const char *>(data), int(size));
    buffer.open(QIODevice::ReadOnly);
    if (const auto read = Importer().read(buffer, options))
        requireConsistent(read.value(), options.maxTriangles);
    return 0;
}
