#pragma once

#include <QString>

#include <atomic>

#include <sys/types.h>

namespace eval::internal {

/// The folder of one run of the compiler, for the user alone, removed with all that is in it at the
/// end: by the destructor, or by endNativeCompilers() when a signal ends the process.
///
/// A fixed table holds the folders and process groups in use. It lies in memory that is shared with
/// child processes, so that a compiler enters its own group before it does anything else and no
/// signal can come between. A folder beyond the table's size works as ever, but would be left
/// behind by a signal.
class NativeWorkspace
{
public:
    NativeWorkspace();
    ~NativeWorkspace();
    Q_DISABLE_COPY_MOVE(NativeWorkspace)

    bool isValid() const { return !m_path.isEmpty(); }
    const QString &path() const { return m_path; }
    QString filePath(const QString &name) const { return m_path + u'/' + name; }
    /// Where the process group of a running compiler stands, 0 for none; null without a place.
    std::atomic<pid_t> *group() const;

    /// endNativeCompilers().
    static void endAll() noexcept;

private:
    int m_place = -1; ///< in the table
    QString m_path;
};

} // namespace eval::internal
