// Meshes read from bytes and written to bytes, for the tests of the formats.
#pragma once

#include <support/MeshChecks.h>

#include <mesh/io/Exporter.h>
#include <mesh/io/Importer.h>

#include <QBuffer>

namespace support {

using mesh::io::ExportOptions;
using mesh::io::ImportOptions;
using mesh::io::Result;

template<typename Importer>
Result<FloatMesh> readBytes(const QByteArray &bytes, const ImportOptions &options = {})
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return Importer().read(buffer, options);
}

/// The text of the error with its code, such as "3: Not a PLY file"; empty for success.
template<typename Importer>
QString readError(const QByteArray &bytes, const ImportOptions &options = {})
{
    const auto result = readBytes<Importer>(bytes, options);
    return result ? QString()
                  : QString::number(result.error().code) + QStringLiteral(": ") +
                        result.error().message;
}

template<typename Exporter>
QByteArray writeBytes(const FloatMesh &surface, const ExportOptions &options = {})
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto written = Exporter().write(surface, buffer, options);
    return written ? buffer.data() : "error: " + written.error().message.toUtf8();
}

/// Every proper beginning of a file must end in an error or a smaller mesh, never in a crash.
template<typename Importer>
void readAllBeginnings(const QByteArray &bytes)
{
    for (qsizetype length = 0; length < bytes.size(); ++length)
        (void)readBytes<Importer>(bytes.left(length)).isOk();
}

} // namespace support
