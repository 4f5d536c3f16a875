#pragma once

#include <mesh/io/Exporter.h>
#include <mesh/io/Importer.h>

#include <memory>
#include <vector>

namespace mesh::io {

/// The mesh formats there are: STL, OBJ, PLY and VTK, chosen by the suffix of a path.
///
/// The instance is filled when it is first asked for and only read afterwards, by any thread.
template<typename T>
class IORegistry
{
public:
    static const IORegistry &instance();

    /// Reads by the first importer that takes the path; none: "No importer found for: %1", code
    /// NotFound.
    Result<Mesh<T>> load(const QString &path, const ImportOptions &options = {}) const;

    /// Writes by the first exporter that takes the path; none: "No exporter found for: %1", code
    /// NotFound.
    Result<void> save(const Mesh<T> &mesh, const QString &path,
                      const ExportOptions &options = {}) const;

    const std::vector<std::unique_ptr<const Importer<T>>> &importers() const { return m_importers; }
    const std::vector<std::unique_ptr<const Exporter<T>>> &exporters() const { return m_exporters; }

private:
    IORegistry() { registerBuiltinFormats(); }
    void registerBuiltinFormats();

    std::vector<std::unique_ptr<const Importer<T>>> m_importers;
    std::vector<std::unique_ptr<const Exporter<T>>> m_exporters;
};

extern template class IORegistry<float>;

} // namespace mesh::io
