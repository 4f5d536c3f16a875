// What a user waits for while editing: each move of a drag, an op, the way back.
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>

#include <QUndoStack>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using namespace corvane;
namespace OpKind = ops::OpKind;

namespace {

/// `nodes` boxes, a hundred to a union, with compiler and expressions at work as in the editor.
struct EditedScene
{
    explicit EditedScene(qsizetype nodes)
        : expressions(document.data())
    {
        {
            const model::LogicalScene::Batch batch(tree);
            QUuid parent;
            for (qsizetype i = 0; i < nodes; ++i) {
                if (i % 100 == 0)
                    parent = tree.addInstance(u"union"_s);
                boxes.append(tree.addInstance(u"box"_s, parent));
            }
        }
        compiler.setSource(&tree);
        compiler.setTarget(document.data());
        compiler.fullCompile();
        executor.setLogicalScene(&tree);
    }

    bool move(const QUuid &id, double x)
    {
        return executor.apply({OpKind::ItemSetTransform,
                               {{u"itemId"_s, id}, {u"translate"_s, QVariantList{x, 0, 0}}}});
    }

    QSharedPointer<model::Corvane> document = QSharedPointer<model::Corvane>::create();
    expr::ExpressionManager expressions;
    model::LogicalScene tree;
    model::LogicalSceneCompiler compiler;
    ops::CorvaneOpExecutor executor{document};
    QList<QUuid> boxes;
};

void dragOnScene(benchmark::State &state)
{
    EditedScene scene(state.range(0));
    scene.executor.beginCoalescing(u"Drag"_s);
    double x = 0.0;
    for (auto _ : state)
        benchmark::DoNotOptimize(scene.move(scene.boxes.at(7), x += 0.01));
    scene.executor.endCoalescing();
    if (scene.executor.undoStack()->count() != 1)
        state.SkipWithError("a drag must be one step");
}
BENCHMARK(dragOnScene)->Arg(1000)->Arg(10000)->Iterations(1000)->Unit(benchmark::kMicrosecond);

/// Steps are pushed, taken back and done again; per step the time must not grow with their number.
void undoSteps(benchmark::State &state)
{
    for (auto _ : state) {
        EditedScene scene(1000);
        for (qint64 step = 0; step < state.range(0); ++step)
            scene.move(scene.boxes.at(step % scene.boxes.size()), 1.0 + 0.001 * double(step));
        scene.executor.undoStack()->setIndex(0);
        scene.executor.undoStack()->setIndex(int(state.range(0)));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(undoSteps)->Arg(1000)->Arg(10000)->Arg(50000)->Iterations(1)->Unit(
    benchmark::kMillisecond);

/// Nodes added one by one below one parent, then removed together and brought back.
void addAndRemove(benchmark::State &state)
{
    for (auto _ : state) {
        EditedScene scene(0);
        scene.compiler.setTarget(nullptr); // every added node would compile all anew
        scene.executor.apply(
            {OpKind::ItemAdd, {{u"itemType"_s, u"sdf"_s}, {u"definitionId"_s, u"union"_s}}});
        const QUuid parent = scene.executor.lastCreatedId();
        for (qint64 i = 0; i < state.range(0); ++i)
            scene.executor.apply({OpKind::ItemAdd,
                                  {{u"itemType"_s, u"sdf"_s},
                                   {u"definitionId"_s, u"box"_s},
                                   {u"parentId"_s, parent}}});
        scene.executor.apply({OpKind::ItemRemove, {{u"itemId"_s, parent}}});
        scene.executor.undoStack()->undo();
        if (scene.tree.children(parent).size() != state.range(0))
            state.SkipWithError("not all came back");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(addAndRemove)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(50000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
