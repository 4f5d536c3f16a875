#pragma once

#include <QString>

#include <exception>
#include <utility>

namespace concurrency {

/// How work ended: well, or by an exception.
///
/// Our own code throws nothing, but the libraries below it do when memory runs out, wherever that
/// happens. Such an exception ends the program unless it is caught before the first function of its
/// thread, so that work that may fail by itself is called through guarded(), and nowhere else is
/// anything caught.
class [[nodiscard]] Outcome
{
public:
    Outcome() = default; ///< ended well
    static Outcome ofCurrentException() noexcept;

    bool isGood() const noexcept { return !m_exception; }
    /// Why it ended, in the middle of a sentence: "out of memory". Empty when it ended well.
    QString reason() const;

    /// Lets the exception go on in the calling thread; nothing happens when there is none.
    void passOn() const;

private:
    std::exception_ptr m_exception;
};

/// Calls work() and answers how it ended.
template<class Work>
Outcome guarded(Work &&work) noexcept
{
    try {
        std::forward<Work>(work)();
        return {};
    } catch (...) {
        return Outcome::ofCurrentException();
    }
}

} // namespace concurrency
