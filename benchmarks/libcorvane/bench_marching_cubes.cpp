// Triangles a second of the mesher alone: chunks of 64 cells over a sphere, sampled beforehand.
#include <corvane/mesh/MarchingCubes.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

using corvane::mesh::marchingCubes;
using corvane::mesh::ScalarField3D;
using corvane::mesh::Triangle;

namespace {

constexpr int side = 64;

struct Chunk
{
    ScalarField3D field;
    std::vector<float> samples;
};

/// A sphere of radius 4 in the box from -5 to 5, as the pieces of a chunked export.
std::vector<Chunk> sampledSphere(int nodes)
{
    std::vector<Chunk> chunks;
    const auto nodesFrom = [nodes](int first) { return std::min(side, nodes - 1 - first) + 1; };
    for (int z = 0; z < nodes - 1; z += side)
        for (int y = 0; y < nodes - 1; y += side)
            for (int x = 0; x < nodes - 1; x += side) {
                Chunk &chunk = chunks.emplace_back();
                ScalarField3D &f = chunk.field;
                f = {.nx = nodesFrom(x), .ny = nodesFrom(y), .nz = nodesFrom(z)};
                f.origin = {-5, -5, -5};
                f.cellSize = 10.0f / static_cast<float>(nodes - 1);
                f.firstX = x;
                f.firstY = y;
                f.firstZ = z;
                chunk.samples.resize(f.index(0, 0, f.nz));
                for (int k = 0; k < f.nz; ++k)
                    for (int j = 0; j < f.ny; ++j)
                        for (int i = 0; i < f.nx; ++i)
                            chunk.samples[f.index(i, j, k)] =
                                QVector3D(f.x(i), f.y(j), f.z(k)).length() - 4.0f;
            }
    for (Chunk &chunk : chunks)
        chunk.field.values = chunk.samples.data();
    return chunks;
}

double volumeOf(const QList<Triangle> &triangles)
{
    double volume = 0.0;
    for (const Triangle &t : triangles)
        volume += static_cast<double>(QVector3D::dotProduct(
            t.vertices[0], QVector3D::crossProduct(t.vertices[1], t.vertices[2])));
    return volume / 6.0;
}

void sphere(benchmark::State &state)
{
    const std::vector<Chunk> chunks = sampledSphere(static_cast<int>(state.range(0)));
    double volume = 0.0;
    for (const Chunk &chunk : chunks) {
        QList<Triangle> triangles;
        marchingCubes(chunk.field, triangles);
        volume += volumeOf(triangles);
    }
    if (std::fabs(volume - 268.08) > 0.5) {
        state.SkipWithError("the mesh does not enclose the sphere");
        return;
    }
    qint64 count = 0;
    for (auto _ : state) {
        for (const Chunk &chunk : chunks) {
            QList<Triangle> triangles;
            marchingCubes(chunk.field, triangles);
            count += triangles.size();
        }
    }
    state.counters["triangles/s"] =
        benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(sphere)->ArgName("nodes")->Arg(101)->Arg(201)->Arg(401)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
