#include "StlImporter.h"

#include "ByteReader.h"
#include "ProgressTicker.h"
#include "StlAsciiReader.h"

#include <mesh/process/VertexMerger.h>

#include <QIODevice>
#include <QtEndian>

#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace mesh::io {

namespace {

constexpr qint64 headerSize = 80;
constexpr qint64 bodyOffset = 84;
constexpr qint64 recordSize = 50; // normal, three corners, 16-bit attribute

struct Layout
{
    bool binary = false;
    qint64 count = 0; // triangles: told by a binary file, estimated for text
    QByteArray header;
};

bool beginsSolid(const QByteArray &header)
{
    return header.trimmed().toLower().startsWith("solid");
}

Result<Layout> estimateAscii(qint64 size, const ImportOptions &options)
{
    constexpr qint64 bytesPerFacet = 200;
    const qint64 estimate = size / bytesPerFacet;
    if (estimate > options.maxTriangles)
        return limitExceeded(u"Estimated %1 triangles exceeds limit of %2"_s.arg(
            QString::number(estimate), QString::number(options.maxTriangles)));
    return Layout{.binary = false, .count = estimate, .header = {}};
}

// The binary count decides before the header's words do; trailing bytes are some programs' habit.
Result<Layout> detect(QIODevice &device, const ImportOptions &options)
{
    constexpr qint64 mostTrailing = 1000;
    constexpr qint64 countLimit = 500'000'000;
    const qint64 size = device.size() - device.pos();
    const QByteArray start = device.peek(bodyOffset);
    if (size < bodyOffset) {
        if (!beginsSolid(start))
            return malformed(u"File too small and not valid ASCII STL"_s);
        return estimateAscii(size, options);
    }
    if (start.size() < headerSize)
        return Error{u"Failed to read STL header"_s, ShortRead};
    if (start.size() < bodyOffset)
        return Error{u"Failed to read triangle count"_s, ShortRead};
    const Layout binary{.binary = true,
                        .count = qFromLittleEndian<quint32>(start.constData() + headerSize),
                        .header = start.left(headerSize)};
    const qint64 exactSize = bodyOffset + recordSize * binary.count;
    if (size == exactSize)
        return binary;
    if (beginsSolid(binary.header))
        return estimateAscii(size, options);
    if (binary.count >= 1 && binary.count < countLimit && size <= exactSize + mostTrailing)
        return binary;
    return malformed(u"Cannot determine STL format"_s);
}

QString nameFromHeader(const QByteArray &header)
{
    const QByteArray text = header.left(qstrnlen(header.constData(), size_t(header.size())));
    return QString::fromLatin1(text.split('\n').first()).trimmed();
}

template<typename T>
Vector3<T> pointAt(const char *record)
{
    const auto number = [record](int i) {
        return T(qFromLittleEndian<float>(record + i * qsizetype(sizeof(float))));
    };
    return {number(0), number(1), number(2)};
}

template<typename T>
std::optional<Error> readTriangle(ByteReader &reader, Mesh<T> &mesh, qint64 index, qint64 count)
{
    char record[recordSize];
    if (!reader.read(record, recordSize))
        return Error{u"Unexpected end of file at triangle %1 of %2"_s.arg(QString::number(index),
                                                                          QString::number(count)),
                     ShortRead};
    constexpr int pointSize = 3 * sizeof(float);
    const int first = int(mesh.vertices.size());
    for (int corner = 1; corner <= 3; ++corner) { // behind the normal
        const auto p = pointAt<T>(record + corner * pointSize);
        if (!p.isFinite())
            return malformed(u"Invalid coordinates (NaN/Inf) at triangle %1"_s.arg(index));
        mesh.vertices.append(p);
    }
    mesh.addElement(ElementType::Triangle, {first, first + 1, first + 2});
    return {};
}

template<typename T>
Result<Mesh<T>> readBinary(QIODevice &device, const Layout &layout, const ImportOptions &options)
{
    constexpr qint64 indexLimit = std::numeric_limits<int>::max() / 3;
    const qint64 limit = qMin(options.maxTriangles, indexLimit);
    if (layout.count > limit)
        return limitExceeded(u"Triangle count %1 exceeds limit of %2"_s.arg(
            QString::number(layout.count), QString::number(limit)));
    Mesh<T> mesh;
    mesh.name = nameFromHeader(layout.header);
    ByteReader reader(device);
    reader.skip(bodyOffset);
    const qint64 held = qMin(layout.count, reader.remaining() / recordSize);
    mesh.vertices.reserve(3 * held);
    mesh.elements.reserve(held);
    const ProgressTicker ticker(options, layout.count);
    for (qint64 i = 0; i < layout.count; ++i) {
        if (!ticker.tick(i))
            return Error{u"Operation cancelled at triangle %1"_s.arg(i), Cancelled};
        if (auto failure = readTriangle(reader, mesh, i, layout.count))
            return *std::move(failure);
    }
    return mesh;
}

template<typename T>
Result<Mesh<T>> finished(Result<Mesh<T>> read, const ImportOptions &options)
{
    if (!read)
        return read;
    if (options.mergeVertices) {
        const auto merged = process::VertexMerger<T>().process(
            read.value(),
            {.parameters = {{u"tolerance"_s, options.mergeTolerance}}, .progress = {}});
        if (!merged)
            return merged.error();
    }
    if (options.recalculateNormals)
        read.value().recalculateNormals();
    return read;
}

} // namespace

template<typename T>
StlImporter<T>::StlImporter()
    : FormatImporter<T>("STL"_L1)
{}

template<typename T>
Result<Mesh<T>> StlImporter<T>::read(QIODevice &device, const ImportOptions &options) const
{
    if (!device.isReadable())
        return malformed(u"Device is not open for reading"_s);
    SizedInput input(device);
    if (!input.device())
        return pipeTooLong();
    const auto layout = detect(*input.device(), options);
    if (!layout)
        return layout.error();
    return finished(layout.value().binary
                        ? readBinary<T>(*input.device(), layout.value(), options)
                        : readAsciiStl<T>(*input.device(), options, layout.value().count),
                    options);
}

template class StlImporter<float>;

} // namespace mesh::io
