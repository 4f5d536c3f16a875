#pragma once

#include <mesh/io/Exporter.h>

namespace mesh::io {

/// What the writers of all formats share: suffixes, names, the safe replacing of files, common
/// errors.
template<typename T>
class FormatExporter : public Exporter<T>
{
public:
    bool canWrite(const QString &path) const override;
    Result<void> write(const Mesh<T> &mesh, const QString &path,
                       const ExportOptions &options) const override;
    QStringList extensions() const override;
    QString name() const override;

    using Exporter<T>::write;

protected:
    /// @param format  its name in capitals, "STL", which is its suffix too
    explicit FormatExporter(QLatin1StringView format)
        : m_format(format)
    {}

private:
    QLatin1StringView m_format;
};

Error writeFailure(const QString &message); ///< code WriteFailure
Error cancelledByUser();                    ///< "Export cancelled by user"

/// What a format writes of a mesh.
struct ElementCount
{
    qint64 elements = 0;
    qint64 nodes = 0; ///< of those elements, together
};

/// Counts the elements for which the predicate holds. An error for the first element, counted or
/// not, with a node that is not among the vertices.
template<typename T>
Result<ElementCount> countElements(const Mesh<T> &mesh, int threads,
                                   bool (*isWritten)(const ElementData<T> &));

/// A name on one line of a text header: line ends and other control characters become blanks.
QByteArray singleLine(const QString &name);

extern template class FormatExporter<float>;
extern template Result<ElementCount> countElements(const Mesh<float> &mesh, int threads,
                                                   bool (*isWritten)(const ElementData<float> &));

} // namespace mesh::io
