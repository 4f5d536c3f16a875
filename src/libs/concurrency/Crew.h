#pragma once

#include <concurrency/Outcome.h>

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace concurrency {

/// Threads that all do the same work, beside the one that made them.
///
///     Crew crew("Ondrel.mesh", [&] { stopped = true; });
///     crew.start(threads - 1, work);
///     work();                        // also where no thread starts
///     crew.finish();
///
/// Threads that the system does not start are none to wait for, so that work is taken from a common
/// store and never dealt out to threads beforehand. When the work of one ends by an exception, the
/// others are stopped, and finish() lets the first exception go on in its caller, as it would have
/// without threads.
class Crew
{
public:
    /// @param name  of the threads
    /// @param stop  makes work that runs end soon; from any thread, more than once
    Crew(const char *name, std::function<void()> stop);
    /// Stops and waits: what is here when an exception passes through the caller itself.
    ~Crew();
    Crew(const Crew &) = delete;
    Crew &operator=(const Crew &) = delete;

    /// Starts up to `count` threads that call `work`, and answers how many have started.
    int start(int count, const std::function<void()> &work);

    /// Waits for all of them.
    void finish();

private:
    void run(const std::function<void()> &work);
    void join();

    const char *const m_name;
    const std::function<void()> m_stop;
    std::vector<std::thread> m_threads;
    std::mutex m_mutex; ///< of the outcome
    Outcome m_outcome;  ///< the first that is not good
};

} // namespace concurrency
