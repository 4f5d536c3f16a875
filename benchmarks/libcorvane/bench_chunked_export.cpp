// Samples a second of a whole chunked export to a binary STL, by scene and by threads.
#include <corvane/xport/ExportPipeline.h>

#include <support/NodeTree.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace corvane::xport;
using support::NodeTree;

namespace {

using Scene = int (*)(NodeTree &);

int moved(NodeTree &tree, float x, float y, float z, int child)
{
    return tree.add("translate"_L1, {x, y, z}, {child});
}

int sphere(NodeTree &tree)
{
    return tree.add("sphere"_L1, {4});
}

int csg(NodeTree &tree)
{
    const int box = tree.add("box"_L1, {2.98f, 0.98f, 2.98f});
    const int a = moved(tree, -1.51f, 0, 0, tree.add("cylinder"_L1, {0.61f, 4}));
    const int b = moved(tree, 1.51f, 0, -1.21f, tree.add("cylinder"_L1, {0.61f, 4}));
    const int c = moved(tree, 1.51f, 0, 1.21f, tree.add("cylinder"_L1, {0.61f, 4}));
    const int ring = moved(tree, 0, 1.21f, 0, tree.add("torus"_L1, {2.21f, 0.51f}));
    return tree.add("smooth_union"_L1, {0.3f}, {tree.add("subtract"_L1, {}, {box, a, b, c}), ring});
}

int gyroid(NodeTree &tree)
{
    return tree.add("intersect"_L1, {},
                    {tree.add("gyroid"_L1, {2, 0.3f}), tree.add("sphere"_L1, {4})});
}

/// 27 boxes and spheres, blended.
int grid(NodeTree &tree)
{
    QList<int> parts;
    for (int i = 0; i < 27; ++i) {
        const int shape =
            i % 2 == 0 ? tree.add("sphere"_L1, {1.22f}) : tree.add("box"_L1, {0.98f, 0.98f, 0.98f});
        const auto at = [](int step) { return static_cast<float>(step % 3 - 1) * 2.4f; };
        parts << moved(tree, at(i), at(i / 3), at(i / 9), shape);
    }
    return tree.addNode(u"smooth_union"_s, {0.5f}, parts);
}

struct NamedScene
{
    const char *name;
    Scene scene;
};

constexpr NamedScene scenes[] = {
    {"sphere", sphere},
    {"csg", csg},
    {"gyroid", gyroid},
    {"grid", grid},
};

ExportResult exported(const ExportRequest &request)
{
    ExportPipeline pipeline;
    ExportResult result;
    QObject::connect(&pipeline, &ExportPipeline::finished, qApp, [&](const ExportResult &end) {
        result = end;
        QCoreApplication::quit();
    });
    pipeline.run(request);
    QCoreApplication::exec();
    return result;
}

/// Arguments: scene, nodes an axis, threads.
void chunkedExport(benchmark::State &state)
{
    const NamedScene &named = scenes[state.range(0)];
    const auto nodes = static_cast<double>(state.range(1));
    const QTemporaryDir folder;
    NodeTree tree;
    ExportRequest request;
    request.rootNodeIndex = named.scene(tree);
    request.nodes = tree.nodes;
    request.cellSize = static_cast<float>(10.0 / (nodes - 1.0));
    request.threadCount = static_cast<int>(state.range(2));
    request.outputPath = folder.filePath(u"out.stl"_s);
    state.SetLabel(named.name);
    qint64 triangles = 0;
    for (auto _ : state) {
        const ExportResult result = exported(request);
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
    ->ArgsProduct({{0, 1, 2, 3}, {101}, {1, 2}})
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
