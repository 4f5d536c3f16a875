#include "Interruption.h"

#include "ProgressPrinter.h"

#include <store/SafeFile.h>

#include <csignal>
#include <unistd.h>

namespace {

// Only what is safe in a signal handler: the table of pending files is fixed, and _exit runs
// nothing.
void endNow(int signalNumber)
{
    store::SafeFile::removeAllPending();
    ProgressPrinter::endLineFromSignal();
    ::_exit(128 + signalNumber);
}

} // namespace

void installInterruptionHandler()
{
    struct sigaction action = {};
    action.sa_handler = endNow;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // A file that grows past the limit of the process is a failed write like any other.
    std::signal(SIGXFSZ, SIG_IGN);
}
