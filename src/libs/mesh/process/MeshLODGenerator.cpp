#include "MeshLODGenerator.h"

#include "../FlatIndex.h"
#include "MeshVertexExpander.h"

namespace mesh::process {

namespace {

using Position = Vector3<double>;

bool isSurface(const ElementData<float> &element)
{
    return (element.type == ElementType::Triangle && element.nodes.size() == 3) ||
           (element.type == ElementType::Quad && element.nodes.size() == 4);
}

// Vertices gathered by the cell that they lie in.
class Clusters
{
public:
    explicit Clusters(float cellSize)
        : m_cellSize(double(cellSize))
    {}

    /// The number of the cluster that a vertex joins; -1 for one that is nowhere.
    int add(const Vector3<float> &vertex);
    Vector3<float> mean(int cluster) const;
    int count() const { return int(m_clusters.size()); }

private:
    struct CellKey
    {
        double x = 0, y = 0, z = 0; // whole numbers, of any size

        bool operator==(const CellKey &) const = default;
        quint64 hash() const
        {
            return FlatIndex::mixed(quint64(qHash(x)) * 0x9E3779B97F4A7C15ull +
                                    quint64(qHash(y)) * 0xC2B2AE3D27D4EB4Full +
                                    quint64(qHash(z)) * 0x165667B19E3779F9ull);
        }
    };
    struct Cluster
    {
        CellKey cell;
        Position sum;
        int size = 0;
    };

    double m_cellSize;
    QList<Cluster> m_clusters;
    FlatIndex m_index;
};

int Clusters::add(const Vector3<float> &vertex)
{
    if (!vertex.isFinite())
        return -1;
    const Position p{double(vertex.x), double(vertex.y), double(vertex.z)};
    const CellKey cell{std::floor(p.x / m_cellSize), std::floor(p.y / m_cellSize),
                       std::floor(p.z / m_cellSize)};
    quint32 found =
        m_index.find(cell.hash(), [&](quint32 i) { return m_clusters.at(i).cell == cell; });
    if (found == FlatIndex::none) {
        found = quint32(m_clusters.size());
        m_clusters.append({cell, {}, 0});
        m_index.insert(found, [this](quint32 i) { return m_clusters.at(i).cell.hash(); });
    }
    Cluster &cluster = m_clusters[found];
    cluster.sum += p;
    ++cluster.size;
    return int(found);
}

Vector3<float> Clusters::mean(int cluster) const
{
    const Cluster &c = m_clusters.at(cluster);
    const Position p = c.sum / c.size;
    return {float(p.x), float(p.y), float(p.z)};
}

// The cells in which a surface of some area has about so many triangles: it crosses some 1.5 cells
// for each of its size, and has two triangles for each vertex.
float cellSizeFor(const Mesh<float> &mesh, double triangles)
{
    constexpr double trianglesPerCell = 3;
    double doubledArea = 0;
    Vector3<float> low, high;
    bool isFirst = true;
    for (const ElementData<float> &element : mesh.elements) {
        if (!isSurface(element))
            continue;
        const Vector3<float> a = mesh.vertices.at(element.nodes[0]);
        for (int i = 2; i < element.nodes.size(); ++i) {
            const double area = double((mesh.vertices.at(element.nodes[i - 1]) - a)
                                           .cross(mesh.vertices.at(element.nodes[i]) - a)
                                           .length());
            doubledArea += std::isfinite(area) ? area : 0;
        }
        low = isFirst ? a
                      : Vector3<float>{std::fmin(low.x, a.x), std::fmin(low.y, a.y),
                                       std::fmin(low.z, a.z)};
        high = isFirst ? a
                       : Vector3<float>{std::fmax(high.x, a.x), std::fmax(high.y, a.y),
                                        std::fmax(high.z, a.z)};
        isFirst = false;
    }
    const double cell = std::sqrt(trianglesPerCell * doubledArea / 2 / triangles);
    // A surface without area has cells all the same.
    const double least = 1e-6 * (double((high - low).length()) + 1e-6);
    return float(std::isfinite(least) ? std::max(cell, least) : cell);
}

} // namespace

Mesh<float> MeshLODGenerator::cluster(const Mesh<float> &mesh, float cellSize)
{
    Mesh<float> result;
    result.name = mesh.name;
    result.metadata = mesh.metadata;
    if (!(cellSize > 0))
        return result;
    Clusters clusters(cellSize);
    QList<int> clusterOf;
    clusterOf.reserve(mesh.vertices.size());
    for (const Vector3<float> &vertex : mesh.vertices)
        clusterOf.append(clusters.add(vertex));
    for (int i = 0; i < clusters.count(); ++i)
        result.vertices.append(clusters.mean(i));
    for (const ElementData<float> &element : mesh.elements)
        for (int i = 2; isSurface(element) && i < element.nodes.size(); ++i) {
            const int a = clusterOf.at(element.nodes[0]), b = clusterOf.at(element.nodes[i - 1]),
                      c = clusterOf.at(element.nodes[i]);
            if (a >= 0 && b >= 0 && c >= 0 && a != b && b != c && c != a)
                result.addElement(ElementType::Triangle, {a, b, c}, element.materialId);
        }
    return result;
}

MeshLODSet MeshLODGenerator::generate(const Mesh<float> &mesh, int levels,
                                      const io::Progress &progress)
{
    MeshLODSet set;
    const auto faceCount =
        double(std::count_if(mesh.elements.cbegin(), mesh.elements.cend(), isSurface));
    double ratio = 1;
    for (int level = 0; level < levels; ++level, ratio /= 2) {
        if (level > 0 && faceCount * ratio < minFaceCount)
            break;
        const ExpandedVertexData data = MeshVertexExpander::expand(
            level == 0 ? mesh : cluster(mesh, cellSizeFor(mesh, faceCount * ratio)), progress);
        if (!data.isValid())
            break;
        set.levels.append({data, ratio});
    }
    return set;
}

} // namespace mesh::process
