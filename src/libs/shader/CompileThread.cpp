#include "CompileThread.h"

#include <QThread>

#include <memory>

namespace shader {

namespace {

constexpr uint stackSize = 64u * 1024 * 1024;

} // namespace

bool runOnCompileThread(const std::function<void()> &work)
{
    bool wasRun = false;
    const std::unique_ptr<QThread> thread(QThread::create([&work, &wasRun] {
        work();
        wasRun = true;
    }));
    thread->setStackSize(stackSize);
    thread->start();
    thread->wait();
    return wasRun;
}

} // namespace shader
