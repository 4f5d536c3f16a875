#pragma once

#include <mesh/io/FormatExporter.h>

namespace mesh::io {

/// VTK legacy text files with an UNSTRUCTURED_GRID: elements of every type, with all attributes.
///
/// An attribute list of one value for each vertex (element) is written as scalars, of three as
/// vectors; others are left out.
template<typename T>
class VtkExporter : public FormatExporter<T>
{
public:
    VtkExporter();

    using FormatExporter<T>::write;
    Result<void> write(const Mesh<T> &mesh, QIODevice &device,
                       const ExportOptions &options) const override;
};

extern template class VtkExporter<float>;

} // namespace mesh::io
