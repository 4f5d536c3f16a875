// Whole exports by the extractors that keep edges, and of volumes, beside marching cubes: by scene
// and by threads.
#include "ExportScenes.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using corvane::xport::ExportAlgorithm;
using corvane::xport::ExportBackend;
using corvane::xport::SurfaceExtractor;

namespace {

struct Way
{
    const char *name;
    SurfaceExtractor extractor;
    ExportAlgorithm algorithm;
    const char *file;
};

constexpr Way ways[] = {
    {"marching cubes", SurfaceExtractor::MarchingCubes, ExportAlgorithm::Surface, "out.stl"},
    {"dual contouring", SurfaceExtractor::DualContouring, ExportAlgorithm::Surface, "out.stl"},
    {"octree", SurfaceExtractor::OctreeDualContouring, ExportAlgorithm::Surface, "out.stl"},
    {"volume", SurfaceExtractor::MarchingCubes, ExportAlgorithm::Volume, "out.vtk"},
};

/// Arguments: way, scene, nodes an axis, threads, backend.
void sharpExport(benchmark::State &state)
{
    const Way &way = ways[state.range(0)];
    const exports::NamedScene &named = exports::scenes()[static_cast<size_t>(state.range(1))];
    const auto nodes = static_cast<double>(state.range(2));
    const QTemporaryDir folder;
    corvane::xport::ExportRequest request =
        exports::requestFor(named, nodes, static_cast<int>(state.range(3)));
    request.extractor = static_cast<int>(way.extractor);
    request.algorithm = static_cast<int>(way.algorithm);
    request.backend = static_cast<int>(state.range(4));
    request.outputPath = folder.filePath(QLatin1StringView(way.file));
    state.SetLabel(std::string(named.name) + ", " + way.name);
    qint64 elements = 0;
    for (auto _ : state) {
        const corvane::xport::ExportResult result = exports::exported(request);
        elements = result.triangleCount + result.tetrahedronCount;
        if (!result.success) {
            state.SkipWithError(qPrintable(result.errorMessage));
            return;
        }
    }
    state.counters["elements"] = static_cast<double>(elements);
}

constexpr auto cpu = static_cast<int64_t>(ExportBackend::Cpu);
constexpr auto native = static_cast<int64_t>(ExportBackend::Native);

} // namespace

BENCHMARK(sharpExport)
    ->ArgNames({"way", "scene", "nodes", "threads", "backend"})
    ->ArgsProduct({{0, 1, 2, 3}, {0, 1, 2, 3, 4}, {101}, {1}, {cpu}})
    ->ArgsProduct({{0, 1}, {0, 1, 2, 3, 4}, {201}, {1, 2}, {cpu, native}})
    ->ArgsProduct({{3}, {4}, {201}, {1, 2}, {cpu}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
