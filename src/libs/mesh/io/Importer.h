#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>
#include <mesh/io/Result.h>

#include <QStringList>

class QIODevice;

namespace mesh::io {

/// A reader of one mesh file format. Keeps no state: several threads may read at once.
///
/// Input is not trusted. Counts in a file are believed only when the rest of the file can hold
/// them, indices are checked, NaN and infinite coordinates are refused, memory stays within a small
/// multiple of the file. A failed read gives an error and no mesh.
template<typename T>
class Importer
{
public:
    virtual ~Importer() = default;

    /// Whether the suffix of the path is this format's, in either case. Does not touch the file.
    virtual bool canRead(const QString &path) const = 0;
    virtual Result<Mesh<T>> read(const QString &path, const ImportOptions &options) const = 0;

    /// Reads from the device's position on. A sequential device (a pipe) may carry up to 256 MiB.
    virtual Result<Mesh<T>> read(QIODevice &device, const ImportOptions &options) const = 0;
    virtual QStringList extensions() const = 0; ///< "stl", "STL"
    virtual QString name() const = 0;           ///< "STL Importer"
};

} // namespace mesh::io
