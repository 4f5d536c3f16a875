#pragma once

#include <mesh/io/FormatImporter.h>

namespace mesh::io {

/// VTK legacy text files with an UNSTRUCTURED_GRID: points and cells; data sections are skipped.
///
/// Cells whose type has no counterpart here are skipped.
template<typename T>
class VtkImporter : public FormatImporter<T>
{
public:
    VtkImporter();

    using FormatImporter<T>::read;
    Result<Mesh<T>> read(QIODevice &device, const ImportOptions &options) const override;
};

extern template class VtkImporter<float>;

} // namespace mesh::io
