#include "FormatExporter.h"

#include <mesh/parallelFor.h>

#include <store/SafeFile.h>

#include <QFileInfo>

#include <algorithm>
#include <atomic>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

constexpr qsizetype elementsPerBlock = 65'536;

/// Calls body(begin, end) for all parts of a list.
template<typename List, typename Body>
void forBlocks(const List &list, int threads, const Body &body)
{
    const qsizetype blocks = (list.size() + elementsPerBlock - 1) / elementsPerBlock;
    parallelFor(blocks, threads, [&](qsizetype block) {
        const qsizetype begin = block * elementsPerBlock;
        body(list.cbegin() + begin,
             list.cbegin() + std::min(begin + elementsPerBlock, list.size()));
    });
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
Result<void> checkNodes(const Mesh<T> &mesh, int threads)
{
    const qsizetype count = mesh.vertices.size();
    const auto isBad = [count](const ElementData<T> &element) {
        return std::any_of(element.nodes.begin(), element.nodes.end(),
                           [count](int node) { return node < 0 || node >= count; });
    };
    std::atomic<qsizetype> first = mesh.elements.size();
    forBlocks(mesh.elements, threads, [&](auto begin, auto end) {
        const auto bad = std::find_if(begin, end, isBad);
        const qsizetype index = bad - mesh.elements.cbegin();
        for (qsizetype known = first; bad != end && index < known;) {
            if (first.compare_exchange_weak(known, index))
                break;
        }
    });
    if (first == mesh.elements.size())
        return {};
    const NodeList &nodes = mesh.elements.at(first).nodes;
    const int node =
        *std::find_if(nodes.begin(), nodes.end(), [count](int n) { return n < 0 || n >= count; });
    return Error{u"Element %1 has vertex index %2, but there are %3 vertices"_s.arg(
                     QString::number(first), QString::number(node), QString::number(count)),
                 MalformedData};
}

template<typename T>
qint64 countElements(const Mesh<T> &mesh, int threads, bool (*holds)(const ElementData<T> &))
{
    std::atomic<qint64> count = 0;
    forBlocks(mesh.elements, threads,
              [&](auto begin, auto end) { count += std::count_if(begin, end, holds); });
    return count;
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
template Result<void> checkNodes(const Mesh<float> &mesh, int threads);
template qint64 countElements(const Mesh<float> &mesh, int threads,
                              bool (*holds)(const ElementData<float> &));

} // namespace mesh::io
