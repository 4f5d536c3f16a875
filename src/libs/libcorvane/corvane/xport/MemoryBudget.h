#pragma once

#include <QString>

namespace corvane::xport {

/// What memory this process may still take, in bytes: what the machine has free, or less where a
/// limit is set on the process.
double availableMemory();

/// "3.2 GB"
QString bytesText(double bytes);

/// Why something does not fit in memory: "<what> needs 3.2 GB of memory, and 1.1 GB are available".
/// Empty when it fits. What would take the last tenth does not.
QString memoryError(const QString &what, double bytes, double available);

} // namespace corvane::xport
