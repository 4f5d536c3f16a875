#include "FailureHandler.h"

#include "CorvaneMain.h"

#include <store/SafeFile.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
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

} // namespace

void installFailureHandler()
{
    std::set_terminate(endProgram);
}
