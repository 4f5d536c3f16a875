// What the queue costs while a hundred thousand jobs are in it: each operation on a job, and the
// ticks of the dispatcher when everything waits in vain, when everything is blocked and when
// everything is over. Times of operations are for one job.

#include <batch/BatchDispatcher.h>
#include <batch/BatchQueue.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

using namespace Qt::StringLiterals;
using batch::BatchJob;
using batch::BatchQueue;
using batch::BatchStatus;

namespace {

constexpr int jobCount = 100'000;

// A worker whose only slot is taken.
class BusyWorker : public batch::IBatchWorker
{
public:
    QString workerId() const override { return u"bench_worker"_s; }
    QString workerVersion() const override { return u"1.0.0"_s; }
    QStringList workerTags() const override { return {u"corvane"_s}; }
    QStringList supportedTypes() const override
    {
        return {u"corvane/mesh_export"_s, u"corvane/mesh_import"_s};
    }
    bool canAccept() const override { return false; }
    void execute(BatchQueue *, quint64) override {}
};

BatchJob job(int i)
{
    return {.type = i % 2 == 0 ? u"corvane/mesh_export"_s : u"corvane/mesh_import"_s,
            .source = u"corvane"_s,
            .priority = 10 * (i % 10),
            .hungTimeoutSeconds = 3600,
            .payload = {{u"snapshotId"_s, i}}};
}

void fill(BatchQueue &queue)
{
    for (int i = 0; i < jobCount; ++i)
        queue.submit(job(i));
}

// Runs `operation` once for each job of a queue that `prepare` has filled; answers whether the
// queue then holds all of them in the state meant.
template<typename Prepare, typename Operation>
void forEachJob(benchmark::State &state, BatchStatus expected, Prepare prepare, Operation operation)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto queue = std::make_unique<BatchQueue>();
        prepare(*queue);
        state.ResumeTiming();
        for (quint64 id = 1; id <= jobCount; ++id)
            operation(*queue, id);
        state.PauseTiming();
        if (queue->count(expected) != jobCount)
            state.SkipWithError("a job is not in the state that it should be in");
        queue.reset();
        state.ResumeTiming();
    }
    state.counters["seconds_a_job"] =
        benchmark::Counter(double(jobCount), benchmark::Counter::kIsIterationInvariantRate |
                                                 benchmark::Counter::kInvert);
}

void claimAll(BatchQueue &queue)
{
    fill(queue);
    for (quint64 id = 1; id <= jobCount; ++id)
        queue.claim(id, u"bench_worker"_s);
}

void submit(benchmark::State &state)
{
    forEachJob(
        state, BatchStatus::Pending, [](BatchQueue &) {},
        [](BatchQueue &queue, quint64 id) { queue.submit(job(int(id))); });
}

void claim(benchmark::State &state)
{
    forEachJob(state, BatchStatus::InProgress, fill,
               [](BatchQueue &queue, quint64 id) { queue.claim(id, u"bench_worker"_s); });
}

void progress(benchmark::State &state)
{
    forEachJob(state, BatchStatus::InProgress, claimAll,
               [](BatchQueue &queue, quint64 id) { queue.setProgress(id, 1, 100); });
}

void complete(benchmark::State &state)
{
    forEachJob(state, BatchStatus::Done, claimAll, [](BatchQueue &queue, quint64 id) {
        queue.complete(id, {{u"triangles"_s, 12}});
    });
}

void fail(benchmark::State &state)
{
    forEachJob(state, BatchStatus::Failed, claimAll,
               [](BatchQueue &queue, quint64 id) { queue.fail(id, u"no"_s); });
}

// One failure at the head of a chain of all jobs.
void cascade(benchmark::State &state)
{
    const auto chain = [](BatchQueue &queue) {
        for (int i = 0; i < jobCount; ++i) {
            BatchJob link = job(i);
            if (i > 0)
                link.dependsOn = {quint64(i)};
            queue.submit(link);
        }
        queue.claim(1, u"bench_worker"_s);
    };
    forEachJob(state, BatchStatus::Failed, chain, [](BatchQueue &queue, quint64 id) {
        if (id == 1)
            queue.fail(id, u"no"_s);
    });
}

void tickOf(benchmark::State &state, BatchQueue &queue, qsizetype expectedReady)
{
    batch::BatchWorkerRegistry registry;
    BusyWorker worker;
    registry.registerWorker(&worker);
    batch::BatchDispatcher dispatcher(&queue, &registry);
    dispatcher.stop();
    if (queue.readyJobs().size() != expectedReady)
        state.SkipWithError("another number of jobs is ready");
    // Between two ticks a job comes and one goes, so that each sees a list that has changed.
    quint64 last = 0;
    for (auto _ : state) {
        dispatcher.onTimer();
        state.PauseTiming();
        if (last != 0)
            queue.cancel(last);
        last = queue.submit(job(0));
        state.ResumeTiming();
    }
}

void tickWithAllReadyAndNoSlot(benchmark::State &state)
{
    BatchQueue queue;
    fill(queue);
    tickOf(state, queue, jobCount);
}

void tickWithAllBlocked(benchmark::State &state)
{
    BatchQueue queue;
    for (int i = 0; i < jobCount; ++i) {
        BatchJob blocked = job(i);
        blocked.dependsOn = {quint64(jobCount) + 1};
        queue.submit(blocked);
    }
    tickOf(state, queue, 0);
}

void tickWithAllDone(benchmark::State &state)
{
    BatchQueue queue;
    claimAll(queue);
    for (quint64 id = 1; id <= jobCount; ++id)
        queue.complete(id);
    tickOf(state, queue, 0);
}

void hungCheckOfAll(benchmark::State &state)
{
    BatchQueue queue;
    claimAll(queue);
    for (auto _ : state)
        queue.checkHungJobs();
    if (queue.count(BatchStatus::InProgress) != jobCount)
        state.SkipWithError("a job hangs");
}

// What a status display asks for at every change.
void activeJobsOfMany(benchmark::State &state)
{
    BatchQueue queue;
    claimAll(queue);
    for (quint64 id = 2; id <= jobCount; ++id)
        queue.complete(id);
    const batch::BatchJobFilter active{
        .statuses = {BatchStatus::Pending, BatchStatus::InProgress, BatchStatus::Hung}};
    for (auto _ : state)
        if (queue.jobs(active).size() != 1)
            state.SkipWithError("one job is active");
}

BENCHMARK(submit)->Unit(benchmark::kMillisecond);
BENCHMARK(claim)->Unit(benchmark::kMillisecond);
BENCHMARK(progress)->Unit(benchmark::kMillisecond);
BENCHMARK(complete)->Unit(benchmark::kMillisecond);
BENCHMARK(fail)->Unit(benchmark::kMillisecond);
BENCHMARK(cascade)->Unit(benchmark::kMillisecond);
BENCHMARK(tickWithAllReadyAndNoSlot)->Unit(benchmark::kMillisecond);
BENCHMARK(tickWithAllBlocked)->Unit(benchmark::kMicrosecond);
BENCHMARK(tickWithAllDone)->Unit(benchmark::kMicrosecond);
BENCHMARK(hungCheckOfAll)->Unit(benchmark::kMillisecond);
BENCHMARK(activeJobsOfMany)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
