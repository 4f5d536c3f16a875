#include "VertexMerger.h"

#include "../FlatIndex.h"

#include <bit>
#include <limits>

// A vertex is kept unless an earlier kept one lies within the tolerance. Two hash tables over the
// kept vertices answer that: one by exact position, one by the cell of a grid that a vertex lies
// in. A position equal to a kept one can be near no other kept one, since those are farther than
// the tolerance from each other; so the first table alone settles all but the first vertex of a
// place. For the others the cells are searched that the tolerance reaches. Cells of twice the
// tolerance would always be eight; in wider ones most vertices lie far enough from the sides to be
// content with one or two.
//
// Both tables hold nothing but numbers of vertices, and the kept positions become the vertices of
// the result, so that the step needs little more memory than the mesh: four bytes a vertex for the
// map and about thirty for each kept one.

using namespace Qt::StringLiterals;

namespace mesh::process {

namespace {

quint64 combinedHash(quint64 x, quint64 y, quint64 z)
{
    return FlatIndex::mixed(x * 0x9E3779B97F4A7C15ull + y * 0xC2B2AE3D27D4EB4Full +
                            z * 0x165667B19E3779F9ull);
}

struct CellKey
{
    qint64 x = 0, y = 0, z = 0;

    bool operator==(const CellKey &) const = default;
    quint64 hash() const { return combinedHash(quint64(x), quint64(y), quint64(z)); }
};

// The cell of a coordinate, and the first and last that hold anything within the tolerance of it.
struct CellRange
{
    qint64 own = 0, first = 0, last = 0;
};

template<typename T>
class Welder
{
public:
    Welder(const QList<Vector3<T>> &vertices, double tolerance)
        : m_vertices(vertices)
        , m_tolerance(tolerance)
    {}

    // False when cancelled.
    bool run(const io::Progress &progress);

    QList<int> map;             // vertex to kept number
    QList<int> kept;            // kept number to vertex
    QList<Vector3<T>> position; // by kept number

private:
    static constexpr double cellWidth = 8; // in tolerances

    quint64 positionHash(const Vector3<T> &p) const;
    CellRange range(T coordinate) const;
    CellKey cellOf(const Vector3<T> &p) const
    {
        return {range(p.x).own, range(p.y).own, range(p.z).own};
    }
    bool isWithinTolerance(const Vector3<T> &a, const Vector3<T> &b) const;
    quint32 find(const Vector3<T> &p) const;
    quint32 findInCell(const CellKey &cell, const Vector3<T> &p, quint32 best) const;
    quint32 findCell(const CellKey &cell) const;
    quint32 keep(int vertex);

    const QList<Vector3<T>> &m_vertices;
    double m_tolerance;
    FlatIndex m_byPosition;
    FlatIndex m_byCell; // the first kept number of each cell; the others follow in m_nextInCell
    QList<quint32> m_nextInCell; // by kept number
};

template<typename T>
quint64 Welder<T>::positionHash(const Vector3<T> &p) const
{
    const auto bits = [](T value) { return std::bit_cast<quint64>(double(value) + 0.0); };
    return combinedHash(bits(p.x), bits(p.y), bits(p.z));
}

template<typename T>
CellRange Welder<T>::range(T coordinate) const
{
    // So far out neighbouring numbers are farther apart than the tolerance: only equal coordinates
    // can meet, and the number itself serves as the cell, where a quotient would overflow.
    constexpr double exactBeyond = double(quint64(1) << (std::numeric_limits<T>::digits + 4));
    constexpr double reach =
        1 / cellWidth + 1e-6; // with what is above the rounding of the quotient
    const double scaled = double(coordinate) / (cellWidth * m_tolerance);
    if (!(std::abs(scaled) < exactBeyond)) {
        const auto cell = std::bit_cast<qint64>(double(coordinate));
        return {cell, cell, cell};
    }
    return {qint64(std::floor(scaled)), qint64(std::floor(scaled - reach)),
            qint64(std::floor(scaled + reach))};
}

template<typename T>
bool Welder<T>::isWithinTolerance(const Vector3<T> &a, const Vector3<T> &b) const
{
    const double x = double(a.x) - double(b.x);
    const double y = double(a.y) - double(b.y);
    const double z = double(a.z) - double(b.z);
    return x * x + y * y + z * z <= m_tolerance * m_tolerance;
}

template<typename T>
quint32 Welder<T>::findCell(const CellKey &cell) const
{
    return m_byCell.find(cell.hash(),
                         [&](quint32 other) { return cellOf(position.at(other)) == cell; });
}

template<typename T>
quint32 Welder<T>::findInCell(const CellKey &cell, const Vector3<T> &p, quint32 best) const
{
    for (quint32 n = findCell(cell); n != FlatIndex::none; n = m_nextInCell.at(n))
        if (n < best && isWithinTolerance(position.at(n), p))
            best = n;
    return best;
}

template<typename T>
quint32 Welder<T>::find(const Vector3<T> &p) const
{
    const quint32 equal =
        m_byPosition.find(positionHash(p), [&](quint32 other) { return position.at(other) == p; });
    if (equal != FlatIndex::none || m_tolerance == 0)
        return equal;
    quint32 best = FlatIndex::none;
    const CellRange xs = range(p.x), ys = range(p.y), zs = range(p.z);
    for (qint64 z = zs.first; z <= zs.last; ++z)
        for (qint64 y = ys.first; y <= ys.last; ++y)
            for (qint64 x = xs.first; x <= xs.last; ++x)
                best = findInCell({x, y, z}, p, best);
    return best;
}

template<typename T>
quint32 Welder<T>::keep(int vertex)
{
    const auto number = quint32(kept.size());
    const Vector3<T> p = m_vertices.at(vertex);
    kept.append(vertex);
    position.append(p);
    m_nextInCell.append(FlatIndex::none);
    if (!p.isFinite())
        return number; // near nothing, not even itself
    m_byPosition.insert(number, [this](quint32 n) { return positionHash(position.at(n)); });
    if (m_tolerance == 0)
        return number;
    if (const quint32 first = findCell(cellOf(p)); first != FlatIndex::none)
        m_nextInCell[number] = std::exchange(m_nextInCell[first], number);
    else
        m_byCell.insert(number, [this](quint32 n) { return cellOf(position.at(n)).hash(); });
    return number;
}

template<typename T>
bool Welder<T>::run(const io::Progress &progress)
{
    constexpr qsizetype progressInterval = 65'536;
    map.reserve(m_vertices.size());
    for (qsizetype i = 0; i < m_vertices.size(); ++i) {
        if (progress && i % progressInterval == 0 && !progress(i, m_vertices.size()))
            return false;
        const Vector3<T> &p = m_vertices.at(i);
        quint32 number = p.isFinite() ? find(p) : FlatIndex::none;
        if (number == FlatIndex::none)
            number = keep(int(i));
        map.append(int(number));
    }
    return true;
}

// ------------------------------------------------------------------ applying the map

// Moves the values of what is kept to the front. A list may hold several values for each item; one
// whose length is no multiple of the count belongs to something else and stays.
template<typename Value>
void compact(QList<Value> &values, const QList<int> &kept, qsizetype itemCount)
{
    if (itemCount == 0 || kept.size() == itemCount || values.size() % itemCount != 0)
        return;
    const qsizetype perItem = values.size() / itemCount;
    Value *const data = values.data();
    for (qsizetype i = 0; i < kept.size(); ++i)
        for (qsizetype j = 0; j < perItem; ++j)
            data[i * perItem + j] = std::move(data[kept.at(i) * perItem + j]);
    values.resize(kept.size() * perItem);
    values.squeeze();
}

bool isCollapsedTriangle(ElementType type, const NodeList &nodes)
{
    return type == ElementType::Triangle && nodes.size() == 3 &&
           (nodes[0] == nodes[1] || nodes[1] == nodes[2] || nodes[2] == nodes[0]);
}

template<typename T>
void rewriteElements(Mesh<T> &mesh, const QList<int> &map)
{
    QList<int> keptElements;
    const qsizetype count = mesh.elements.size();
    keptElements.reserve(count);
    ElementData<T> *const elements = mesh.elements.data();
    for (qsizetype i = 0; i < count; ++i) {
        for (int &node : elements[i].nodes)
            node = map.at(node);
        if (!isCollapsedTriangle(elements[i].type, elements[i].nodes))
            keptElements.append(int(i));
    }
    compact(mesh.elements, keptElements, count);
    for (QList<T> &values : mesh.elementAttributes)
        compact(values, keptElements, count);
}

} // namespace

template<typename T>
QString VertexMerger<T>::name() const
{
    return u"Vertex Merger"_s;
}

template<typename T>
QString VertexMerger<T>::flag() const
{
    return u"weld"_s;
}

template<typename T>
io::Result<void> VertexMerger<T>::process(Mesh<T> &mesh, const ProcessOptions &options) const
{
    bool isNumber = false;
    const double tolerance =
        options.parameters.value(u"tolerance"_s, defaultTolerance).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(tolerance) || tolerance < 0)
        return io::Error{u"weld tolerance must be a number of at least 0"_s, io::MalformedData};
    const qsizetype count = mesh.vertices.size();
    QList<int> map, kept;
    {
        Welder<T> welder(mesh.vertices, tolerance);
        if (!welder.run(options.progress))
            return {};
        map = std::move(welder.map);
        kept = std::move(welder.kept);
        mesh.vertices = std::move(welder.position);
    }
    mesh.vertices.squeeze();
    compact(mesh.normals, kept, count);
    for (QList<T> &values : mesh.vertexAttributes)
        compact(values, kept, count);
    rewriteElements(mesh, map);
    return {};
}

template class VertexMerger<float>;

} // namespace mesh::process
