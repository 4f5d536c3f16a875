// Making an indexed mesh of a soup of triangles, and asking whether it is closed: what follows
// every extraction.

#include <support/MeshChecks.h>

#include <benchmark/benchmark.h>

namespace {

constexpr int segments = 400;

support::FloatMesh sphereOf(int triangles)
{
    return support::makeSphere(4, triangles / (2 * segments) + 1, segments);
}

void require(bool holds, const char *what)
{
    if (!holds)
        qFatal("%s", what);
}

void weld(benchmark::State &state, double tolerance)
{
    const support::FloatMesh sphere = sphereOf(int(state.range(0)));
    const support::FloatMesh soup = support::asSoup(sphere);
    require(support::welded(soup, tolerance).vertices.size() == sphere.vertices.size(),
            "the soup was not welded");
    for (auto _ : state)
        benchmark::DoNotOptimize(support::welded(soup, tolerance).vertices.constData());
    state.counters["triangles/s"] = benchmark::Counter(
        double(soup.elements.size()), benchmark::Counter::kIsIterationInvariantRate);
}

void closedManifold(benchmark::State &state)
{
    const support::FloatMesh sphere = sphereOf(int(state.range(0)));
    for (auto _ : state)
        require(support::isClosedManifold(sphere), "the sphere is not closed");
    state.counters["triangles/s"] = benchmark::Counter(
        double(sphere.elements.size()), benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace

BENCHMARK_CAPTURE(weld, exact, 0.0)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(weld, tolerance, 1e-6)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(closedManifold)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
