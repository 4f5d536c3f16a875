#pragma once

#include <mesh/io/FormatExporter.h>

namespace mesh::io {

/// Wavefront object files: surface elements, with normals, texture coordinates and groups where the
/// mesh has them.
template<typename T>
class ObjExporter : public FormatExporter<T>
{
public:
    ObjExporter();

    using FormatExporter<T>::write;
    Result<void> write(const Mesh<T> &mesh, QIODevice &device,
                       const ExportOptions &options) const override;
};

extern template class ObjExporter<float>;

} // namespace mesh::io
