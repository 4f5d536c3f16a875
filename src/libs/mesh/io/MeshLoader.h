#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>

#include <QSharedPointer>

namespace mesh::io {

/// Reads a mesh file of any known format into a mesh that can be shared between threads.
class MeshLoader
{
public:
    /// Null on failure; then `errorOut`, if given, is "File not found: %1" or "Failed to load mesh:
    /// %1".
    static QSharedPointer<Mesh<float>> loadFromFile(const QString &path,
                                                    QString *errorOut = nullptr,
                                                    const ImportOptions &options = {});
};

} // namespace mesh::io
