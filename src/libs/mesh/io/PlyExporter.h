#pragma once

#include <mesh/io/FormatExporter.h>

namespace mesh::io {

/// Polygon files, binary little-endian (the default) and text: surface elements, normals and
/// colours.
template<typename T>
class PlyExporter : public FormatExporter<T>
{
public:
    PlyExporter();

    using FormatExporter<T>::write;
    Result<void> write(const Mesh<T> &mesh, QIODevice &device,
                       const ExportOptions &options) const override;
};

extern template class PlyExporter<float>;

} // namespace mesh::io
