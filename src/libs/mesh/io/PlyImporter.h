#pragma once

#include <mesh/io/FormatImporter.h>

namespace mesh::io {

/// Polygon files: text, and binary of both byte orders; elements besides vertices and faces are
/// read past.
///
/// Faces of three and four corners are kept as such, larger ones become a fan of triangles.
template<typename T>
class PlyImporter : public FormatImporter<T>
{
public:
    PlyImporter();

    using FormatImporter<T>::read;
    Result<Mesh<T>> read(QIODevice &device, const ImportOptions &options) const override;
};

extern template class PlyImporter<float>;

} // namespace mesh::io
