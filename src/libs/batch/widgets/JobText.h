#pragma once

#include <batch/BatchQueue.h>

#include <QDateTime>
#include <QString>

namespace batch {

/// The columns of the job list, in order.
enum class JobColumn { Id, Type, Status, Priority, Progress, Source, Created, Elapsed, Error };
inline constexpr int jobColumnCount = 9;

QString jobColumnTitle(JobColumn column);
/// What a cell says of a job.
/// @param now  for the elapsed time of a job that runs
QString jobCellText(const BatchJob &job, const BatchQueue::Progress &progress, JobColumn column,
                    const QDateTime &now);
QString jobCellToolTip(const BatchJob &job, JobColumn column); ///< empty where there is none

/// "12/40 30%", or "12 done" where no total is known; empty before the first step.
QString progressText(const BatchQueue::Progress &progress);
int progressPercent(const BatchQueue::Progress &progress); ///< rounded; 0 without a total

/// Where a job stands in the list: live work on top, old results below.
int jobRank(BatchStatus status);

} // namespace batch
