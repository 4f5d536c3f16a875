#pragma once

#include <QString>

namespace corvane::xport {

/// What memory this process may still take, in bytes: what the machine has free, or less where a
/// limit is set on the process or on a control group that it belongs to.
double availableMemory();

/// What the control groups of a process leave it, in bytes; infinite where none sets a limit. A
/// group is bound by the limits of those around it too, and what it holds of files does not count,
/// since it can be had back.
/// @param root    where the groups are shown, "/sys/fs/cgroup"
/// @param groups  the content of "/proc/self/cgroup"
double groupMemory(const QString &root, const QByteArray &groups);

/// "3.2 GB"
QString bytesText(double bytes);

/// Why something does not fit in memory: "<what> needs 3.2 GB of memory, and 1.1 GB are available:
/// use a larger cell size or free memory". Empty when it fits. What would take the last tenth does
/// not.
QString memoryError(const QString &what, double bytes, double available);

} // namespace corvane::xport
