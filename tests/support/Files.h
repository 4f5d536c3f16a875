// Whole files, read and written at once.
#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace support {

/// All of a file; nothing where there is none.
inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Makes the file, and the folders that it stands in.
inline bool put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(bytes) == bytes.size();
}

} // namespace support
