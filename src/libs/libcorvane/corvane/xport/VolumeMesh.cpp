#include <corvane/xport/VolumeMesh.h>

#include <corvane/mesh/TetrahedralVolume.h>

#include <concurrency/parallelFor.h>
#include <mesh/BulkList.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <memory>

// The slices of the grid are cut in blocks, each of which merges its own vertices. Then the blocks
// are numbered one after the other: a vertex that an earlier block has too can only lie in the
// cubes, along Z, that both reach into, which is the plane between neighbours. What is left is to
// copy everything to its place.

namespace corvane::xport {

namespace {

constexpr int mostSlicesPerBlock = 16;
constexpr int blocksPerThread = 4;

/// Rounded down; what an integer cannot hold is cut off.
qint64 floorOf(double value)
{
    constexpr double limit = 9e18;
    const double within = std::clamp(value, -limit, limit);
    const auto whole = static_cast<qint64>(within);
    return static_cast<double>(whole) > within ? whole - 1 : whole;
}

quint64 hashOf(const std::array<qint64, 3> &cube)
{
    const auto part = [&cube](std::size_t axis, quint64 factor) {
        return static_cast<quint64>(cube[axis]) * factor;
    };
    return ::mesh::FlatIndex::mixed(part(0, 73856093) ^ part(1, 19349663) ^ part(2, 83492791));
}

bool namesOneTwice(const std::array<int, 4> &places)
{
    for (std::size_t one = 0; one < 4; ++one) {
        for (std::size_t other = 0; other < one; ++other) {
            if (places[one] == places[other])
                return true;
        }
    }
    return false;
}

} // namespace

/// The places of vertices that were named lately, by their exact position. A vertex is named some
/// twenty times, mostly by tetrahedra of the same cell or the next row.
class VolumeMesh::RecentVertices
{
public:
    /// The entry for a position; it may hold another one.
    struct Entry
    {
        Vertex vertex;
        int place = -1;
    };
    Entry &entryOf(const Vertex &vertex)
    {
        const auto bits = [](float coordinate, quint64 factor) {
            return std::bit_cast<quint32>(coordinate) * factor;
        };
        const quint64 mixed = bits(vertex.x, 0x9E3779B97F4A7C15) ^
                              bits(vertex.y, 0xC2B2AE3D27D4EB4F) ^
                              bits(vertex.z, 0x165667B19E3779F9);
        return m_entries[mixed >> (64 - sizeBits)];
    }

private:
    static constexpr int sizeBits = 12;
    std::vector<Entry> m_entries = std::vector<Entry>(std::size_t(1) << sizeBits);
};

double VolumeMesh::bytesEach()
{
    // There are at least four tetrahedra to a vertex, which has an entry in several tables.
    constexpr double vertexEntry = 2.0 * sizeof(Vertex) + 32.0;
    return sizeof(std::array<int, 4>) + sizeof(::mesh::ElementData<float>) + vertexEntry / 4.0;
}

VolumeMesh::VolumeMesh(const mesh::ScalarField3D &field, int threads,
                       const std::atomic_bool &cancel)
    : m_scale(1.0 / (2.0 * 0.001 * static_cast<double>(field.cellSize)))
    , m_threads(threads)
    , m_cancel(cancel)
{
    const int slices = std::max(field.nz - 1, 0);
    const int perBlock = std::clamp(slices / (threads * blocksPerThread), 1, mostSlicesPerBlock);
    m_blocks.resize(static_cast<std::size_t>((slices + perBlock - 1) / perBlock));
    concurrency::parallelFor(qsizetype(m_blocks.size()), threads, [&](qsizetype i) {
        const int first = static_cast<int>(i) * perBlock;
        cut(field, first, std::min(first + perBlock, slices),
            m_blocks[static_cast<std::size_t>(i)]);
    });
    numberAll();
}

std::array<qint64, 3> VolumeMesh::cubeOf(const Vertex &vertex) const
{
    return {floorOf(static_cast<double>(vertex.x) * m_scale),
            floorOf(static_cast<double>(vertex.y) * m_scale),
            floorOf(static_cast<double>(vertex.z) * m_scale)};
}

void VolumeMesh::cut(const mesh::ScalarField3D &field, int firstSlice, int endSlice,
                     Block &block) const
{
    block.lowest = std::numeric_limits<qint64>::max();
    block.highest = std::numeric_limits<qint64>::min();
    QList<mesh::Tetrahedron> row;
    RecentVertices recent;
    for (int k = firstSlice; k < endSlice; ++k) {
        for (int j = 0; j + 1 < field.ny; ++j) {
            if (isCancelled())
                return;
            row.resize(0);
            mesh::tetrahedraInRow(field, j, k, row);
            for (const mesh::Tetrahedron &tetrahedron : std::as_const(row))
                add(tetrahedron, recent, block);
        }
    }
}

void VolumeMesh::add(const mesh::Tetrahedron &tetrahedron, RecentVertices &recent,
                     Block &block) const
{
    std::array<int, 4> places{};
    for (std::size_t n = 0; n < 4; ++n) {
        const QVector3D &corner = tetrahedron.corners[n];
        const Vertex vertex{corner.x(), corner.y(), corner.z()};
        RecentVertices::Entry &entry = recent.entryOf(vertex);
        if (entry.place < 0 || entry.vertex != vertex)
            entry = {vertex, placeOf(vertex, block)};
        places[n] = entry.place;
    }
    if (namesOneTwice(places))
        ++block.skipped;
    else
        block.tetrahedra.push_back(places);
}

/// The vertex in the same cube, or `none`.
quint32 VolumeMesh::find(const Vertex &vertex, quint64 hash, const Block &block) const
{
    return block.table.find(hash, [&](quint32 place) {
        const Vertex &other = block.vertices[place];
        return block.hashes[place] == hash && (other == vertex || cubeOf(other) == cubeOf(vertex));
    });
}

int VolumeMesh::placeOf(const Vertex &vertex, Block &block) const
{
    const std::array<qint64, 3> cube = cubeOf(vertex);
    const quint64 hash = hashOf(cube);
    const quint32 known = find(vertex, hash, block);
    if (known != ::mesh::FlatIndex::none)
        return static_cast<int>(known);
    const auto place = static_cast<quint32>(block.vertices.size());
    block.vertices.push_back(vertex);
    block.hashes.push_back(hash);
    block.table.insert(place, [&block](quint32 index) { return block.hashes[index]; });
    block.lowest = std::min(block.lowest, cube[2]);
    block.highest = std::max(block.highest, cube[2]);
    return static_cast<int>(place);
}

void VolumeMesh::numberAll()
{
    for (std::size_t i = 0; i < m_blocks.size() && !isCancelled(); ++i) {
        numberBlock(i);
        m_blocks[i].firstTetrahedron = m_tetrahedronCount;
        m_tetrahedronCount += static_cast<int>(m_blocks[i].tetrahedra.size());
        m_skipped += m_blocks[i].skipped;
    }
}

void VolumeMesh::numberBlock(std::size_t index)
{
    Block &block = m_blocks[index];
    qint64 reached = std::numeric_limits<qint64>::min(); // by the blocks before
    for (std::size_t i = 0; i < index; ++i)
        reached = std::max(reached, m_blocks[i].highest);
    block.firstNumber = m_vertexCount;
    block.numbers.resize(block.vertices.size());
    for (std::size_t place = 0; place < block.vertices.size(); ++place) {
        const Vertex &vertex = block.vertices[place];
        const qint64 cubeZ = floorOf(static_cast<double>(vertex.z) * m_scale);
        const int known =
            cubeZ <= reached ? numberInEarlier(index, vertex, block.hashes[place], cubeZ) : -1;
        block.numbers[place] = known >= 0 ? known : m_vertexCount++;
    }
}

/// The number that a block before this one gave to a vertex in the same cube; -1 if none has one.
int VolumeMesh::numberInEarlier(std::size_t index, const Vertex &vertex, quint64 hash,
                                qint64 cubeZ) const
{
    for (std::size_t i = index; i-- > 0;) {
        const Block &earlier = m_blocks[i];
        if (cubeZ < earlier.lowest || cubeZ > earlier.highest)
            continue;
        const quint32 place = find(vertex, hash, earlier);
        if (place != ::mesh::FlatIndex::none)
            return earlier.numbers[place];
    }
    return -1;
}

/// Copies the vertices and the elements of a block to where they belong.
void VolumeMesh::place(const Block &block, Vertex *vertices,
                       ::mesh::ElementData<float> *elements) const
{
    for (std::size_t n = 0; n < block.vertices.size(); ++n) {
        if (block.numbers[n] >= block.firstNumber)
            std::construct_at(vertices + block.numbers[n], block.vertices[n]);
    }
    const auto numberOf = [&block](int n) { return block.numbers[static_cast<std::size_t>(n)]; };
    int id = block.firstTetrahedron;
    for (const auto &[a, b, c, d] : block.tetrahedra) {
        const ::mesh::NodeList nodes{numberOf(a), numberOf(b), numberOf(c), numberOf(d)};
        std::construct_at(elements + id, ::mesh::ElementType::Tetrahedron, nodes, id, 0);
        ++id;
    }
}

::mesh::Mesh<float> VolumeMesh::take() &&
{
    ::mesh::BulkList<Vertex> vertices(m_vertexCount);
    ::mesh::BulkList<::mesh::ElementData<float>> elements(m_tetrahedronCount);
    concurrency::parallelFor(qsizetype(m_blocks.size()), m_threads, [&](qsizetype i) {
        const Block block = std::move(m_blocks[static_cast<std::size_t>(i)]);
        if (!isCancelled())
            place(block, vertices.data(), elements.data());
    });
    m_blocks.clear();
    ::mesh::Mesh<float> result;
    if (isCancelled())
        return result;
    result.vertices = std::move(vertices).take(m_vertexCount);
    result.elements = std::move(elements).take(m_tetrahedronCount);
    result.nextElementId = m_tetrahedronCount;
    return result;
}

} // namespace corvane::xport
