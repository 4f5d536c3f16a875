#include "SdfProjection.h"

#include "StepProgress.h"
#include "SurfaceMover.h"

using namespace Qt::StringLiterals;

namespace mesh::process {

template<typename T>
QString SdfProjection<T>::name() const
{
    return u"SDF Projection"_s;
}

template<typename T>
QString SdfProjection<T>::flag() const
{
    return u"sdfProject"_s;
}

template<typename T>
io::Result<void> SdfProjection<T>::process(Mesh<T> &mesh, const ProcessOptions &options) const
{
    constexpr int maxIterations = 8;
    const BlockSampler<T> field =
        m_settings.blocks ? m_settings.blocks : pointByPoint(m_settings.sampler);
    if (mesh.isEmpty() || !field)
        return {};
    const int iterations = std::clamp(
        options.parameters.value(u"iterations"_s, defaultIterations).toInt(), 1, maxIterations);
    FeatureAnalysis<T> features = analyzeFeatures(mesh, m_settings.featureAngle, options.progress);
    StepProgress watch(options.progress, mesh.vertices.size() * iterations, 256);
    const T mean = watch.advance(0) ? meanEdgeLength(mesh, features.edges) : T(0);
    if (!(mean > 0) || !std::isfinite(mean))
        return {};
    if (!confirmFeaturesAgainstField(mesh, features, field, T(0.3) * mean, m_settings.featureAngle,
                                     options.progress))
        return {};
    addMaterialBorders(mesh, features);
    const SurfaceMoveSettings<T> moves = {.tangentialStep = T(m_settings.tangentialStep),
                                          .moveLimit = T(0.75) * mean,
                                          .probeDistance = T(0.1) * mean,
                                          .leastGradientSquared = T(1.1920929e-7)};
    Mesh<T> moved = mesh;
    SurfaceMover<T> mover(moved, features, field, moves);
    for (int i = 0; i < iterations && mover.moveAll(watch); ++i)
        mesh.vertices = moved.vertices;
    if (!mesh.normals.isEmpty())
        mesh.recalculateNormals();
    return {};
}

template class SdfProjection<float>;

} // namespace mesh::process
