#pragma once

#include <QtGlobal>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace concurrency {

/// The numbers from 0 up to a count, handed out to threads, whose progress one of them tells.
///
///     SharedLoop loop(slices);
///     loop.run("Slices", threads, [&] {
///         Evaluator evaluator;                           // one a thread
///         for (qint64 k = loop.next(); k >= 0; k = loop.next()) {
///             sample(k, evaluator);
///             loop.finishOne();
///         }
///     }, [](qint64 done) { tell(done); });
class SharedLoop
{
public:
    using Work = std::function<void()>;
    using Report = std::function<void(qint64 done)>;

    explicit SharedLoop(qint64 count);

    /// The next number; -1 when there is none left, and after stop(). Any thread.
    qint64 next();
    /// Something is done. Any thread.
    void finishOne();
    /// Hands out no more numbers. Any thread.
    void stop() { m_next = m_count; }

    /// Has `work` done by up to `threads` other threads, or by the calling one where none starts,
    /// and returns when it is done. An exception in it goes on in the caller.
    /// @param report  called on the calling thread with 1, 2, 3 ... for each finishOne()
    void run(const char *name, int threads, const Work &work, const Report &report);

private:
    void leave();
    void runAlone(const Work &work, const Report &report);
    void reportUntilDone(const Report &report);

    const qint64 m_count;
    std::atomic<qint64> m_next = 0;
    const Report *m_direct = nullptr; ///< where the calling thread does the work

    // Of the standard library: a thread sanitizer does not see that Qt's condition lets go of a
    // mutex.
    std::mutex m_mutex; ///< of all below
    std::condition_variable m_changed;
    qint64 m_done = 0;
    int m_working = 0;
};

} // namespace concurrency
