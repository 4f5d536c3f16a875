// Samples a second of a whole chunked export to a binary STL, by scene and by threads, and by what
// evaluates the field. Needs a device for the graphics processor; Mesa's in software will do.
#include "ExportScenes.h"

#include <eval/gpu/GpuBackend.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <string>

using namespace Qt::StringLiterals;
using corvane::xport::ExportBackend;

namespace {

/// Times exports of a scene; the label says which.
void timeExport(benchmark::State &state, size_t scene, double nodes, int threads,
                ExportBackend backend)
{
    const exports::NamedScene &named = exports::scenes()[scene];
    const QTemporaryDir folder;
    corvane::xport::ExportRequest request = exports::requestFor(named, nodes, threads);
    request.outputPath = folder.filePath(u"out.stl"_s);
    request.backend = static_cast<int>(backend);
    qint64 triangles = 0;
    for (auto _ : state) {
        const corvane::xport::ExportResult result = exports::exported(request);
        triangles = result.triangleCount;
        if (!result.success) {
            state.SkipWithError(qPrintable(result.errorMessage));
            return;
        }
    }
    state.counters["triangles"] = static_cast<double>(triangles);
    state.counters["samples/s"] =
        benchmark::Counter(nodes * nodes * nodes * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
}

/// Arguments: scene, nodes an axis, threads.
void chunkedExport(benchmark::State &state)
{
    const auto scene = static_cast<size_t>(state.range(0));
    state.SetLabel(exports::scenes()[scene].name);
    timeExport(state, scene, static_cast<double>(state.range(1)), static_cast<int>(state.range(2)),
               ExportBackend::Cpu);
}

/// Arguments: scene, nodes an axis, ExportBackend.
void exportByBackend(benchmark::State &state)
{
    constexpr const char *names[] = {"processor", "device", "native"};
    const auto scene = static_cast<size_t>(state.range(0));
    const auto backend = static_cast<size_t>(state.range(2));
    state.SetLabel(std::string(exports::scenes()[scene].name) + ", " + names[backend]);
    timeExport(state, scene, static_cast<double>(state.range(1)), 2,
               static_cast<ExportBackend>(backend));
}

} // namespace

BENCHMARK(chunkedExport)
    ->ArgNames({"scene", "nodes", "threads"})
    ->ArgsProduct({{0, 1, 2, 3, 4}, {101}, {1, 2}})
    ->Args({0, 401, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

BENCHMARK(exportByBackend)
    ->ArgNames({"scene", "nodes", "backend"})
    ->ArgsProduct({{0, 1, 2, 3, 4}, {201}, {0, 2, 1}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

int main(int argc, char **argv)
{
    eval::gpu::registerGpuBackend();
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
