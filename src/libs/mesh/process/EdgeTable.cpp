#include "EdgeTable.h"

#include <algorithm>
#include <vector>

// Each side of each face is one entry (larger vertex, face), put into the bucket of its smaller
// vertex by counting. A bucket holds some six entries, so sorting it is cheap; equal larger
// vertices then stand together and are one edge.

namespace mesh::process {

AdjacencyList::AdjacencyList(const QList<int> &counts)
    : m_first(counts.size() + 1, 0)
{
    int sum = 0;
    for (qsizetype i = 0; i < counts.size(); ++i) {
        m_first[i + 1] = sum;
        sum += counts.at(i);
    }
    m_entries.resize(sum);
}

namespace {

template<typename Visit>
void forEachSide(std::span<const int> triangles, const Visit &visit)
{
    for (size_t f = 0; f + 2 < triangles.size(); f += 3) {
        if (triangles[f] < 0)
            continue;
        for (size_t i = 0; i < 3; ++i) {
            const int a = triangles[f + i], b = triangles[f + (i + 1) % 3];
            if (a != b)
                visit(std::min(a, b), std::max(a, b), int(f / 3));
        }
    }
}

constexpr int upperOf(quint64 entry)
{
    return int(entry >> 32);
}

} // namespace

EdgeTable::EdgeTable(std::span<const int> triangles, qsizetype vertexCount)
    : m_firstOfVertex(vertexCount + 1, 0)
{
    std::vector<int> place(size_t(vertexCount) + 1, 0);
    forEachSide(triangles, [&](int lower, int, int) { ++place[size_t(lower) + 1]; });
    for (size_t v = 1; v < place.size(); ++v)
        place[v] += place[v - 1];
    std::vector<quint64> entries(size_t(place.back()));
    forEachSide(triangles, [&](int lower, int upper, int face) {
        entries[size_t(place[size_t(lower)]++)] = quint64(upper) << 32 | quint32(face);
    });
    // place[v] now is where the entries of v end.
    QList<int> faceCounts;
    m_lower.reserve(qsizetype(entries.size()) / 2);
    m_upper.reserve(qsizetype(entries.size()) / 2);
    faceCounts.reserve(qsizetype(entries.size()) / 2);
    auto from = entries.begin();
    for (qsizetype v = 0; v < vertexCount; ++v) {
        const auto to = entries.begin() + place[size_t(v)];
        std::sort(from, to);
        m_firstOfVertex[v] = int(m_lower.size());
        for (auto it = from; it != to; ++it) {
            if (it == from || upperOf(*it) != upperOf(*(it - 1))) {
                m_lower.append(int(v));
                m_upper.append(upperOf(*it));
                faceCounts.append(0);
            }
            ++faceCounts.last();
        }
        from = to;
    }
    m_firstOfVertex[vertexCount] = int(m_lower.size());
    m_faces = AdjacencyList(faceCounts);
    auto entry = entries.cbegin();
    for (qsizetype e = 0; e < faceCounts.size(); ++e)
        for (int i = 0; i < faceCounts.at(e); ++i, ++entry)
            m_faces.append(e, int(quint32(*entry)));
}

int EdgeTable::find(int a, int b) const
{
    const int low = std::min(a, b), high = std::max(a, b);
    const int *const begin = m_upper.constData();
    const int *const from = begin + m_firstOfVertex.at(low);
    const int *const to = begin + m_firstOfVertex.at(low + 1);
    const int *const at = std::lower_bound(from, to, high);
    return at != to && *at == high ? int(at - begin) : -1;
}

} // namespace mesh::process
