#include "ElementType.h"

#include <array>

namespace mesh {

namespace {

struct ElementFacts
{
    ElementType type;
    int nodes;
    int vtkCell;
};

constexpr ElementFacts elementFacts[] = {
    // type                               nodes  VTK cell type
    {ElementType::Point, 1, 1},
    {ElementType::Line, 2, 3},
    {ElementType::QuadraticLine, 3, 21},
    {ElementType::Triangle, 3, 5},
    {ElementType::QuadraticTriangle, 6, 22},
    {ElementType::Quad, 4, 9},
    {ElementType::SerendipityQuad, 8, 23},
    {ElementType::BiquadraticQuad, 9, 28},
    {ElementType::Tetrahedron, 4, 10},
    {ElementType::QuadraticTetrahedron, 10, 24},
    {ElementType::Hexahedron, 8, 12},
    {ElementType::QuadraticHexahedron, 20, 25},
    {ElementType::TriquadraticHexahedron, 27, 29},
    {ElementType::Wedge, 6, 13},
    {ElementType::Pyramid, 5, 14},
};

constexpr int typeLimit = int(ElementType::Pyramid) + 1;

struct Entry
{
    int dimension = -1;
    int nodes = 0;
    int vtkCell = 0;
};

// Indexed by the enumeration's value, gaps included: these questions are asked for every element.
constexpr auto entries = [] {
    std::array<Entry, typeLimit> table{};
    for (const ElementFacts &facts : elementFacts)
        table[std::size_t(facts.type)] = {int(facts.type) / 10, facts.nodes, facts.vtkCell};
    return table;
}();

constexpr Entry noEntry;

const Entry &entryOf(ElementType type)
{
    const int value = int(type);
    return value >= 0 && value < typeLimit ? entries[std::size_t(value)] : noEntry;
}

} // namespace

int dimension(ElementType type)
{
    return entryOf(type).dimension;
}

int nodeCount(ElementType type)
{
    return entryOf(type).nodes;
}

int vtkCellType(ElementType type)
{
    return entryOf(type).vtkCell;
}

std::optional<ElementType> elementTypeOfVtkCell(int cellType)
{
    for (const ElementFacts &facts : elementFacts)
        if (facts.vtkCell == cellType)
            return facts.type;
    return std::nullopt;
}

} // namespace mesh
