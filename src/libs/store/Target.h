#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace store {

/// What a path means to a writer, in the system's encoding.
struct Target
{
    enum class Kind {
        Replaceable, ///< a regular file, or none yet: written beside and renamed
        Direct,      ///< a device, FIFO or the like: written as it stands
    };

    QByteArray path;   ///< links resolved if Replaceable, as given if Direct
    QByteArray folder; ///< of a Replaceable one
    Kind kind = Kind::Replaceable;
    bool exists = false;
    mode_t mode = 0; ///< permission bits of one that exists
    mode_t type = 0; ///< S_IFREG, S_IFIFO and so on, of one that exists
    uid_t owner = 0;
    gid_t group = 0;

    /// Answers 0, or the errno that says why the path cannot be written. Looks only.
    static int resolve(const QString &path, Target &target);
};

} // namespace store
