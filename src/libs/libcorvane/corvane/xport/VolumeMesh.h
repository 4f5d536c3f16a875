#pragma once

#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/Tetrahedron.h>

#include <mesh/FlatIndex.h>
#include <mesh/Mesh.h>

#include <array>
#include <atomic>
#include <vector>

namespace corvane::xport {

/// The tetrahedra in a sampled field as one mesh, made by several threads.
///
/// Vertices merge that lie in the same cube of 0.002 cells, and are numbered in the order in which
/// the tetrahedra name them, cell after cell: the mesh is the same for any number of threads. A
/// tetrahedron that names a vertex twice after that is left out.
class VolumeMesh
{
public:
    /// @param field    a whole grid; read until this returns
    /// @param threads  how many may work, here and in take()
    /// @param cancel   when it turns true the mesh is empty; read until take() returns
    VolumeMesh(const mesh::ScalarField3D &field, int threads, const std::atomic_bool &cancel);

    /// The mesh, once.
    ::mesh::Mesh<float> take() &&;
    /// Tetrahedra that are left out.
    qint64 skippedCount() const { return m_skipped; }

    /// What a tetrahedron costs while the mesh is made, with its share of the vertices.
    static double bytesEach();

private:
    using Vertex = ::mesh::Vector3<float>;

    /// Some slices of cells, cut by one thread.
    struct Block
    {
        std::vector<Vertex> vertices;               ///< in the order in which they are named
        std::vector<quint64> hashes;                ///< of the vertices
        ::mesh::FlatIndex table;                    ///< of the vertices
        std::vector<std::array<int, 4>> tetrahedra; ///< by places in `vertices`
        std::vector<int> numbers;                   ///< of the vertices, in the whole mesh
        qint64 lowest = 0, highest = 0;             ///< the cubes of the vertices along Z
        int firstNumber = 0;      ///< vertices with lower ones belong to earlier blocks
        int firstTetrahedron = 0; ///< its number in the whole mesh
        qint64 skipped = 0;
    };

    class RecentVertices;

    bool isCancelled() const { return m_cancel.load(std::memory_order_relaxed); }
    void cut(const mesh::ScalarField3D &field, int firstSlice, int endSlice, Block &block) const;
    void add(const mesh::Tetrahedron &tetrahedron, RecentVertices &recent, Block &block) const;
    int placeOf(const Vertex &vertex, Block &block) const;
    quint32 find(const Vertex &vertex, quint64 hash, const Block &block) const;
    void numberAll();
    void numberBlock(std::size_t index);
    void place(const Block &block, Vertex *vertices, ::mesh::ElementData<float> *elements) const;
    int numberInEarlier(std::size_t index, const Vertex &vertex, quint64 hash, qint64 cubeZ) const;
    std::array<qint64, 3> cubeOf(const Vertex &vertex) const;

    double m_scale;
    int m_threads;
    const std::atomic_bool &m_cancel;
    std::vector<Block> m_blocks;
    int m_vertexCount = 0;
    int m_tetrahedronCount = 0;
    qint64 m_skipped = 0;
};

} // namespace corvane::xport
