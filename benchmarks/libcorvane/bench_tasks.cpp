// What plans cost that edit a scene: thousands of steps that add an item each, and a tree of
// thousands in one step. The items a second stay the same when a step costs the same in a long
// plan.
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/tasks/CorvaneTasks.h>
#include <corvane/zirn/ZirnAuthContext.h>
#include <corvane/zirn/ZirnTaskRuntime.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::zirn;

namespace {

/// Runs a plan on an empty scene; the number of nodes afterwards, 0 when it failed.
qsizetype nodesAfter(const TaskPlan &plan)
{
    const auto document = model::Corvane::create();
    model::LogicalScene tree;
    ops::CorvaneOpExecutor executor(document);
    executor.setLogicalScene(&tree);
    auto &locator = ops::CorvaneServiceLocator::instance();
    locator.setScene(document);
    locator.setExecutor(&executor);
    FileScopedAuthContext caller;
    ZirnTaskRuntime runtime;
    runtime.setAuthContext(&caller);
    QEventLoop loop;
    bool succeeded = false;
    QObject::connect(&runtime, &ZirnTaskRuntime::planCompleted, &loop,
                     [&](const TaskPlanResult &result) {
                         succeeded = result.success;
                         loop.quit();
                     });
    if (runtime.submit(plan, {.type = OperatorType::Directive, .id = u"bench"_s}))
        loop.exec();
    locator.clear();
    return succeeded ? tree.instances().size() : 0;
}

void runPlan(benchmark::State &state, const TaskPlan &plan, qsizetype expected)
{
    registerCorvaneTasks();
    nodesAfter({.steps = {plan.steps.first()}}); // the registry reads the definitions once
    for (auto _ : state) {
        if (nodesAfter(plan) != expected)
            state.SkipWithError("the plan failed");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void addItems(benchmark::State &state)
{
    TaskPlan plan;
    for (int i = 0; i < state.range(0); ++i)
        plan.steps.append({.task = u"corvane.item.add"_s,
                           .args = {{u"itemType"_s, u"sdf"_s}, {u"definitionId"_s, u"sphere"_s}}});
    runPlan(state, plan, state.range(0));
}
BENCHMARK(addItems)->Arg(500)->Arg(2000)->Unit(benchmark::kMillisecond)->UseRealTime();

/// The same with an expression in each, so that errors are counted over all of them.
void addExpressions(benchmark::State &state)
{
    TaskPlan plan;
    plan.steps.append({.task = u"corvane.varset.set_variable"_s,
                       .args = {{u"name"_s, u"w"_s}, {u"value"_s, 2.0}}});
    const QVariantMap data{{u"parameters"_s, QVariantMap{{u"radius"_s, u"=w"_s}}}};
    for (int i = 0; i < state.range(0); ++i)
        plan.steps.append({.task = u"corvane.item.add"_s,
                           .args = {{u"itemType"_s, u"sdf"_s},
                                    {u"definitionId"_s, u"sphere"_s},
                                    {u"typeData"_s, data}}});
    runPlan(state, plan, state.range(0));
}
BENCHMARK(addExpressions)->Arg(500)->Arg(2000)->Unit(benchmark::kMillisecond)->UseRealTime();

void buildTree(benchmark::State &state)
{
    QVariantMap instances;
    QVariantList children;
    for (int i = 1; i < state.range(0); ++i) {
        const QString name = u"ball %1"_s.arg(i);
        children.append(name);
        instances.insert(name, QVariantMap{{u"definition"_s, u"sphere"_s},
                                           {u"params"_s, QVariantMap{{u"radius"_s, 0.5}}}});
    }
    instances.insert(u"all"_s,
                     QVariantMap{{u"definition"_s, u"union"_s}, {u"children"_s, children}});
    const QVariantMap tree{{u"instances"_s, instances}, {u"roots"_s, QVariantList{u"all"_s}}};
    runPlan(state,
            {.steps = {{.task = u"corvane.scene.build_tree"_s, .args = {{u"tree"_s, tree}}}}},
            state.range(0));
}
BENCHMARK(buildTree)->Arg(1000)->Arg(5000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
