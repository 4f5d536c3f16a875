#include <corvane/xport/MeshBuilder.h>

#include <corvane/xport/PostProcess.h>

#include <mesh/io/IORegistry.h>

#include <QLoggingCategory>

namespace corvane::xport {

using namespace Qt::StringLiterals;
using SurfaceMesh = ::mesh::Mesh<float>;
using Vertex = ::mesh::Vector3<float>;

Q_LOGGING_CATEGORY(lcMeshBuilder, "ondrel.corvane.export.mesh", QtWarningMsg)

namespace {

constexpr float degenerateCrossSquared = 1e-20f;

Vertex vertexOf(const QVector3D &v)
{
    return {v.x(), v.y(), v.z()};
}

bool isUsable(const Vertex &a, const Vertex &b, const Vertex &c)
{
    return a.isFinite() && b.isFinite() && c.isFinite() &&
           !((b - a).cross(c - a).lengthSquared() < degenerateCrossSquared);
}

/// False for a triangle that is no use.
bool addTriangle(SurfaceMesh &out, const mesh::Triangle &triangle)
{
    const Vertex a = vertexOf(triangle.vertices[0]);
    const Vertex b = vertexOf(triangle.vertices[1]);
    const Vertex c = vertexOf(triangle.vertices[2]);
    if (!isUsable(a, b, c))
        return false;
    const int first = static_cast<int>(out.vertices.size());
    out.vertices << a << b << c;
    out.addElement(::mesh::ElementType::Triangle, {first, first + 1, first + 2});
    return true;
}

} // namespace

SurfaceMesh MeshBuilder::assemble(GridSurface &&surface)
{
    SurfaceMesh result;
    result.name = u"SDF Export"_s;
    result.vertices.reserve(surface.triangleCount() * 3);
    result.elements.reserve(surface.triangleCount());
    qsizetype skipped = 0;
    std::move(surface).drain([&](std::span<const mesh::Triangle> triangles) {
        for (const mesh::Triangle &triangle : triangles)
            skipped += addTriangle(result, triangle) ? 0 : 1;
    });
    if (skipped > 0)
        qCInfo(lcMeshBuilder) << "Export: skipped" << skipped << "degenerate triangles";
    return result;
}

ExportResult MeshBuilder::buildAndSaveMesh(GridSurface &&surface, const ExportRequest &request,
                                           const std::atomic_bool &cancelFlag,
                                           const eval::DefinitionTable &definitions)
{
    SurfaceMesh mesh = assemble(std::move(surface));
    const QString error = postProcess(mesh, request, definitions, cancelFlag);
    if (cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    if (!error.isEmpty())
        return ExportResult::failed(error);
    if (mesh.elements.isEmpty())
        return ExportResult::failed(u"Export produced no triangles — the source may be hidden or "
                                    "outside the export bounds"_s);
    ::mesh::io::ExportOptions options;
    options.progress = [&cancelFlag](qint64, qint64) { return !cancelFlag.load(); };
    const auto saved =
        ::mesh::io::IORegistry<float>::instance().save(mesh, request.outputPath, options);
    if (!saved && cancelFlag.load())
        return ExportResult::failed(u"Export cancelled"_s);
    if (!saved)
        return ExportResult::failed(u"Failed to save mesh: %1"_s.arg(saved.error().message));
    ExportResult result;
    result.success = true;
    result.triangleCount = mesh.elements.size();
    result.vertexCount = mesh.vertices.size();
    return result;
}

} // namespace corvane::xport
