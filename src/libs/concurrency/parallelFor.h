#pragma once

#include <QtGlobal>

#include <functional>

namespace concurrency {

/// Calls body(i) for each i from 0 up to count, on the calling thread and on up to threads - 1
/// others, and returns when all are done. The calls come in no order; each should be worth some
/// microseconds.
///
/// Where no other thread starts, the calling one does all. An exception in a call ends the loop
/// early and goes on in the caller.
void parallelFor(qsizetype count, int threads, const std::function<void(qsizetype)> &body);

/// Calls own() on the calling thread while up to `helpers` other threads call helper(), and returns
/// when all are done. own() may wait for what a helper has begun, and for nothing else: perhaps no
/// helper starts.
/// @param stop  makes both end soon, with part of the work done; called when one of them ends by an
///              exception, which then goes on in the caller
void runBeside(int helpers, const std::function<void()> &helper, const std::function<void()> &own,
               const std::function<void()> &stop);

} // namespace concurrency
