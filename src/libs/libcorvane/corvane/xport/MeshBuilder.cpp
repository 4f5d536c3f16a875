#include <corvane/xport/MeshBuilder.h>

#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/GridFindings.h>
#include <corvane/xport/PostProcess.h>

#include <concurrency/Outcome.h>
#include <concurrency/parallelFor.h>
#include <concurrency/startThread.h>
#include <mesh/BulkList.h>
#include <mesh/io/IORegistry.h>
#include <mesh/process/OpenEdges.h>

#include <QLoggingCategory>

#include <algorithm>
#include <memory>
#include <vector>

namespace corvane::xport {

using namespace Qt::StringLiterals;
using SurfaceMesh = ::mesh::Mesh<float>;
using Vertex = ::mesh::Vector3<float>;

Q_LOGGING_CATEGORY(lcMeshBuilder, "ondrel.corvane.export.mesh", QtWarningMsg)

namespace {

constexpr float degenerateCrossSquared = 1e-20f;

// Enough that two threads seldom meet in one large page, few enough that all threads have some.
constexpr qint64 trianglesPerPart = 32'768;

Vertex vertexOf(const QVector3D &v)
{
    return {v.x(), v.y(), v.z()};
}

bool isUsable(const Vertex &a, const Vertex &b, const Vertex &c)
{
    return a.isFinite() && b.isFinite() && c.isFinite() &&
           !((b - a).cross(c - a).lengthSquared() < degenerateCrossSquared);
}

/// Some slices of a surface that one thread puts into the mesh.
struct Part
{
    std::span<const GridSurface::Slice> slices;
    qint64 kept = 0; ///< triangles that are of use; set when it is done

    qint64 begin() const { return slices.front().begin; }
    qint64 end() const { return slices.back().begin + slices.back().count; }
};

std::vector<Part> partsOf(std::span<const GridSurface::Slice> slices)
{
    std::vector<Part> parts;
    while (!slices.empty()) {
        std::size_t count = 1;
        while (count < slices.size() &&
               slices[count].begin - slices.front().begin < trianglesPerPart)
            ++count;
        parts.push_back({.slices = slices.first(count)});
        slices = slices.subspan(count);
    }
    return parts;
}

/// Makes the vertices of a part's triangles, from where its place begins, and the elements, which
/// depend on nothing but their numbers.
void makePart(const GridSurface &surface, Part &part, Vertex *vertices,
              ::mesh::ElementData<float> *elements)
{
    Vertex *to = vertices + 3 * part.begin();
    const auto add = [&to](const GridSurface::Corners &corners) {
        const Vertex a = vertexOf(corners[0]);
        const Vertex b = vertexOf(corners[1]);
        const Vertex c = vertexOf(corners[2]);
        if (!isUsable(a, b, c))
            return;
        for (const Vertex &vertex : {a, b, c})
            std::construct_at(to++, vertex);
    };
    for (const GridSurface::Slice &slice : part.slices)
        surface.visit(slice, [&add](std::span<const GridSurface::Corners> triangles) {
            std::ranges::for_each(triangles, add);
        });
    part.kept = (to - vertices) / 3 - part.begin();
    for (qint64 i = part.begin(); i < part.end(); ++i) {
        const int id = static_cast<int>(i);
        std::construct_at(elements + i, ::mesh::ElementType::Triangle,
                          ::mesh::NodeList{3 * id, 3 * id + 1, 3 * id + 2}, id, 0);
    }
}

/// Moves the vertices of all parts together where triangles are left out.
/// @return  how many triangles there are then
qint64 closeGaps(const std::vector<Part> &parts, Vertex *vertices)
{
    qint64 count = 0;
    for (const Part &part : parts) {
        const Vertex *const from = vertices + 3 * part.begin();
        if (part.begin() != count)
            std::copy(from, from + 3 * part.kept, vertices + 3 * count);
        count += part.kept;
    }
    return count;
}

/// To let go of millions of elements takes milliseconds that nobody needs to wait for.
void releaseLater(SurfaceMesh &&mesh)
{
    const auto kept = std::make_shared<SurfaceMesh>(std::move(mesh));
    concurrency::runAside("Ondrel.release", [kept] { *kept = {}; });
}

/// Whether a mesh is worth a look for open edges. What the chunks of a grid make closes by its
/// making, and the look would cost their plain export more than 3 %.
bool mayBeOpen(const ExportRequest &request)
{
    return !request.postprocess.isEmpty() ||
           request.extractor == static_cast<int>(SurfaceExtractor::OctreeDualContouring);
}

/// A mesh that is open although no box cuts it.
QList<model::SceneWarning> opennessOf(const SurfaceMesh &mesh, const ExportRequest &request,
                                      int threads)
{
    ::mesh::process::OpenEdges open;
    // To list the edges of a mesh that is not closed takes memory, and no mesh is worth less for
    // it.
    const auto outcome =
        concurrency::guarded([&] { open = ::mesh::process::findOpenEdges(mesh, threads); });
    if (!outcome.isGood())
        qCInfo(lcMeshBuilder) << "Export: open edges were not counted:" << outcome.reason();
    if (open.count == 0)
        return {};
    const QVector3D place(open.example.x, open.example.y, open.example.z);
    return {
        {.where = u"mesh, "_s + nearText(place),
         .what = u"it is not closed: %1 open edges"_s.arg(open.count),
         .remedy = request.postprocess.isEmpty()
                       ? u"Try another cell size, or extractor: \"DC\""_s
                       : u"Leave out the last step of postprocess, or try another cell size"_s}};
}

} // namespace

double MeshBuilder::bytesEach()
{
    return double(sizeof(GridSurface::Corners) + 3 * sizeof(Vertex) +
                  sizeof(::mesh::ElementData<float>));
}

SurfaceMesh MeshBuilder::assemble(GridSurface &&surface, int threads,
                                  const std::atomic_bool *cancel)
{
    const auto isCancelled = [cancel] { return cancel && cancel->load(std::memory_order_relaxed); };
    const GridSurface source = std::move(surface);
    const qint64 total = source.triangleCount();
    ::mesh::BulkList<Vertex> vertices(3 * total);
    ::mesh::BulkList<::mesh::ElementData<float>> elements(total);
    const std::vector<GridSurface::Slice> slices = source.slices();
    std::vector<Part> parts = partsOf(slices);
    concurrency::parallelFor(qsizetype(parts.size()), threads, [&](qsizetype i) {
        if (!isCancelled())
            makePart(source, parts[static_cast<std::size_t>(i)], vertices.data(), elements.data());
    });
    if (isCancelled())
        return {};
    const qint64 count = closeGaps(parts, vertices.data());
    if (count < total)
        qCInfo(lcMeshBuilder) << "Export: skipped" << total - count << "degenerate triangles";
    SurfaceMesh result;
    result.name = u"SDF Export"_s;
    result.vertices = std::move(vertices).take(3 * count);
    result.elements = std::move(elements).take(count);
    result.nextElementId = static_cast<int>(count);
    return result;
}

ExportResult MeshBuilder::buildAndSaveMesh(GridSurface &&surface, const ExportRequest &request,
                                           const std::atomic_bool &cancelFlag,
                                           const eval::DefinitionTable &definitions, bool isCut)
{
    const int threads = ChunkScheduler::resolveThreadCount(request.threadCount);
    SurfaceMesh mesh = assemble(std::move(surface), threads, &cancelFlag);
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
    options.threads = threads;
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
    if (!isCut && mayBeOpen(request))
        result.warnings = opennessOf(mesh, request, threads);
    releaseLater(std::move(mesh));
    return result;
}

} // namespace corvane::xport
