#include "CompileThread.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QWaitCondition>

#include <memory>
#include <utility>

#include <pthread.h>

using namespace Qt::StringLiterals;

namespace shader {

namespace {

constexpr std::size_t stackSize = 64u * 1024 * 1024;

/// What caller and thread share; the last one deletes it.
struct Job
{
    std::function<void()> work;
    QMutex mutex;
    QWaitCondition ended;
    bool isDone = false;
};

using SharedJob = std::shared_ptr<Job>;

void *runJob(void *argument)
{
    const std::unique_ptr<SharedJob> job(static_cast<SharedJob *>(argument));
    (*job)->work();
    const QMutexLocker lock(&(*job)->mutex);
    (*job)->isDone = true;
    (*job)->ended.wakeAll();
    return nullptr;
}

// No QThread: one that still runs must not be destroyed.
bool startDetached(const SharedJob &job)
{
    auto own = std::make_unique<SharedJob>(job);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackSize);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const bool isStarted = pthread_create(&thread, &attributes, &runJob, own.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (isStarted)
        static_cast<void>(own.release()); // the thread's
    return isStarted;
}

} // namespace

bool runDetached(std::function<void()> work, std::chrono::milliseconds limit)
{
    const auto job = std::make_shared<Job>();
    job->work = std::move(work);
    if (!startDetached(job))
        return false;
    const QDeadlineTimer deadline(limit);
    const QMutexLocker lock(&job->mutex);
    while (!job->isDone && !deadline.hasExpired())
        job->ended.wait(&job->mutex, deadline);
    return job->isDone;
}

QString compileThreadError()
{
    return u"The shader could not be compiled within %1 seconds"_s.arg(compileTimeLimit.count());
}

} // namespace shader
