#pragma once

#include <batch/BatchJob.h>

#include <QSet>

#include <optional>

namespace batch {

/// A question to BatchQueue::jobs. What is not set is no condition; all that is set must hold.
struct BatchJobFilter
{
    std::optional<quint64> id{};
    std::optional<QString> type{};
    std::optional<BatchStatus> status{};
    std::optional<QString> source{};
    std::optional<QString> origin{};
    QSet<BatchStatus> statuses{}; ///< any of these; empty means any at all
    qint32 limit = 0;             ///< at most so many jobs; 0 or less means no limit

    /// Whether all conditions but the limit hold.
    bool matches(const BatchJob &job) const;

    /// Whether a job in this state could match: what lets the queue look at few jobs only.
    bool admits(BatchStatus state) const;
};

} // namespace batch
