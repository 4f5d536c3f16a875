#pragma once

#include <mesh/process/MeshProcessor.h>

namespace mesh::process {

struct QuadricSimplificationSettings
{
    bool preserveBoundary = true; ///< open edges keep their shape as sharp ones do
    double featureAngle = 30;     ///< degrees between faces from which an edge is sharp
    double featureWeight = 100;   ///< how much leaving a sharp edge costs against leaving a face
};

/// Takes triangles away where they are missed least (Garland and Heckbert 1997): edges collapse in
/// the order of the error that this makes, measured by the planes of the original faces.
///
/// Corners stay exactly where they are and sharp edges keep their course. A collapse that would
/// change the topology, turn a face over or make a sliver is not done, so that a mesh may end above
/// its target. Only triangles: a mesh with anything else is left as it is, with a line in the log,
/// and so is one whose topology would have become worse.
///
/// Parameters: `targetFaceCount`, wins when above 0; `targetRatio` of the faces, default 0.5, from
/// 1 on nothing is done, and what is no number or not above 0 is an error. Time n log n, about 200
/// bytes a triangle. A cancel leaves the input.
template<typename T>
class QuadricSimplification : public MeshProcessor<T>
{
public:
    static constexpr double defaultTargetRatio = 0.5;

    explicit QuadricSimplification(const QuadricSimplificationSettings &settings = {})
        : m_settings(settings)
    {}

    QString name() const override;
    QString flag() const override;
    io::Result<void> process(Mesh<T> &mesh, const ProcessOptions &options) const override;

private:
    QuadricSimplificationSettings m_settings;
};

extern template class QuadricSimplification<float>;

} // namespace mesh::process
