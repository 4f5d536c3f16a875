#include "StlExporter.h"

#include "BlockWriter.h"
#include "ItemWriter.h"

#include <QIODevice>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

constexpr qsizetype headerSize = 80;
constexpr qsizetype recordSize = 50;

template<typename T>
bool isWritten(const ElementData<T> &element)
{
    return element.type == ElementType::Triangle && element.nodes.size() == 3;
}

Error stoppedAt(qint64 triangle, const BlockWriter &writer)
{
    return writer.hasFailed()
               ? writeFailure(u"Failed to write triangle %1"_s.arg(triangle))
               : Error{u"Operation cancelled at triangle %1"_s.arg(triangle), Cancelled};
}

template<typename T>
struct Facet
{
    Vector3<T> normal, corners[3];
};

// Very small and very large triangles have a direction too, but their squares leave the range of a
// float.
template<typename T>
Vector3<T> normalOfExtreme(const Vector3<T> (&corners)[3])
{
    const auto edge = [&](int i) {
        return Vector3<double>{double(corners[i].x) - corners[0].x,
                               double(corners[i].y) - corners[0].y,
                               double(corners[i].z) - corners[0].z};
    };
    const Vector3<double> wide = edge(1).cross(edge(2)).normalized();
    return {T(wide.x), T(wide.y), T(wide.z)};
}

template<typename T>
inline Vector3<T> normalOf(const Vector3<T> (&corners)[3])
{
    const Vector3<T> cross = (corners[1] - corners[0]).cross(corners[2] - corners[0]);
    const T size = cross.lengthSquared();
    if (size > T(1e-30) && size < T(1e30)) [[likely]]
        return cross / std::sqrt(size);
    return normalOfExtreme(corners);
}

template<typename T>
inline Facet<T> facetOf(const Mesh<T> &mesh, const ElementData<T> &element)
{
    const int *const nodes = element.nodes.data();
    Facet<T> facet;
    for (int i = 0; i < 3; ++i)
        facet.corners[i] = mesh.vertices.at(nodes[i]);
    facet.normal = normalOf(facet.corners);
    return facet;
}

template<typename T>
char *putPoint(char *to, const Vector3<T> &p)
{
    for (const T coordinate : {p.x, p.y, p.z})
        to = putLittleEndian(to, float(coordinate));
    return to;
}

template<typename T>
void putFacet(char *to, const Facet<T> &facet)
{
    to = putPoint(to, facet.normal);
    for (const Vector3<T> &corner : facet.corners)
        to = putPoint(to, corner);
    putLittleEndian(to, quint16(0));
}

/// The format of a list of elements: those that are written, one after the other.
template<typename T, typename Put>
ItemWriter::Format facetsOf(const Mesh<T> &mesh, const Put &put)
{
    return [&mesh, put](BlockWriter &to, qsizetype begin, qsizetype end) {
        qsizetype count = 0;
        for (qsizetype i = begin; i < end; ++i) {
            const ElementData<T> &element = mesh.elements.at(i);
            if (!isWritten(element))
                continue;
            put(to, facetOf(mesh, element));
            ++count;
        }
        return count;
    };
}

template<typename T>
QString headerName(const Mesh<T> &mesh, const ExportOptions &options)
{
    return options.name.isEmpty() ? mesh.name : options.name;
}

template<typename T>
Result<void> writeBinary(const Mesh<T> &mesh, qint64 count, QIODevice &device,
                         const ExportOptions &options)
{
    BlockWriter writer(device);
    const QString name = headerName(mesh, options);
    const QByteArray text = name.isEmpty() ? "STL binary file"_ba : name.toLatin1();
    writer << text.left(headerSize).leftJustified(headerSize, '\0');
    if (!writer.flush())
        return writeFailure(u"Failed to write header"_s);
    putLittleEndian(writer.claim(sizeof(quint32)), quint32(count));
    if (!writer.flush())
        return writeFailure(u"Failed to write triangle count"_s);
    ItemWriter items(writer, options, count);
    const auto put = [](BlockWriter &to, const Facet<T> &facet) {
        putFacet(to.claim(recordSize), facet);
    };
    if (!items.write(mesh.elements.size(), facetsOf(mesh, put)) || !writer.flush())
        return stoppedAt(items.done(), writer);
    return {};
}

template<typename T>
void writePoint(BlockWriter &writer, QByteArrayView keyword, const Vector3<T> &p, int precision)
{
    writer << keyword;
    for (const T coordinate : {p.x, p.y, p.z}) {
        writer << " ";
        writer.appendReal(coordinate, BlockWriter::Notation::General, precision);
    }
    writer << "\n";
}

template<typename T>
void writeFacet(BlockWriter &writer, const Facet<T> &facet, int precision)
{
    writePoint(writer, "  facet normal", facet.normal, precision);
    writer << "    outer loop\n";
    for (const Vector3<T> &corner : facet.corners)
        writePoint(writer, "      vertex", corner, precision);
    writer << "    endloop\n  endfacet\n";
}

template<typename T>
Result<void> writeAscii(const Mesh<T> &mesh, qint64 count, QIODevice &device,
                        const ExportOptions &options)
{
    BlockWriter writer(device);
    QByteArray name = singleLine(headerName(mesh, options));
    if (name.isEmpty())
        name = "mesh";
    writer << "solid " << name << "\n";
    if (!writer.flush())
        return writeFailure(u"Failed to write solid header"_s);
    const int precision = options.effectivePrecision();
    ItemWriter items(writer, options, count);
    const auto put = [precision](BlockWriter &to, const Facet<T> &facet) {
        writeFacet(to, facet, precision);
    };
    if (!items.write(mesh.elements.size(), facetsOf(mesh, put)) || !writer.flush())
        return stoppedAt(items.done(), writer);
    writer << "endsolid " << name << "\n";
    if (!writer.flush())
        return writeFailure(u"Failed to write endsolid"_s);
    return {};
}

} // namespace

template<typename T>
StlExporter<T>::StlExporter()
    : FormatExporter<T>("STL"_L1)
{}

template<typename T>
Result<void> StlExporter<T>::write(const Mesh<T> &mesh, QIODevice &device,
                                   const ExportOptions &options) const
{
    if (!device.isWritable())
        return writeFailure(u"Device is not open for writing"_s);
    const Result<ElementCount> count = countElements<T>(mesh, options.threads, isWritten<T>);
    if (!count)
        return count.error();
    return options.effectiveBinary() ? writeBinary(mesh, count.value().elements, device, options)
                                     : writeAscii(mesh, count.value().elements, device, options);
}

template class StlExporter<float>;

} // namespace mesh::io
