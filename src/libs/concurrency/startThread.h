#pragma once

#include <functional>
#include <thread>

namespace concurrency {

/// Starts a thread that runs `work`, under a name of which the system shows 15 characters. False
/// when the system starts no further thread; then `thread` is as it was.
///
/// An exception that leaves `work` ends the program: call what may fail through guarded().
[[nodiscard]] bool startThread(std::thread &thread, const char *name, std::function<void()> work);

/// Runs `work` on a thread that nobody waits for, or at once where none starts.
void runAside(const char *name, const std::function<void()> &work);

/// Lets the calling thread run only where others leave time.
void lowerPriority();

} // namespace concurrency
