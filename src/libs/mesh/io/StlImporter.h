#pragma once

#include <mesh/io/FormatImporter.h>

namespace mesh::io {

/// Stereolithography files, binary and text.
///
/// A file whose size fits the binary count is binary, whatever its header says: real programs write
/// binary files that begin with "solid". Stored normals are ignored. Each triangle brings its own
/// three vertices, which are welded afterwards unless the options say otherwise; triangles that
/// collapse in that go.
template<typename T>
class StlImporter : public FormatImporter<T>
{
public:
    StlImporter();

    using FormatImporter<T>::read;
    Result<Mesh<T>> read(QIODevice &device, const ImportOptions &options) const override;
};

extern template class StlImporter<float>;

} // namespace mesh::io
