#pragma once

#include <mesh/io/FormatExporter.h>

namespace mesh::io {

/// Stereolithography files, binary (the default) and text: the triangles of a mesh, nothing else of
/// it.
///
/// The header holds the option's name, else the mesh's.
template<typename T>
class StlExporter : public FormatExporter<T>
{
public:
    StlExporter();

    using FormatExporter<T>::write;
    Result<void> write(const Mesh<T> &mesh, QIODevice &device,
                       const ExportOptions &options) const override;
};

extern template class StlExporter<float>;

} // namespace mesh::io
