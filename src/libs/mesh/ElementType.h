#pragma once

#include <optional>

namespace mesh {

/// The kinds of element; the tens digit is the dimension, with gaps for more of each.
enum class ElementType : int {
    Point = 0,
    Line = 10,
    QuadraticLine = 11,
    Triangle = 20,
    QuadraticTriangle = 21,
    Quad = 22,
    SerendipityQuad = 23,
    BiquadraticQuad = 24,
    Tetrahedron = 30,
    QuadraticTetrahedron = 31,
    Hexahedron = 32,
    QuadraticHexahedron = 33,
    TriquadraticHexahedron = 34,
    Wedge = 35,
    Pyramid = 36,
};

/// 0 for points to 3 for volumes; -1 for a value that is no element type.
int dimension(ElementType type);

/// Nodes that an element of this type has; 0 for a value that is no element type.
int nodeCount(ElementType type);

/// The cell type of the VTK legacy format; 0 for a value that is no element type.
int vtkCellType(ElementType type);

/// The inverse of vtkCellType; nothing for a cell type without counterpart.
std::optional<ElementType> elementTypeOfVtkCell(int cellType);

} // namespace mesh
