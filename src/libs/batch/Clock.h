#pragma once

#include <QDateTime>

#include <functional>

namespace batch {

/// Answers the present time in UTC. Given to the queue, so that a test moves time by hand. Called
/// under the queue's lock and on any thread that calls the queue.
using UtcClock = std::function<QDateTime()>;

} // namespace batch
