#pragma once

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/predicates.h>

#include <QLoggingCategory>

namespace mesh::process {

Q_DECLARE_LOGGING_CATEGORY(lcProcess)

/// Asks a progress function between two passes; false when the step is cancelled.
inline bool goesOn(const io::Progress &progress)
{
    return !progress || progress(0, 0);
}

/// Whether a step for triangles can take a mesh; if not, that is logged under the step's name.
template<typename T>
bool acceptsTriangles(const Mesh<T> &mesh, const char *step)
{
    if (isTriangleMesh(mesh))
        return true;
    qCWarning(lcProcess, "%s: non-Tri3 element present, mesh left untouched", step);
    return false;
}

} // namespace mesh::process
