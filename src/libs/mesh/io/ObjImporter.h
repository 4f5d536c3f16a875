#pragma once

#include <mesh/io/FormatImporter.h>

namespace mesh::io {

/// Wavefront object files: vertices, normals, texture coordinates, faces, groups and materials.
///
/// Vertices stay as they are listed; one takes the normal and the texture coordinate of the first
/// face corner that names some. Faces of three and four corners are kept as such, larger ones
/// become a fan of triangles. Materials come from libraries beside the file: plain files of at most
/// 16 MiB whose relative name does not lead up.
template<typename T>
class ObjImporter : public FormatImporter<T>
{
public:
    ObjImporter();

    using FormatImporter<T>::read;
    Result<Mesh<T>> read(QIODevice &device, const ImportOptions &options) const override;
};

extern template class ObjImporter<float>;

} // namespace mesh::io
