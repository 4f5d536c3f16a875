#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>
#include <mesh/io/Result.h>

#include <QStringList>

class QIODevice;

namespace mesh::io {

/// A writer of one mesh file format. Keeps no state: several threads may write at once.
///
/// The bytes depend on the mesh and the options alone: no time stamp, no path, the same on every
/// host. Elements that the format cannot hold are left out without a word; an element with a node
/// that is not there is an error.
template<typename T>
class Exporter
{
public:
    virtual ~Exporter() = default;

    /// Whether the suffix of the path is this format's, in either case.
    virtual bool canWrite(const QString &path) const = 0;

    /// Replaces the file by the new mesh, or leaves it as it was (see store::SafeFile).
    virtual Result<void> write(const Mesh<T> &mesh, const QString &path,
                               const ExportOptions &options) const = 0;

    /// Writes at the device's position. After an error the device holds a part of the file.
    virtual Result<void> write(const Mesh<T> &mesh, QIODevice &device,
                               const ExportOptions &options) const = 0;
    virtual QStringList extensions() const = 0; ///< "stl", "STL"
    virtual QString name() const = 0;           ///< "STL Exporter"
};

} // namespace mesh::io
