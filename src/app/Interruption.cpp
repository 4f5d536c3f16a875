#include "Interruption.h"

#include "ProgressPrinter.h"

#include <eval/NativeCleanup.h>
#include <store/SafeFile.h>

#include <csignal>
#include <unistd.h>

namespace {

using Cleanup = void (*)() noexcept;

/// What is undone on the way out, each of them safe in a signal handler.
constexpr Cleanup cleanups[] = {
    &store::SafeFile::removeAllPending, // its table of pending files is fixed
    &eval::endNativeCompilers,          // and so is that of compilers
    &ProgressPrinter::endLineFromSignal,
};

void endNow(int signalNumber)
{
    for (const Cleanup cleanup : cleanups)
        cleanup();
    ::_exit(128 + signalNumber); // runs nothing
}

void endAt(int signalNumber)
{
    struct sigaction action = {};
    if (sigaction(signalNumber, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = endNow;
    sigfillset(&action.sa_mask); // another signal does not come in between
    sigaction(signalNumber, &action, nullptr);
}

} // namespace

void installInterruptionHandler()
{
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        endAt(signalNumber);
    // A file that grows past the limit of the process is a failed write like any other.
    std::signal(SIGXFSZ, SIG_IGN);
}
