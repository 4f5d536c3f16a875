#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

namespace store {

/// Like writeFile, for a file that holds a secret: nobody but its owner can read it (0600), from
/// its first byte on and also where an older file was less strict. Its folder is made if it is
/// missing, as 0700, and one that belongs to this application's own locations is made 0700 again;
/// any other folder keeps its permissions, and a warning says so if others may enter it.
[[nodiscard]] bool writePrivateFile(const QString &path, QByteArrayView bytes,
                                    QString *error = nullptr);

/// Makes, or makes strict, the folder of a private file, as above. False if it is not there
/// afterwards.
[[nodiscard]] bool makePrivateFolder(const QString &folder, QString *error = nullptr);

/// Moves a file out of the way that cannot be made sense of, so that a new one can take its place
/// and nothing is lost: it is kept beside as "<path>.damaged-<time>". A warning names both and says
/// why. Answers the new path, or nothing when the file could not be moved and is left as it is.
///
/// @param companions  endings of the files beside it that mean nothing without it, such as the
/// journal of a database, which would be replayed into the new one: they go along under its name
QString setAsideFile(const QString &path, const QString &why, const QStringList &companions = {});

} // namespace store
