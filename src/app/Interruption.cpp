#include "Interruption.h"

#include <eval/NativeCleanup.h>
#include <store/SafeFile.h>

#include <csignal>
#include <unistd.h>

namespace {

// Only what is safe in a signal handler: the tables of pending files and compilers are fixed, and
// _exit runs nothing.
void endNow(int signalNumber)
{
    store::SafeFile::removeAllPending();
    eval::endNativeCompilers();
    ::_exit(128 + signalNumber);
}

} // namespace

void installInterruptionHandler()
{
    struct sigaction action = {};
    action.sa_handler = endNow;
    sigemptyset(&action.sa_mask);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT})
        sigaction(signalNumber, &action, nullptr);
    struct sigaction former = {};
    sigaction(SIGHUP, nullptr, &former);
    if (former.sa_handler != SIG_IGN) // as it is under nohup
        sigaction(SIGHUP, &action, nullptr);
    // A file that grows past the limit of the process is a failed write like any other.
    std::signal(SIGXFSZ, SIG_IGN);
}
