#include "startThread.h"

#include "Outcome.h"

#include <cstring>
#include <pthread.h>
#include <sys/resource.h>

namespace concurrency {

namespace {

void nameThread(std::thread &thread, const char *name)
{
    constexpr std::size_t mostShown = 15; // a longer name is refused as a whole
    char shown[mostShown + 1] = {};
    std::strncpy(shown, name, mostShown);
    pthread_setname_np(thread.native_handle(), shown);
}

} // namespace

bool startThread(std::thread &thread, const char *name, std::function<void()> work)
{
    const Outcome outcome = guarded([&] { thread = std::thread(std::move(work)); });
    if (outcome.isGood())
        nameThread(thread, name);
    return outcome.isGood();
}

void runAside(const char *name, const std::function<void()> &work)
{
    std::thread thread;
    if (startThread(thread, name, work))
        thread.detach();
    else
        work();
}

void lowerPriority()
{
    constexpr int lowest = 19;
    setpriority(PRIO_PROCESS, 0, lowest); // 0 is this thread: Linux has priorities by thread
}

} // namespace concurrency
