#include "OpenEdges.h"

#include <concurrency/parallelFor.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <functional>
#include <vector>

// Each directed edge has a number of 64 well mixed bits, which depends on the positions of its ends
// and has the opposite sign in the other direction. Over a closed surface the sum of all numbers is
// 0, since each edge is passed as often in one direction as in the other; over any other it is 0
// with a chance of 2^-64. The sum needs no table, and parts of it may be added in any order. Where
// it is not 0, the numbers are sorted, and those that do not cancel are the open edges.

namespace mesh::process {

namespace {

using Point = Vector3<float>;

constexpr qsizetype trianglesPerPart = 32'768;

/// Mixed enough where only sums of such numbers are looked at.
quint64 mixed(quint64 bits)
{
    bits *= 0x9E3779B97F4A7C15;
    return bits ^ (bits >> 32);
}

class EdgeNumbers
{
public:
    explicit EdgeNumbers(const Mesh<float> &mesh)
        : m_mesh(mesh)
    {}

    /// Calls visit(number, isForward, triangle, corner) for each edge of a part of the triangles.
    template<class Visit>
    void visit(qsizetype begin, qsizetype end, const Visit &visit) const
    {
        const ElementData<float> *const elements = m_mesh.elements.constData();
        const Point *const vertices = m_mesh.vertices.constData();
        for (qsizetype i = begin; i < end; ++i) {
            const ElementData<float> &element = elements[i];
            if (element.type != ElementType::Triangle)
                continue;
            quint64 corners[3];
            for (int n = 0; n < 3; ++n)
                corners[n] = numberOf(vertices[element.nodes[n]]);
            for (int n = 0; n < 3; ++n) {
                const quint64 from = corners[n], to = corners[(n + 1) % 3];
                if (from != to)
                    visit(mixed(from + to), from < to, i, n);
            }
        }
    }

private:
    /// Of a position.
    static quint64 numberOf(const Point &p)
    {
        // A zero has two signs and one place.
        const auto bits = [](float value) { return quint64(std::bit_cast<quint32>(value + 0.0f)); };
        const quint64 key = bits(p.x) * 0xC2B2AE3D27D4EB4F + bits(p.y) * 0x165667B19E3779F9 +
                            bits(p.z) * 0xD6E8FEB86659FD93;
        return key ^
               key >> 32; // or edges with one middle, as the diagonals of a square, would be one
    }

    const Mesh<float> &m_mesh;
};

bool isClosed(const EdgeNumbers &edges, qsizetype count, int threads)
{
    std::atomic<quint64> sum = 0;
    const qsizetype parts = (count + trianglesPerPart - 1) / trianglesPerPart;
    concurrency::parallelFor(parts, threads, [&](qsizetype part) {
        quint64 own = 0;
        const qsizetype begin = part * trianglesPerPart;
        edges.visit(begin, std::min(begin + trianglesPerPart, count),
                    [&own](quint64 number, bool isForward, qsizetype, int) {
                        own += isForward ? number : 0 - number;
                    });
        sum += own;
    });
    return sum == 0;
}

/// One passage of an edge; `place` is three times the triangle and the corner, and the direction.
struct Passage
{
    quint64 number = 0;
    quint64 place = 0;

    bool isForward() const { return place & 1; }
    quint64 corner() const { return place >> 1; }
};

std::vector<Passage> passagesOf(const EdgeNumbers &edges, qsizetype count)
{
    std::vector<Passage> passages;
    passages.reserve(std::size_t(count) * 3);
    edges.visit(0, count, [&](quint64 number, bool isForward, qsizetype triangle, int corner) {
        passages.push_back({number, (quint64(triangle) * 3 + quint64(corner)) << 1 | isForward});
    });
    std::sort(passages.begin(), passages.end(), [](const Passage &a, const Passage &b) {
        return a.number != b.number ? a.number < b.number : a.place < b.place;
    });
    return passages;
}

} // namespace

OpenEdges findOpenEdges(const Mesh<float> &mesh, int threads)
{
    const EdgeNumbers edges(mesh);
    OpenEdges open;
    if (isClosed(edges, mesh.elements.size(), threads))
        return open;
    const std::vector<Passage> passages = passagesOf(edges, mesh.elements.size());
    quint64 first = ~quint64(0);
    for (auto it = passages.begin(); it != passages.end();) {
        const auto end = std::find_if(it, passages.end(), [&](const Passage &passage) {
            return passage.number != it->number;
        });
        const auto forward = std::count_if(it, end, std::mem_fn(&Passage::isForward));
        const qint64 surplus = std::abs(2 * forward - (end - it));
        if (surplus > 0)
            first = std::min(first, it->corner());
        open.count += surplus;
        it = end;
    }
    if (open.count > 0)
        open.example =
            mesh.vertices.at(mesh.elements.at(qsizetype(first / 3)).nodes[int(first % 3)]);
    return open;
}

} // namespace mesh::process
