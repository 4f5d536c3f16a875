#pragma once

#include <batch/BatchDispatcher.h>
#include <batch/BatchQueue.h>
#include <batch/BatchWorkerRegistry.h>
#include <corvane/bench/MeshBenchWorker.h>

/// The queue for what a plan starts in the background. Nothing survives the program, so it is
/// waited for.
class ZirnJobs
{
public:
    ZirnJobs();
    ~ZirnJobs();
    ZirnJobs(const ZirnJobs &) = delete;
    ZirnJobs &operator=(const ZirnJobs &) = delete;

    /// Returns once no job waits or runs, and prints how each ended. In an event loop. False when
    /// one of them failed.
    bool finish();

private:
    bool isBusy() const;

    batch::BatchQueue m_queue;
    batch::BatchWorkerRegistry m_workers;
    corvane::bench::MeshBenchWorker m_bench;
    batch::BatchDispatcher m_dispatcher{&m_queue, &m_workers};
};
