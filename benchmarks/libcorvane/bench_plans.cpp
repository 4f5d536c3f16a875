// What a plan costs beside its tasks: reading it, and running it with a task that does next to
// nothing, by the number of steps. The items a second stay the same when a step costs the same in
// a long plan.
#include <corvane/zirn/LLMSession.h>
#include <corvane/zirn/ZirnAuthContext.h>
#include <corvane/zirn/ZirnHistoryDatabase.h>
#include <corvane/zirn/ZirnTask.h>
#include <corvane/zirn/ZirnTaskRegistry.h>
#include <corvane/zirn/ZirnTaskRuntime.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;

namespace {

/// Counts on from its argument.
class CountTask : public ZirnTask
{
public:
    CountTask()
        : ZirnTask(u"bench.count"_s, {}, {}, {}, {u"next"_s})
    {
        setTier(u"cad-editing"_s);
    }
    ZirnTaskResult execute(const ZirnTaskParams &arguments, ZirnTaskContext *) override
    {
        const int next = arguments.getInt(u"from"_s) + 1;
        return ZirnTaskResult::succeeded(u"Counted"_s, {{u"next"_s, QString::number(next)}});
    }
};

/// Every step takes up the number of the one before.
QByteArray planJson(qint64 steps)
{
    QByteArray json = R"({"description": "count", "steps": [)";
    for (qint64 i = 0; i < steps; ++i) {
        json += R"({"task": "bench.count", "produces": {"n": "next"}, "args": {"from": ")";
        json += i == 0 ? "0" : "${n}";
        json += R"(", "place": [1.5, 2.5, 3.5], "options": {"name": "part", "on": true}}},)";
    }
    return json + "]}";
}

TaskPlan planOf(qint64 steps)
{
    TaskPlan plan;
    QString error;
    return LLMSession::validatePlanJson(planJson(steps), plan, error) ? plan : TaskPlan();
}

/// Runs a plan to its end and answers the last number.
QString outcomeOf(ZirnTaskRuntime &runtime, const TaskPlan &plan)
{
    TaskPlanResult result;
    QEventLoop loop;
    QObject::connect(&runtime, &ZirnTaskRuntime::planCompleted, &loop,
                     [&](const TaskPlanResult &completed) {
                         result = completed;
                         loop.quit();
                     });
    if (!runtime.submit(plan, {.type = OperatorType::Directive, .id = u"bench"_s}))
        return {};
    loop.exec();
    return result.success ? result.stepResults.last().outputs.value(u"next"_s) : QString();
}

void runPlan(benchmark::State &state, ZirnHistoryDatabase *history)
{
    ZirnTaskRegistry registry;
    registry.registerTask(QSharedPointer<CountTask>::create());
    FileScopedAuthContext caller;
    ZirnTaskRuntime runtime(&registry);
    runtime.setAuthContext(&caller);
    runtime.setHistory(history);
    const TaskPlan plan = planOf(state.range(0));
    for (auto step : state) {
        if (outcomeOf(runtime, plan) != QString::number(state.range(0)))
            return state.SkipWithError("the plan did not count to its end");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void readPlan(benchmark::State &state)
{
    const QByteArray json = planJson(state.range(0));
    for (auto step : state) {
        TaskPlan plan;
        QString error;
        if (!LLMSession::validatePlanJson(json, plan, error) || plan.steps.size() != state.range(0))
            return state.SkipWithError("the plan was not read whole");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * json.size());
}

void runPlanAlone(benchmark::State &state)
{
    runPlan(state, nullptr);
}

void runPlanWithHistory(benchmark::State &state)
{
    const QTemporaryDir dir;
    ZirnHistoryDatabase history(dir.filePath(u"history.db"_s));
    if (!history.isUsable())
        return state.SkipWithError("no history database");
    runPlan(state, &history);
}

BENCHMARK(readPlan)->Arg(20)->Arg(2000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(runPlanAlone)
    ->Arg(20)
    ->Arg(2000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(runPlanWithHistory)
    ->Arg(20)
    ->Arg(2000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
