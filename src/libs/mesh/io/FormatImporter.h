#pragma once

#include <mesh/io/Importer.h>

namespace mesh::io {

/// What the readers of all formats share: suffixes, names and the opening of paths.
template<typename T>
class FormatImporter : public Importer<T>
{
public:
    bool canRead(const QString &path) const override;
    Result<Mesh<T>> read(const QString &path, const ImportOptions &options) const override;
    QStringList extensions() const override;
    QString name() const override;

    using Importer<T>::read;

protected:
    /// @param format  its name in capitals, "STL", which is its suffix too
    explicit FormatImporter(QLatin1StringView format)
        : m_format(format)
    {}

private:
    QLatin1StringView m_format;
};

Error malformed(const QString &message);     ///< code MalformedData
Error limitExceeded(const QString &message); ///< code LimitExceeded
Error pipeTooLong();

/// "Triangle count exceeds limit of %1"
Error triangleLimitExceeded(qint64 limit);

/// The largest number of vertices that a reader takes: three for each triangle that the options
/// allow.
qint64 maxVertices(const ImportOptions &options);

extern template class FormatImporter<float>;

} // namespace mesh::io
