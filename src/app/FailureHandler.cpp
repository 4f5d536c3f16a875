#include "FailureHandler.h"

#include "CorvaneMain.h"

#include <store/SafeFile.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

// Work that takes much memory reports its end itself. What is left for here is memory that runs out
// in between, and threads in which nobody looks; neither buffers nor strings can be had then.

namespace {

constexpr char outOfMemory[] =
    "Error: out of memory. The output is left as it was; a larger cell size, a smaller scene or "
    "fewer threads need less\n";

void write(const char *text) noexcept
{
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text, std::strlen(text));
}

void describeException() noexcept
{
    try {
        throw;
    } catch (const std::bad_alloc &) {
        write(outOfMemory);
    } catch (const std::exception &exception) {
        write("Error: the program broke off unexpectedly: ");
        write(exception.what());
        write("\n");
    } catch (...) {
        write("Error: the program broke off unexpectedly\n");
    }
}

[[noreturn]] void endProgram() noexcept
{
    store::SafeFile::removeAllPending();
    if (!std::current_exception())
        std::abort(); // a fault of ours: whoever looks for it wants the core
    describeException();
    ::_exit(CorvaneMain::OperationFailed);
}

/// Lists of Qt do not always look whether the memory that they asked for is there. Their write to
/// address 0 is told from a fault of ours by the lack of memory itself.
void endAfterFault(int signalNumber)
{
    constexpr std::size_t enough = std::size_t(64) << 20;
    void *const probe =
        mmap(nullptr, enough, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (probe == MAP_FAILED) {
        write(outOfMemory);
        store::SafeFile::removeAllPending();
        ::_exit(CorvaneMain::OperationFailed);
    }
    std::signal(signalNumber, SIG_DFL); // on return it faults again, and leaves its core
}

/// Each thread would set 64 MB of the address space aside for what it asks for.
void shareMemoryWhereLimited()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
        mallopt(M_ARENA_MAX, 1);
}

} // namespace

void installFailureHandler()
{
    std::set_terminate(endProgram);
    shareMemoryWhereLimited();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which have their own
    std::signal(SIGSEGV, endAfterFault);
#endif
}
