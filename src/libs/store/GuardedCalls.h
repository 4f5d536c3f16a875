#pragma once

#include <QByteArray>

#include <sys/types.h>

namespace store {

/// The system calls of a save, repeated where a signal cut them short, and each of them one that
/// FaultInjection can make fail. Failure is -1 or false, with errno.

/// Never the controlling terminal, and not handed on to programs that are started.
int openGuarded(const QByteArray &path, int flags, mode_t mode);
/// All of it, in as many pieces as the system takes.
bool writeAll(int fd, const char *data, qsizetype size);
/// Gives a new file the owner, where the system allows that, and the permissions of an old one.
bool takeOver(int fd, uid_t owner, gid_t group, mode_t mode);
/// True for what cannot be synced since it keeps nothing, such as a pipe.
bool syncGuarded(int fd);
bool renameGuarded(const QByteArray &from, const QByteArray &to);
/// Under which a descriptor's file is reached, even one without a name; where /proc is mounted.
QByteArray pathOfDescriptor(int fd);
/// Gives a file without a name one that nothing has yet.
bool linkGuarded(int fd, const QByteArray &path);
/// Makes a rename in this folder last.
bool syncFolder(const QByteArray &folder);

} // namespace store
