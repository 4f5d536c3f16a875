#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/stat.h>

namespace eval::internal {

/// All of a regular file of at most `mostBytes`; none for anything else. Nothing that stands under
/// the name, a FIFO, a device, a link, is waited for or followed.
/// @param status  of the file that was read, if given
std::optional<QByteArray> readPlainFile(const QString &path, qint64 mostBytes,
                                        struct stat *status = nullptr);

} // namespace eval::internal
