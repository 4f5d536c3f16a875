#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <optional>

#include <sys/types.h>

namespace store {

/// The ways in which everything reads a file, so that nothing that lies under its name keeps the
/// program waiting or fills its memory: a FIFO that nobody writes to, a link to /dev/zero, a file
/// of terabytes. What is found by its path, in a cache, in a folder of the application or in a
/// scene, is a regular file or is not read. Only what the user names on the command line may be a
/// pipe or a device too.
///
/// On failure `error`, if given, says why: in the system's words, such as "No such file or
/// directory", or "it is a FIFO, not a regular file", or "it is larger than 64 MiB"; `isTooLarge`
/// tells the last case from the others. Any thread.

/// What readers and writers say of a file of this st_mode that is none.
[[nodiscard]] QString notRegularText(mode_t mode);

/// All of a regular file, also through links. None when it is something else, is longer than
/// `mostBytes` or can't be read. Names that begin with ":/" are resources of the program.
[[nodiscard]] std::optional<QByteArray> readRegularFile(const QString &path, qint64 mostBytes,
                                                        QString *error = nullptr,
                                                        bool *isTooLarge = nullptr);

/// A regular file that is read piece by piece, in place of a QFile.
class RegularFile : public QFile
{
public:
    explicit RegularFile(const QString &path);

    QString fileName() const override { return m_path; }

    using QFile::open;
    /// For reading only. False for what is no regular file, with errorString().
    [[nodiscard]] bool open(OpenMode mode) override;

private:
    QString m_path;
};

/// How much is taken of a file whose name the user gave.
struct InputLimits
{
    qint64 file = 0;   ///< bytes of a regular one
    qint64 stream = 0; ///< bytes of a pipe or device, which may have no end
};

/// All of a file that the user named: like readRegularFile, but it may be a pipe, which is waited
/// for, a terminal or another device.
[[nodiscard]] std::optional<QByteArray> readInput(const QString &path, const InputLimits &limits,
                                                  QString *error = nullptr,
                                                  bool *isTooLarge = nullptr);

/// Whether two paths lead to one file, by links of either kind too. False where one leads nowhere.
[[nodiscard]] bool isSameFile(const QString &first, const QString &second);

} // namespace store
