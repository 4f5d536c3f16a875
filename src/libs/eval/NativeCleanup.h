#pragma once

namespace eval {

/// Ends all compilers that this process has started for Backend::Native and removes their folders.
///
/// For a signal handler that ends the process afterwards: async-signal-safe, over a fixed table. It
/// returns when the folders are gone, after half a second at the latest. Nothing to do and nothing
/// to wait for when no compiler runs.
void endNativeCompilers() noexcept;

} // namespace eval
