// What an edit waits for before anything is drawn: the scene as a node array, one instance
// repacked, and the text of the shader when the set of definitions changed.
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>

#include <QCoreApplication>
#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using corvane::model::Corvane;
using corvane::model::Instance;
using corvane::registry::Registry;
using corvane::render::SDFLayer;

namespace {

QUuid addInstance(Corvane &scene, const QString &definition, const QVariantMap &params)
{
    Instance instance(definition);
    instance.setParameters(params);
    return scene.addItem(instance);
}

/// Boxes that are each moved, under unions of ten: about `nodeCount` nodes.
void fillScene(Corvane &scene, int nodeCount)
{
    const QSignalBlocker quiet(scene);
    QList<QUuid> roots;
    QVariantList parts;
    for (int i = 0; i < nodeCount / 2; ++i) {
        const QUuid box = addInstance(scene, u"box"_s, {{u"width"_s, 1.0 + i % 7}});
        const QVariantMap place{{u"offset"_s, QVariantList{i % 100, i / 100, 0}},
                                {u"children"_s, QVariantList{box.toString()}}};
        parts.append(addInstance(scene, u"translate"_s, place).toString());
        if (parts.size() == 10)
            roots.append(
                addInstance(scene, u"union"_s, {{u"children"_s, std::exchange(parts, {})}}));
    }
    scene.setRoots(roots);
}

void buildNodes(benchmark::State &state)
{
    Corvane scene;
    fillScene(scene, static_cast<int>(state.range(0)));
    SDFLayer layer;
    layer.setScene(&scene);
    if (layer.generatedNodes().size() < state.range(0))
        return state.SkipWithError("nodes are missing");
    for (auto _ : state)
        layer.syncNodesFromDocument();
    state.SetItemsProcessed(state.iterations() * layer.generatedNodes().size());
}
BENCHMARK(buildNodes)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);

void repackOneInstance(benchmark::State &state)
{
    Corvane scene;
    fillScene(scene, 10000);
    SDFLayer layer;
    layer.setScene(&scene);
    const QUuid id = layer.itemIdForNodeIndex(5000);
    if (layer.nodeIndexForItem(id) != 5000)
        return state.SkipWithError("the instance has no node");
    for (auto _ : state)
        layer.updateInstanceParameters(id);
}
BENCHMARK(repackOneInstance)->Unit(benchmark::kMicrosecond);

void generateText(benchmark::State &state)
{
    const corvane::shader::SDFShaderGenerator generator(&Registry::instance());
    if (!generator.generateFragmentShader().contains("sdf_wrapper_0"_L1))
        return state.SkipWithError("the text lacks the primitives");
    for (auto _ : state)
        benchmark::DoNotOptimize(generator.generateFragmentShader());
}
BENCHMARK(generateText)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
