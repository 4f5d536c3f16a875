#include "CompileThread.h"

#include <concurrency/Outcome.h>

#include <QDeadlineTimer>
#include <QMutex>
#include <QWaitCondition>

#include <cerrno>
#include <memory>
#include <thread>
#include <utility>

#include <pthread.h>

using namespace Qt::StringLiterals;

namespace shader {

namespace {

constexpr std::size_t stackSize = 64u * 1024 * 1024;

// A thread that has just ended still counts for a moment where their number is limited.
constexpr int startTries = 10;
constexpr auto startPause = std::chrono::milliseconds(5);

/// What caller and thread share; the last one deletes it.
struct Job
{
    std::function<void()> work;
    QMutex mutex;
    QWaitCondition ended;
    bool isDone = false;
    concurrency::Outcome outcome; ///< of the work that is done
};

using SharedJob = std::shared_ptr<Job>;

void *runJob(void *argument)
{
    const std::unique_ptr<SharedJob> job(static_cast<SharedJob *>(argument));
    const concurrency::Outcome outcome = concurrency::guarded((*job)->work);
    const QMutexLocker lock(&(*job)->mutex);
    (*job)->outcome = outcome;
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
    int error = EAGAIN;
    for (int i = 0; i < startTries && error == EAGAIN; ++i) {
        if (i > 0)
            std::this_thread::sleep_for(startPause);
        error = pthread_create(&thread, &attributes, &runJob, own.get());
    }
    pthread_attr_destroy(&attributes);
    const bool isStarted = error == 0;
    if (isStarted)
        static_cast<void>(own.release()); // the thread's
    return isStarted;
}

} // namespace

QString runDetached(std::function<void()> work, std::chrono::milliseconds limit)
{
    const auto job = std::make_shared<Job>();
    job->work = std::move(work);
    if (!startDetached(job))
        return u"The compiler's thread could not be started: end other programs, or raise the "
               "limits of memory and processes"_s;
    const QDeadlineTimer deadline(limit);
    const QMutexLocker lock(&job->mutex);
    while (!job->isDone && !deadline.hasExpired())
        job->ended.wait(&job->mutex, deadline);
    if (!job->isDone)
        return u"The shader could not be compiled within %1 seconds"_s.arg(
            std::chrono::duration_cast<std::chrono::seconds>(limit).count());
    if (!job->outcome.isGood())
        return u"The shader could not be compiled: %1"_s.arg(job->outcome.reason());
    return {};
}

} // namespace shader
