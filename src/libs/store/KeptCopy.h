#pragma once

#include <QString>

namespace store {

/// A copy of a file that is kept beside it before it is saved over: as safe as SafeFile, and for
/// the same eyes as the file itself.
///
/// Nothing is written through what lies under the name of the copy: an older copy and a symbolic
/// link, wherever that leads, are replaced; a folder, FIFO, socket or device is in the way.

/// Tells before long work whether keepCopy() would find its place free. On false `error`, if given,
/// says why.
[[nodiscard]] bool canKeepCopy(const QString &copyPath, QString *error = nullptr);

/// Copies the regular file at `path`, links to it followed, with its permissions and, where the
/// system allows that, its owner. On false `error`, if given, says why, and whatever lay at
/// `copyPath` is still there.
[[nodiscard]] bool keepCopy(const QString &path, const QString &copyPath, QString *error = nullptr);

} // namespace store
