// What a user's tree costs: opening and saving a version 2 file, adding and removing nodes, by the
// number of nodes.
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/CorvaneDSLSerializer.h>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

/// Unions of ten below unions of ten, down to boxes with parameters, transforms and wrappers.
void fill(LogicalScene &scene, int nodes)
{
    const LogicalScene::Batch batch(scene);
    QList<QUuid> ids;
    for (int i = 0; i < nodes; ++i) {
        const QUuid parent = i > 0 ? ids.at((i - 1) / 10) : QUuid();
        const bool isInner = i * 10 + 1 < nodes;
        ids.append(scene.addInstance(isInner ? u"union"_s : u"box"_s, parent));
        if (!isInner)
            scene.setInstanceParameter(ids.last(), u"width"_s, u"=size*2"_s);
        scene.setInstanceTransform(ids.last(), {float(i), 0.5f, 0}, {}, {1, 1, 1});
    }
}

void openLogicalScene(benchmark::State &state)
{
    LogicalScene made;
    fill(made, int(state.range(0)));
    const QString text = CorvaneDSLSerializer::serializeLogical(made);
    if (CorvaneDSLParser::parseLogical(text).logicalScene->instances().size() != state.range(0))
        return state.SkipWithError("the scene did not load whole");
    for (auto step : state)
        benchmark::DoNotOptimize(CorvaneDSLParser::parseLogical(text).logicalScene);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void saveLogicalScene(benchmark::State &state)
{
    LogicalScene made;
    fill(made, int(state.range(0)));
    for (auto step : state)
        benchmark::DoNotOptimize(CorvaneDSLSerializer::serializeLogical(made));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// As many boxes in one group, and then away with them from the first on.
void addAndRemoveNodes(benchmark::State &state)
{
    for (auto step : state) {
        LogicalScene scene;
        const QUuid group = scene.addContainer(u"Group"_s);
        QList<QUuid> ids;
        for (int i = 0; i < int(state.range(0)); ++i)
            ids.append(scene.addInstance(u"box"_s, group));
        for (const QUuid &id : std::as_const(ids))
            scene.removeInstance(id);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(openLogicalScene)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(saveLogicalScene)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(addAndRemoveNodes)->Arg(1000)->Arg(10000)->Arg(50000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
