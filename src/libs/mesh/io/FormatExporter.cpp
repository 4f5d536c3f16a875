#include "FormatExporter.h"

#include <concurrency/parallelFor.h>
#include <store/SafeFile.h>

#include <QFileInfo>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

constexpr qsizetype elementsPerBlock = 65'536;

/// What is known of a part of a mesh.
struct BlockCount
{
    ElementCount written{};
    qsizetype bad = -1; ///< the first element with a node that is not there; -1 for none
};

template<typename T>
BlockCount countBlock(const Mesh<T> &mesh, qsizetype begin,
                      bool (*isWritten)(const ElementData<T> &))
{
    const auto count = quint32(mesh.vertices.size());
    const qsizetype end = std::min(begin + elementsPerBlock, mesh.elements.size());
    BlockCount result;
    for (qsizetype i = begin; i < end; ++i) {
        const ElementData<T> &element = mesh.elements.at(i);
        for (const int node : element.nodes) {
            if (quint32(node) >= count && result.bad < 0)
                result.bad = i;
        }
        if (isWritten(element)) {
            ++result.written.elements;
            result.written.nodes += element.nodes.size();
        }
    }
    return result;
}

template<typename T>
Error badElement(const Mesh<T> &mesh, qsizetype index)
{
    const qsizetype count = mesh.vertices.size();
    const NodeList &nodes = mesh.elements.at(index).nodes;
    const int node =
        *std::find_if(nodes.begin(), nodes.end(), [count](int n) { return n < 0 || n >= count; });
    return {u"Element %1 has vertex index %2, but there are %3 vertices"_s.arg(
                QString::number(index), QString::number(node), QString::number(count)),
            MalformedData};
}

} // namespace

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
Result<ElementCount> countElements(const Mesh<T> &mesh, int threads,
                                   bool (*isWritten)(const ElementData<T> &))
{
    const qsizetype blocks = (mesh.elements.size() + elementsPerBlock - 1) / elementsPerBlock;
    std::vector<BlockCount> counts(static_cast<std::size_t>(blocks));
    concurrency::parallelFor(blocks, threads, [&](qsizetype block) {
        counts[std::size_t(block)] = countBlock(mesh, block * elementsPerBlock, isWritten);
    });
    ElementCount written;
    for (const BlockCount &count : counts) {
        if (count.bad >= 0)
            return badElement(mesh, count.bad);
        written.elements += count.written.elements;
        written.nodes += count.written.nodes;
    }
    return written;
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
template Result<ElementCount> countElements(const Mesh<float> &mesh, int threads,
                                            bool (*isWritten)(const ElementData<float> &));

} // namespace mesh::io
