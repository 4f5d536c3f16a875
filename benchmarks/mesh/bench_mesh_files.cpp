// Writing and reading files of a million triangles, the end of every export and the start of every
// import. The files lie in the folder for temporary files; what a disk does with them beyond that
// is not timed apart.

#include <support/MeshChecks.h>

#include <mesh/io/IORegistry.h>

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdlib>

using mesh::io::IORegistry;

namespace {

constexpr int rings = 501, segments = 1000; // a million triangles

const support::FloatMesh &indexed()
{
    static const support::FloatMesh sphere = support::makeSphere(4, rings, segments);
    return sphere;
}

const support::FloatMesh &soup()
{
    static const support::FloatMesh triangles = support::asSoup(indexed());
    return triangles;
}

const QTemporaryDir &folder()
{
    static const QTemporaryDir dir;
    return dir;
}

void require(bool holds, const char *what)
{
    if (holds)
        return;
    qFatal("%s", what);
}

void write(benchmark::State &state, const support::FloatMesh &surface, const char *suffix)
{
    const QString path = folder().filePath(QStringLiteral("out.") + QString::fromLatin1(suffix));
    const auto &registry = IORegistry<float>::instance();
    for (auto _ : state) {
        QFile::remove(path); // truncating the last file is not what a user waits for
        require(registry.save(surface, path).isOk(), "the mesh was not saved");
    }
    state.counters["triangles/s"] = benchmark::Counter(
        double(surface.elements.size()), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["MB"] = double(QFile(path).size()) / 1e6;
}

void read(benchmark::State &state, const char *suffix, bool merge)
{
    const QString path = folder().filePath(QStringLiteral("in.") + QString::fromLatin1(suffix));
    const auto &registry = IORegistry<float>::instance();
    require(registry.save(indexed(), path).isOk(), "the mesh was not saved");
    for (auto _ : state) {
        const auto loaded = registry.load(path, {.mergeVertices = merge});
        require(loaded && loaded.value().elements.size() == indexed().elements.size(),
                "the mesh was not read");
        benchmark::DoNotOptimize(loaded.value().vertices.constData());
    }
    state.counters["triangles/s"] = benchmark::Counter(
        double(indexed().elements.size()), benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace

BENCHMARK_CAPTURE(write, stl_soup, soup(), "stl")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(write, stl_indexed, indexed(), "stl")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(write, ply_indexed, indexed(), "ply")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(write, obj_indexed, indexed(), "obj")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(write, vtk_indexed, indexed(), "vtk")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(read, stl_loose, "stl", false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(read, stl_welded, "stl", true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(read, ply, "ply", false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(read, obj, "obj", false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(read, vtk, "vtk", false)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
