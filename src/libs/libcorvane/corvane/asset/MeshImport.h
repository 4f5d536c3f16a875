#pragma once

#include <corvane/asset/MeshImportWorker.h>

namespace corvane::asset {

/// Reads a mesh file and prepares it for the asset store, on the calling thread: splits it by
/// material, makes levels of detail of the whole and of each part.
class MeshImport
{
public:
    /// Percent done; false cancels.
    using Progress = std::function<bool(int percent)>;

    explicit MeshImport(Progress progress);

    MeshImportResult run(const MeshImportContext &context);

private:
    bool goesOn() const { return m_progress(m_percent); }
    ::mesh::process::MeshLODSet levelsOf(const ::mesh::Mesh<float> &mesh) const;
    void split(MeshImportResult &result);

    Progress m_progress;
    int m_percent = 0;
};

} // namespace corvane::asset
