#pragma once

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/MeshProcessor.h>

namespace mesh::process {

template<typename T>
struct IsotropicRemeshSettings
{
    FieldSampler<T> sampler{};   ///< keeps vertices on the field; without one they are only evened
    BlockSampler<T> blocks{};    ///< the same field, asked instead where it is there
    int iterations = 3;          ///< rounds, at least 1
    double featureAngle = 45;    ///< degrees between faces from which an edge is sharp
    double projectionStep = 0.5; ///< share of the way to the middle of the neighbours in a round
};

/// Makes triangles of nearly equal sides (Botsch and Kobbelt 2004): rounds of splitting long edges,
/// collapsing short ones, flipping towards six neighbours and smoothing along the surface.
///
/// Corners keep their exact positions, sharp edges their course. Only triangles: a mesh with
/// anything else is left as it is, with a line in the log, and so is one whose topology would have
/// become worse.
///
/// Parameter `targetEdgeLength`: scene units; absent, or not above 0, it is the mean of the mesh. A
/// length that would need more than `maxFaces` triangles is an error. Time n log n in the triangles
/// before and after. A cancel leaves the mesh as it was after the last whole round.
template<typename T>
class IsotropicRemesh : public MeshProcessor<T>
{
public:
    static constexpr qsizetype maxFaces = 20'000'000;

    explicit IsotropicRemesh(IsotropicRemeshSettings<T> settings = {})
        : m_settings(std::move(settings))
    {}

    QString name() const override;
    QString flag() const override;
    io::Result<void> process(Mesh<T> &mesh, const ProcessOptions &options) const override;

private:
    IsotropicRemeshSettings<T> m_settings;
};

extern template class IsotropicRemesh<float>;

} // namespace mesh::process
