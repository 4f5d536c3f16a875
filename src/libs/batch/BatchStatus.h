#pragma once

#include <QMetaType>
#include <QString>

#include <array>

namespace batch {

/// Where a job stands. The values are shown, filtered on and compared, so they are fixed.
enum class BatchStatus : int {
    Pending = 0,    ///< waits for its dependencies, a worker, or both
    InProgress = 1, ///< claimed by a worker
    Hung = 2, ///< claimed, but without a heartbeat for too long; only retry or cancel moves it on
    Done = 3,
    Failed = 4,
    Stopped = 5, ///< terminal; nothing produces it so far
    Cancelled = 6,
};

inline constexpr int batchStatusCount = 7;

/// How a log line is meant.
enum class BatchLogLevel : qint32 { Debug = 0, Info = 1, Warning = 2, Error = 3 };

/// The word for a status: "pending", "in_progress", "hung", "done", "failed", "stopped",
/// "cancelled"; "unknown" for any other value.
QString batchStatusToString(BatchStatus status);

/// True for the states that a job does not leave by itself: Done, Failed, Stopped and Cancelled.
constexpr bool isTerminal(BatchStatus status)
{
    return int(status) >= int(BatchStatus::Done) && int(status) <= int(BatchStatus::Cancelled);
}

/// The enumerators in the order of their values, for tables and loops.
inline constexpr std::array<BatchStatus, batchStatusCount> allBatchStatuses = {
    BatchStatus::Pending, BatchStatus::InProgress, BatchStatus::Hung,      BatchStatus::Done,
    BatchStatus::Failed,  BatchStatus::Stopped,    BatchStatus::Cancelled,
};

} // namespace batch

Q_DECLARE_METATYPE(batch::BatchStatus)
Q_DECLARE_METATYPE(batch::BatchLogLevel)
