#pragma once

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/MeshProcessor.h>

namespace mesh::process {

template<typename T>
struct SdfProjectionSettings
{
    FieldSampler<T> sampler{};   ///< without a field the step does nothing
    BlockSampler<T> blocks{};    ///< the same field, asked instead where it is there
    double featureAngle = 30;    ///< degrees between faces from which an edge is sharp
    double tangentialStep = 0.5; ///< share of the way to the middle of the neighbours; 0 for none
};

/// Pulls the vertices of a surface back onto its field, and evens them out along it.
///
/// Smooth vertices move freely, those on a sharp edge along it and across to where its two sides
/// meet, corners not at all. A vertex moves at most 0.75 of the mean edge length in an iteration
/// and never so that a face turns over. The topology stays; vertices that something else than
/// triangles uses stay where they are.
///
/// Parameter `iterations`: default 2, clamped to 1..8. Linear time. A cancel leaves the mesh as it
/// was after the last whole iteration.
template<typename T>
class SdfProjection : public MeshProcessor<T>
{
public:
    static constexpr int defaultIterations = 2;

    explicit SdfProjection(SdfProjectionSettings<T> settings)
        : m_settings(std::move(settings))
    {}

    QString name() const override;
    QString flag() const override;
    io::Result<void> process(Mesh<T> &mesh, const ProcessOptions &options) const override;

private:
    SdfProjectionSettings<T> m_settings;
};

extern template class SdfProjection<float>;

} // namespace mesh::process
