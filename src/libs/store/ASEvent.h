#pragma once

#include <store/ShutdownLifecycle.h>

#include <QLatin1StringView>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace store {

/// What is asked of a store. The values stand in journals, so they are fixed.
enum class ASTransaction : int {
    Status = 1,          ///< is the store active?
    Clear = 2,           ///< empties memory and disk
    Get = 3,             ///< a copy of what is in memory
    Set = 4,             ///< replaces what is in memory
    Load = 5,            ///< disk to memory
    Save = 6,            ///< memory to disk
    Generate = 7,        ///< defaults to memory
    Synchronization = 8, ///< whichever of these brings both level
    Exists = 9,          ///< is there anything on disk?
    Completion = 10,     ///< does nothing; everything queued before it is over
};

/// The journal's word: "status", "clear", "get", "set", "load", "save", "generate",
/// "synchronization", "exists", "completion".
QLatin1StringView transactionName(ASTransaction transaction);

/// The body that all handles on one operation share.
template<typename T>
struct ASEventPrivate
{
    ASTransaction transaction = ASTransaction::Status;
    std::function<bool(ASTransaction, T &data)> operation;
    std::function<void(bool ok)> completed; ///< called on the thread that ran it
    std::shared_ptr<ShutdownHold> hold;     ///< the process waits for what may still be written
    T data{};

    std::mutex mutex; ///< of what follows, and of data once finished
    std::condition_variable changed;
    bool finished = false;
    bool successful = false;
};

/// A handle on one operation of a store, queued or over. Copies are handles on the same operation.
/// Any thread may ask and wait.
template<typename T>
class ASEvent
{
public:
    ASEvent() = default;
    explicit ASEvent(std::shared_ptr<ASEventPrivate<T>> body)
        : d(std::move(body))
    {}

    bool isNull() const { return !d; }

    /// Carries the operation out, on the calling thread. The store's queue calls this.
    void run()
    {
        const bool ok = d->operation && d->operation(d->transaction, d->data);
        const auto completed = std::exchange(d->completed, {});
        d->operation = {};
        d->hold.reset();
        {
            const std::lock_guard lock(d->mutex);
            d->finished = true;
            d->successful = ok;
        }
        d->changed.notify_all();
        if (completed)
            completed(ok);
    }

    bool isFinished() const
    {
        if (!d)
            return false;
        const std::lock_guard lock(d->mutex);
        return d->finished;
    }

    /// Over, and well. False for a null handle, as an inactive store answers.
    bool isSuccessfull() const
    {
        if (!d)
            return false;
        const std::lock_guard lock(d->mutex);
        return d->finished && d->successful;
    }

    /// Blocks until the operation is over. Answers isSuccessfull().
    bool wait() const
    {
        if (!d)
            return false;
        std::unique_lock lock(d->mutex);
        d->changed.wait(lock, [this] { return d->finished; });
        return d->successful;
    }

    /// What a Get brought, or a Set was given; once finished.
    T data() const
    {
        if (!isFinished())
            return {};
        const std::lock_guard lock(d->mutex);
        return d->data;
    }

private:
    std::shared_ptr<ASEventPrivate<T>> d;
};

} // namespace store
