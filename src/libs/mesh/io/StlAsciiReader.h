#pragma once

#include <mesh/io/FormatImporter.h>

class QIODevice;

namespace mesh::io {

/// Reads the text form of a stereolithography file from the device's position on; vertices are not
/// welded. Key words may be of any case; several solids in one file become one mesh with the name
/// of the first.
/// @param estimatedTriangles  the total for the progress function
template<typename T>
Result<Mesh<T>> readAsciiStl(QIODevice &device, const ImportOptions &options,
                             qint64 estimatedTriangles);

extern template Result<Mesh<float>> readAsciiStl(QIODevice &device, const ImportOptions &options,
                                                 qint64 estimatedTriangles);

} // namespace mesh::io
