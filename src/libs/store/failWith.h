#pragma once

#include <QString>

namespace store {

/// Puts the reason where the caller wants it, if anywhere; false, to be returned.
inline bool failWith(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}

/// The same in the system's words for an errno.
inline bool failWith(QString *error, int failure)
{
    return failWith(error, qt_error_string(failure));
}

} // namespace store
