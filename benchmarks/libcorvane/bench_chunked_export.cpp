// Samples a second of a whole chunked export to a binary STL, by scene and by threads.
#include "ExportScenes.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

/// Arguments: scene, nodes an axis, threads.
void chunkedExport(benchmark::State &state)
{
    const exports::NamedScene &named = exports::scenes()[static_cast<size_t>(state.range(0))];
    const auto nodes = static_cast<double>(state.range(1));
    const QTemporaryDir folder;
    corvane::xport::ExportRequest request =
        exports::requestFor(named, nodes, static_cast<int>(state.range(2)));
    request.outputPath = folder.filePath(u"out.stl"_s);
    state.SetLabel(named.name);
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

} // namespace

BENCHMARK(chunkedExport)
    ->ArgNames({"scene", "nodes", "threads"})
    ->ArgsProduct({{0, 1, 2, 3, 4}, {101}, {1, 2}})
    ->Args({0, 401, 1})
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
