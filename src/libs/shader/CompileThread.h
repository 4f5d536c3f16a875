#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace shader {

/// So long is a compile waited for. What SourceGuard lets through takes a few seconds at most.
inline constexpr std::chrono::seconds compileTimeLimit{60};

/// Runs `work` on a thread whose stack is large enough for whatever SourceGuard lets through, and
/// waits for its end, though no longer than `limit`. Any thread may call, several at a time; `work`
/// must not call back in here.
///
/// The compiler cannot be interrupted, so a thread that takes longer is left to itself: it owns all
/// that it works on, `work` included, ends when it is done, and keeps nothing from exiting.
/// @return why there is no end to be had, a sentence without its stop: the time was up, the system
///         started no thread, or memory ran out; empty when `work` is done
[[nodiscard]] QString runDetached(std::function<void()> work,
                                  std::chrono::milliseconds limit = compileTimeLimit);

/// The same for work that answers something. `work` may refer to nothing that the caller owns.
/// @param error  why there is no answer
template<class Answer>
[[nodiscard]] std::optional<Answer>
runOnCompileThread(std::function<Answer()> work, QString &error,
                   std::chrono::milliseconds limit = compileTimeLimit)
{
    const auto answer = std::make_shared<Answer>();
    error = runDetached([answer, work = std::move(work)] { *answer = work(); }, limit);
    if (!error.isEmpty())
        return std::nullopt;
    return *answer;
}

} // namespace shader
