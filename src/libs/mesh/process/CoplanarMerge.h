#pragma once

#include <mesh/process/MeshProcessor.h>

namespace mesh::process {

/// Brings flat parts of a surface down to few triangles.
///
/// Faces whose normals agree with that of the first one found form a region; each region of several
/// faces is triangulated anew between the vertices of its border, holes included. Of the border
/// itself a straight run between two vertices where more than two regions meet goes too, and goes
/// on both of its sides or not at all, so that no crack opens. A region that cannot be triangulated
/// keeps its faces. Only triangles: a mesh with anything else is left as it is, with a line in the
/// log, and so is one whose topology would have become worse.
///
/// Materials are not merged with each other. Parameter `angleToleranceDeg`: degrees that a face may
/// lean against its region, default 1; not within 0..90 is an error. Time n log n.
template<typename T>
class CoplanarMerge : public MeshProcessor<T>
{
public:
    static constexpr double defaultAngleToleranceDegrees = 1;
    static constexpr int defaultBudget = 10'000;

    /// @param budget  ears that a region may be clipped of; one with a longer border keeps its
    /// faces
    explicit CoplanarMerge(int budget = defaultBudget)
        : m_budget(budget)
    {}

    QString name() const override;
    QString flag() const override;
    io::Result<void> process(Mesh<T> &mesh, const ProcessOptions &options) const override;

private:
    int m_budget;
};

extern template class CoplanarMerge<float>;

} // namespace mesh::process
