#include "FormatImporter.h"

#include <store/RegularFile.h>

#include <QFileInfo>

#include <limits>

using namespace Qt::StringLiterals;

namespace mesh::io {

template<typename T>
bool FormatImporter<T>::canRead(const QString &path) const
{
    return QFileInfo(path).suffix().compare(m_format, Qt::CaseInsensitive) == 0;
}

template<typename T>
Result<Mesh<T>> FormatImporter<T>::read(const QString &path, const ImportOptions &options) const
{
    store::RegularFile file(path);
    if (!file.exists())
        return Error{u"File not found: %1"_s.arg(path), NotFound};
    if (!file.open(QIODevice::ReadOnly))
        return Error{u"Failed to open file: %1 (%2)"_s.arg(path, file.errorString()), NotFound};
    return this->read(static_cast<QIODevice &>(file), options);
}

template<typename T>
QStringList FormatImporter<T>::extensions() const
{
    return {QString(m_format).toLower(), m_format};
}

template<typename T>
QString FormatImporter<T>::name() const
{
    return m_format + u" Importer"_s;
}

Error malformed(const QString &message)
{
    return {message, MalformedData};
}

Error limitExceeded(const QString &message)
{
    return {message, LimitExceeded};
}

Error pipeTooLong()
{
    return limitExceeded(u"Input from a pipe exceeds limit of 256 MiB"_s);
}

Error triangleLimitExceeded(qint64 limit)
{
    return limitExceeded(u"Triangle count exceeds limit of %1"_s.arg(limit));
}

qint64 maxVertices(const ImportOptions &options)
{
    constexpr qint64 indexLimit = std::numeric_limits<int>::max();
    return options.maxTriangles > indexLimit / 3 ? indexLimit : 3 * options.maxTriangles;
}

template class FormatImporter<float>;

} // namespace mesh::io
