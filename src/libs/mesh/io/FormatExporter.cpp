#include "FormatExporter.h"

#include <store/SafeFile.h>

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace mesh::io {

template<typename T>
bool FormatExporter<T>::canWrite(const QString &path) const
{
    return QFileInfo(path).suffix().compare(m_format, Qt::CaseInsensitive) == 0;
}

template<typename T>
Result<void> FormatExporter<T>::write(const Mesh<T> &mesh, const QString &path,
                                      const ExportOptions &options) const
{
    store::SafeFile file(path);
    if (!file.open())
        return writeFailure(
            u"Failed to open file for writing: %1 (%2)"_s.arg(path, file.errorString()));
    const Result<void> written = this->write(mesh, *file.device(), options);
    if (!written) {
        // The device knows the reason, such as a full disk; the writer only where it happened.
        if (file.hasFailed())
            return Error{u"%1 (%2)"_s.arg(written.error().message, file.errorString()),
                         written.error().code};
        return written;
    }
    if (!file.commit())
        return writeFailure(u"Failed to write file: %1 (%2)"_s.arg(path, file.errorString()));
    return {};
}

template<typename T>
QStringList FormatExporter<T>::extensions() const
{
    return {QString(m_format).toLower(), m_format};
}

template<typename T>
QString FormatExporter<T>::name() const
{
    return m_format + u" Exporter"_s;
}

Error writeFailure(const QString &message)
{
    return {message, WriteFailure};
}

Error cancelledByUser()
{
    return {u"Export cancelled by user"_s, Cancelled};
}

template<typename T>
Result<void> checkNodes(const Mesh<T> &mesh)
{
    const qsizetype count = mesh.vertices.size();
    for (qsizetype i = 0; i < mesh.elements.size(); ++i)
        for (const int node : mesh.elements.at(i).nodes)
            if (node < 0 || node >= count)
                return Error{u"Element %1 has vertex index %2, but there are %3 vertices"_s.arg(
                                 QString::number(i), QString::number(node), QString::number(count)),
                             MalformedData};
    return {};
}

QByteArray singleLine(const QString &name)
{
    QByteArray line = name.toUtf8();
    for (char &c : line)
        if (uchar(c) < 0x20 || c == 0x7F)
            c = ' ';
    return line.trimmed();
}

template class FormatExporter<float>;
template Result<void> checkNodes(const Mesh<float> &mesh);

} // namespace mesh::io
