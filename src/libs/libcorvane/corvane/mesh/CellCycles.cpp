#include "CellCycles.h"

#include <bit>
#include <vector>

namespace corvane::mesh {

namespace {

using EdgeSet = std::array<std::int8_t, 12>;

struct FaceRing
{
    std::array<int, 4> corners; ///< in a ring
    std::array<int, 4> edges;   ///< edge n joins corner n and the next
};

int edgeBetween(int corner, int other)
{
    const int axis = std::countr_zero(static_cast<unsigned>(corner ^ other));
    const int low = corner & other;
    return cellEdge(axis, (low >> (axis + 1) % 3 & 1) | (low >> (axis + 2) % 3 & 1) << 1);
}

FaceRing ringOf(int face)
{
    const int axis = face / 2;
    const int base = (face % 2) << axis;
    const int u = 1 << (axis + 1) % 3;
    const int v = 1 << (axis + 2) % 3;
    FaceRing ring{{base, base | u, base | u | v, base | v}, {}};
    for (std::size_t n = 0; n < 4; ++n)
        ring.edges[n] = edgeBetween(ring.corners[n], ring.corners[(n + 1) % 4]);
    return ring;
}

bool isInside(unsigned mask, int corner)
{
    return mask >> corner & 1;
}

bool isCrossed(unsigned mask, const FaceRing &ring, std::size_t n)
{
    return isInside(mask, ring.corners[n]) != isInside(mask, ring.corners[(n + 1) % 4]);
}

bool isAmbiguous(unsigned mask, const FaceRing &ring)
{
    return isCrossed(mask, ring, 0) && isCrossed(mask, ring, 1) && isCrossed(mask, ring, 2) &&
           isCrossed(mask, ring, 3);
}

void join(EdgeSet &cycles, int edge, int other)
{
    const std::int8_t kept = cycles[static_cast<std::size_t>(edge)];
    const std::int8_t gone = cycles[static_cast<std::size_t>(other)];
    for (std::int8_t &cycle : cycles) {
        if (cycle == gone)
            cycle = kept;
    }
}

// The lines in which the surface crosses one face join the edges at their ends.
void joinOnFace(unsigned mask, const FaceRing &ring, bool insideJoined, EdgeSet &cycles)
{
    if (isAmbiguous(mask, ring)) {
        for (std::size_t n = 0; n < 4; ++n) {
            if (isInside(mask, ring.corners[n]) != insideJoined)
                join(cycles, ring.edges[(n + 3) % 4], ring.edges[n]);
        }
        return;
    }
    int first = -1;
    for (std::size_t n = 0; n < 4; ++n) {
        if (!isCrossed(mask, ring, n))
            continue;
        if (first >= 0)
            join(cycles, first, ring.edges[n]);
        first = ring.edges[n];
    }
}

void number(CellCycles &result, const EdgeSet &cycles)
{
    for (std::size_t edge = 0; edge < cycles.size(); ++edge) {
        result.cycleOfEdge[edge] = -1;
        if (cycles[edge] < 0)
            continue;
        for (std::size_t earlier = 0; earlier < edge; ++earlier) {
            if (cycles[earlier] == cycles[edge])
                result.cycleOfEdge[edge] = result.cycleOfEdge[earlier];
        }
        if (result.cycleOfEdge[edge] < 0)
            result.cycleOfEdge[edge] = static_cast<std::int8_t>(result.count++);
    }
}

unsigned doubledFacesOf(unsigned mask, const CellCycles &cycles)
{
    unsigned faces = 0;
    for (int face = 0; face < 6; ++face) {
        const FaceRing ring = ringOf(face);
        const auto cycle = [&](std::size_t n) {
            return cycles.cycleOfEdge[static_cast<std::size_t>(ring.edges[n])];
        };
        // Each line joins neighbouring edges, so three that are alike mean that both lines are.
        if (isAmbiguous(mask, ring) && cycle(0) == cycle(1) && cycle(1) == cycle(2))
            faces |= 1u << face;
    }
    return faces;
}

CellCycles cyclesOf(unsigned mask, unsigned joinedFaces)
{
    EdgeSet cycles;
    cycles.fill(-1);
    for (int face = 0; face < 6; ++face) {
        const FaceRing ring = ringOf(face);
        for (std::size_t n = 0; n < 4; ++n) {
            if (isCrossed(mask, ring, n))
                cycles[static_cast<std::size_t>(ring.edges[n])] =
                    static_cast<std::int8_t>(ring.edges[n]);
        }
    }
    for (int face = 0; face < 6; ++face)
        joinOnFace(mask, ringOf(face), (joinedFaces >> face & 1) != 0, cycles);
    CellCycles result;
    number(result, cycles);
    result.doubledFaces = doubledFacesOf(mask, result);
    return result;
}

constexpr std::size_t masks = 256;
constexpr std::size_t faceSets = 64;

// All masks have 2000 ways between them, of which most grids meet a dozen; the table is small
// enough to be made at once.
struct CycleTables
{
    std::array<unsigned, masks> ambiguous{};
    std::array<std::uint16_t, masks * faceSets>
        numbers{}; ///< in the list, by mask and joined faces
    std::vector<CellCycles> list;
};

CycleTables madeTables()
{
    CycleTables made;
    for (unsigned mask = 0; mask < masks; ++mask) {
        unsigned &ambiguous = made.ambiguous[mask];
        for (int face = 0; face < 6; ++face)
            ambiguous |= isAmbiguous(mask, ringOf(face)) ? 1u << face : 0;
        for (unsigned joined = 0; joined < faceSets; ++joined) {
            if ((joined & ~ambiguous) != 0)
                continue;
            made.numbers[mask * faceSets + joined] = static_cast<std::uint16_t>(made.list.size());
            made.list.push_back(cyclesOf(mask, joined));
        }
    }
    return made;
}

const CycleTables &cycleTables()
{
    static const CycleTables tables = madeTables();
    return tables;
}

} // namespace

unsigned ambiguousFaces(unsigned insideMask)
{
    return cycleTables().ambiguous[insideMask & 0xff];
}

const CellCycles &cellCycles(unsigned insideMask, unsigned joinedFaces)
{
    const CycleTables &tables = cycleTables();
    const unsigned mask = insideMask & 0xff;
    const unsigned joined = joinedFaces & tables.ambiguous[mask];
    return tables.list[tables.numbers[mask * faceSets + joined]];
}

} // namespace corvane::mesh
