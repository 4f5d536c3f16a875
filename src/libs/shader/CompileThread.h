#pragma once

#include <functional>

namespace shader {

/// Runs `work` on a thread whose stack is large enough for whatever SourceGuard lets through, and
/// waits for it. Any thread may call, several at a time; `work` must not call back in here.
/// False when no thread could be started; then nothing was done.
[[nodiscard]] bool runOnCompileThread(const std::function<void()> &work);

} // namespace shader
