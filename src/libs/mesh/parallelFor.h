#pragma once

#include <QtGlobal>

#include <functional>

namespace mesh {

/// Calls body(i) for each i from 0 up to count, on the calling thread and on up to threads - 1
/// others, and returns when all are done. The calls come in no order; each should be worth some
/// microseconds.
void parallelFor(qsizetype count, int threads, const std::function<void(qsizetype)> &body);

/// Calls own() on the calling thread while each of some other threads calls helper(), and returns
/// when all are done.
void runBeside(int helpers, const std::function<void()> &helper, const std::function<void()> &own);

} // namespace mesh
