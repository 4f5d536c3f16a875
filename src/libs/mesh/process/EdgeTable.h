#pragma once

#include <QList>

#include <span>

namespace mesh::process {

/// Lists of indices, one for each item, in one flat array: 4 bytes an entry and 4 an item.
class AdjacencyList
{
public:
    AdjacencyList() = default;
    /// `counts[i]` entries for item i, to be filled by append().
    explicit AdjacencyList(const QList<int> &counts);

    qsizetype size() const { return m_first.isEmpty() ? 0 : m_first.size() - 1; }
    std::span<const int> operator[](qsizetype item) const
    {
        const int first = m_first.at(item);
        return {m_entries.constData() + first, size_t(m_first.at(item + 1) - first)};
    }
    /// The next free entry of an item; never more than were announced.
    void append(qsizetype item, int entry) { m_entries[m_first[item + 1]++] = entry; }

private:
    QList<int> m_first; ///< while it fills, m_first[item + 1] is where the item's next entry goes
    QList<int> m_entries;
};

/// The edges of a list of triangles, numbered by their smaller and then their larger vertex, each
/// with the faces around it.
///
/// Built in linear time by counting; only the edges of one vertex are sorted. A million triangles
/// take 30 MB.
class EdgeTable
{
public:
    EdgeTable() = default;
    /// @param triangles  three vertices each; a negative first vertex marks a face to leave out
    EdgeTable(std::span<const int> triangles, qsizetype vertexCount);

    /// The smaller vertex in the low 32 bits, the larger in the high ones.
    static constexpr quint64 pack(int a, int b)
    {
        return a < b ? quint64(quint32(b)) << 32 | quint32(a)
                     : quint64(quint32(a)) << 32 | quint32(b);
    }

    int size() const { return int(m_lower.size()); }
    int lower(int edge) const { return m_lower.at(edge); }
    int upper(int edge) const { return m_upper.at(edge); }
    quint64 key(int edge) const { return pack(lower(edge), upper(edge)); }
    /// Ascending; a face that has an edge twice is named twice.
    std::span<const int> faces(int edge) const { return m_faces[edge]; }
    /// The number of the edge between two vertices, in either order; -1 for none.
    int find(int a, int b) const;

private:
    QList<int> m_firstOfVertex; ///< by smaller vertex
    QList<int> m_lower, m_upper;
    AdjacencyList m_faces;
};

} // namespace mesh::process
