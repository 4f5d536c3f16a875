#pragma once

#include <QByteArrayView>
#include <QString>

#include <memory>

class QIODevice;

namespace store {

/// The one writer that everything saves through: the target holds either its old content or the
/// whole new one.
///
///     store::SafeFile file(path);
///     if (!file.open() || !file.write(text.toUtf8()) || !file.commit())
///         return failed(file.errorString());
///
/// The bytes go to a temporary file in the folder of the target, which has no name if the file
/// system can do that: whatever ends the process before commit(), a SIGKILL too, leaves nothing
/// behind. commit() writes what is buffered, syncs the file, renames it over the target and syncs
/// the folder. Whatever fails on the way, at
/// open, at any write, at the end, is kept: from then on everything answers false and commit()
/// leaves the target alone. QSaveFile of Qt 6.4 is not enough here: it reports success after a
/// short write on a full disk.
///
/// - A target that exists keeps its permissions, and its owner where the system allows that.
/// - A symbolic link is written through: what it points to is replaced and the link stays.
/// - A device, FIFO or socket is written directly: there commit() only ends the stream, and bytes
///   that were written are gone. Opening a FIFO waits for its reader; a reader that leaves is a
///   failure, no signal.
/// - Temporary files that have a name begin with ".~corvane-" and end with ".tmp".
///
/// One object for one file and one thread; objects for different files are independent.
class SafeFile
{
public:
    explicit SafeFile(const QString &path);
    ~SafeFile(); ///< cancels what is not committed
    SafeFile(const SafeFile &) = delete;
    SafeFile &operator=(const SafeFile &) = delete;

    /// Before open(): the file will be for its owner alone (0600), whatever the old one allowed.
    void setPrivate();

    /// Before open(): a target that exists must be a regular file. For files that the program finds
    /// by a name of its own, where a FIFO would be waited for.
    void setRegularOnly();

    /// Finds the target and opens the temporary file. False with errorString() when that is not
    /// possible.
    [[nodiscard]] bool open();

    /// Appends bytes through a buffer of 256 KiB. False once anything has failed.
    bool write(QByteArrayView bytes);

    /// The sink as a sequential, write-only device for code that writes to a QIODevice; open
    /// between open() and commit() or cancel(). Its write() answers -1 once anything has failed,
    /// and a caller that forgets to look is caught by commit().
    QIODevice *device();

    /// Makes the new content the file's content. On false the old content is still there, whole;
    /// the one exception is a folder that cannot be synced after the rename, when the new one is
    /// there, whole.
    [[nodiscard]] bool commit();

    /// Removes the temporary file and leaves the target as it was.
    void cancel();

    bool isOpen() const;
    bool hasFailed() const;
    QString path() const; ///< as given to the constructor

    /// What failed first, in the system's words, such as "No space left on device"; empty without
    /// failure.
    QString errorString() const;

    /// Removes the temporary files of all SafeFiles of this process. Async-signal-safe: it walks a
    /// fixed table of 256 paths and calls unlink. For a handler of SIGINT or SIGTERM that ends the
    /// process afterwards. A file that is open when the table is full works as ever, but would be
    /// left behind by a signal.
    static void removeAllPending() noexcept;

private:
    class Sink;
    std::unique_ptr<Sink> m_sink;
};

/// Writes `bytes` as the new content of `path`, all of it or nothing. On false `error`, if given,
/// says why.
[[nodiscard]] bool writeFile(const QString &path, QByteArrayView bytes, QString *error = nullptr);

/// The same for a file of the application's own: refuses, by the words of readRegularFile, what is
/// no regular file.
[[nodiscard]] bool writeRegularFile(const QString &path, QByteArrayView bytes,
                                    QString *error = nullptr);

/// Tells before long work whether a SafeFile could replace `path`: the folder is there and takes
/// new files, the path names no folder, an existing file may be written. Leaves nothing behind. On
/// false `error`, if given, says why. A FIFO or device is not opened, since that could wait for a
/// reader.
[[nodiscard]] bool probeWritable(const QString &path, QString *error = nullptr);

} // namespace store
