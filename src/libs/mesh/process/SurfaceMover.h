#pragma once

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/StepProgress.h>

namespace mesh::process {

template<typename T>
struct SurfaceMoveSettings
{
    T tangentialStep = T(0.5);        ///< share of the way to the middle of the neighbours
    T moveLimit{};                    ///< longest move of a vertex, scene units
    T probeDistance{};                ///< how far beside a sharp edge its sides are looked at
    T leastGradientSquared = T(1e-7); ///< below this the field gives no direction
};

/// Moves the vertices of a mesh along its surface towards the middle of their neighbours and across
/// it to the field: the move that projection and remeshing have in common.
///
/// Vertices move one after another, each seeing where those before it went: then none of the moves
/// turns a face over, where moves at the same time could.
template<typename T>
class SurfaceMover
{
public:
    /// All are borrowed. The features must be those of the mesh, whose vertices alone change.
    SurfaceMover(Mesh<T> &mesh, const FeatureAnalysis<T> &features, const FieldSampler<T> &sampler,
                 const SurfaceMoveSettings<T> &settings);

    /// Keeps a vertex where it is.
    void pin(int vertex) { m_isPinned[vertex] = true; }
    /// Moves every vertex once; false when cancelled half way.
    bool moveAll(StepProgress &watch);

private:
    Vector3<T> target(int vertex) const;
    Vector3<T> tangentialOffset(int vertex) const;
    bool addFieldOffset(int vertex, Vector3<T> &position) const;
    bool addCreaseOffset(int vertex, Vector3<T> &position) const;
    bool addSharpOffset(int vertex, Vector3<T> &position) const;
    Vector3<T> alongCrease(int vertex) const;

    Mesh<T> &m_mesh;
    const FeatureAnalysis<T> &m_features;
    const FieldSampler<T> &m_sampler;
    SurfaceMoveSettings<T> m_settings;
    QList<bool> m_isPinned;
};

extern template class SurfaceMover<float>;

} // namespace mesh::process
