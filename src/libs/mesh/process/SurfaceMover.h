#pragma once

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/StepProgress.h>

#include <span>
#include <vector>

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
/// turns a face over, where moves at the same time could. Those that do not see each other are
/// taken together, so that the field is asked for many points at once; where they go is the same.
template<typename T>
class SurfaceMover
{
public:
    /// All are borrowed. The features must be those of the mesh, whose vertices alone change.
    SurfaceMover(Mesh<T> &mesh, const FeatureAnalysis<T> &features, const BlockSampler<T> &sampler,
                 const SurfaceMoveSettings<T> &settings);

    /// Moves every vertex once; false when cancelled half way.
    bool moveAll(StepProgress &watch);

private:
    /// A vertex on its way.
    struct Move
    {
        int vertex = -1;
        Vector3<T> position{};     ///< where it would go
        Vector3<T> sides[2]{};     ///< from there to a probe beside each side of a crease
        SdfSample<T> samples[2]{}; ///< at both probes, or one at the position
        bool hasSides = false;
        bool isRefused = false; ///< stays where it is
    };

    QList<bool> pinned() const;
    void arrangeGroups();
    void moveTogether(std::span<const int> vertices);
    Move planned(int vertex) const;
    void sample(const std::vector<Move *> &moves) const;
    bool takeOffset(Move &move) const;
    void takeFieldOffset(Move &move) const;
    bool takeSharpOffset(Move &move) const;
    void apply(const Move &move);
    Vector3<T> tangentialOffset(int vertex) const;
    Vector3<T> alongCrease(int vertex) const;

    Mesh<T> &m_mesh;
    const FeatureAnalysis<T> &m_features;
    const BlockSampler<T> &m_sampler;
    SurfaceMoveSettings<T> m_settings;
    AdjacencyList m_groups; ///< of the vertices that may move
    qsizetype m_pinnedCount = 0;
};

extern template class SurfaceMover<float>;

} // namespace mesh::process
