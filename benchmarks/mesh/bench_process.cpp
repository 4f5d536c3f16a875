// The steps that make a mesh fit to ship, on surfaces of growing size: the time a triangle must
// hardly grow with them.

#include <mesh/process/CoplanarMerge.h>
#include <mesh/process/IsotropicRemesh.h>
#include <mesh/process/QuadricSimplification.h>
#include <mesh/process/SdfProjection.h>
#include <support/MeshChecks.h>
#include <support/VoxelSurface.h>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using mesh::process::MeshProcessor;
using support::FloatMesh;
using support::Point;

namespace {

void require(bool holds, const char *what)
{
    if (!holds)
        qFatal("%s", what);
}

FloatMesh sphereOf(qint64 triangles)
{
    const int rings = int(std::sqrt(double(triangles) / 4)) + 1;
    return support::makeSphere(1, rings, 2 * rings);
}

mesh::process::SdfSample<float> sphereField(const Point &p)
{
    return {p.length() - 1, p.normalized()};
}

void run(benchmark::State &state, const MeshProcessor<float> &step, const FloatMesh &input,
         const QVariantMap &parameters)
{
    FloatMesh result;
    for (auto _ : state) {
        result = input;
        require(step.process(result, {.parameters = parameters}).isOk(), "the step failed");
    }
    require(support::isClosedManifold(result), "the result is not closed");
    state.counters["triangles in"] = double(input.elements.size());
    state.counters["triangles out"] = double(result.elements.size());
    state.counters["triangles/s"] = benchmark::Counter(
        double(input.elements.size()), benchmark::Counter::kIsIterationInvariantRate);
}

void qemDecimate(benchmark::State &state)
{
    const mesh::process::QuadricSimplification<float> step;
    run(state, step, sphereOf(state.range(0)), {{u"targetRatio"_s, 0.1}});
}

void sdfProject(benchmark::State &state)
{
    const mesh::process::SdfProjection<float> step({.sampler = sphereField});
    run(state, step, sphereOf(state.range(0)), {});
}

// A plate two cells thick with holes of three by three cells.
void coplanarMergePlate(benchmark::State &state)
{
    const int side = int(state.range(0));
    const FloatMesh plate = support::makeVoxelSurface({side, side, 2}, [side](int x, int y, int) {
        const bool isInside = x < side - 3 && y < side - 3;
        return !isInside || x % 12 < 9 || y % 12 < 9;
    });
    run(state, mesh::process::CoplanarMerge<float>(), plate, {});
}

void coplanarMergeSphere(benchmark::State &state)
{
    run(state, mesh::process::CoplanarMerge<float>(), sphereOf(state.range(0)), {});
}

void remesh(benchmark::State &state)
{
    run(state, mesh::process::IsotropicRemesh<float>({.sampler = sphereField}),
        sphereOf(state.range(0)), {});
}

} // namespace

BENCHMARK(coplanarMergePlate)->Arg(75)->Arg(150)->Arg(300)->Unit(benchmark::kMillisecond);
BENCHMARK(coplanarMergeSphere)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(remesh)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(sdfProject)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(qemDecimate)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
